// One application of the factors: x = P' L^-T D^-1 L^-1 P b.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Where a sweep works.
struct SweepWork {
    double* permuted;      // [n]
    double overflowLimit;  // a result of this magnitude or more ends the sweep
};

/// `input` [n] is overwritten as scratch; `output` [n] may be the same array. permutedFlag 0: both in
/// original order; otherwise both in the order of the factors. Returns ok or overflow; after an
/// overflow the contents of both vectors are undefined.
[[nodiscard]] int ldlTriangularSolve(int permutedFlag, double* input, const LdlSymbolic& symbolic,
                                     double* output, SweepWork work);

}  // namespace ovrelin
