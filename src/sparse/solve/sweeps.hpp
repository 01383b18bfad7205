// One application of the factors: x = P' L^-T D^-1 L^-1 P b.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Where a sweep works.
struct SweepWork {
    double* permuted;      // [n], and one more that is read
    double* front;         // the rows below one block column, with room for whole vectors
    double overflowLimit;  // a result of this magnitude or more ends the sweep
};

/// Doubles of solveWork: 3 n for the solve and its refinement, and behind them the room of a sweep.
[[nodiscard]] std::int64_t solveWorkSize(const LdlSymbolic& symbolic);
/// The parts of solveWork that a sweep uses: the first n doubles, and those behind 3 n.
[[nodiscard]] SweepWork sweepWork(double* solveWork, const LdlSymbolic& symbolic,
                                  double overflowLimit);

/// `input` [n] is overwritten as scratch; `output` [n] may be the same array. permutedFlag 0: both
/// in original order; otherwise both in the order of the factors. Returns ok or overflow; after an
/// overflow the contents of both vectors are undefined.
[[nodiscard]] int ldlTriangularSolve(int permutedFlag, double* input, const LdlSymbolic& symbolic,
                                     double* output, SweepWork work);

}  // namespace ovrelin
