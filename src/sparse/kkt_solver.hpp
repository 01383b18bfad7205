// The seven calls through which the rest of the module uses the sparse solver. They add timing and
// turn the library's small return codes into statuses.
#pragma once

#include <cstdint>

#include "frame/solver_timer.hpp"
#include "frame/status.hpp"
#include "ovrelin/objects.h"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// The slots of one user of the solver. `instance` is where a copy of the three handles is kept, so
/// that destroying the instance in mid-solve can free them; it may be null.
struct KktSlots {
    SolverInstance* instance;
    MemoryPool* pool;
    SparseLdl* sparseSolver;
    LdlNumeric* sparseFactor;
    LdlSymbolic* sparseSymbolic;
};

/// A symmetric matrix with both triangles, by columns.
struct KktMatrix {
    std::int32_t n;
    const std::int32_t* colBegin;
    const std::int32_t* rowIndex;
    const double* value;
};

/// A stopwatch and where its seconds go; a null timer measures nothing.
struct KktClock {
    SolverTimer* timer;
    double* seconds;
};

/// The return codes that all operations of the sparse solver share; any other is failed.
Status statusOfLdl(int code);

/// The first three calls go in this order, with the slots of the one before; what a failure leaves
/// in them kktSolverFree takes back.

/// Makes the object in slots.sparseSolver, which must be empty, by `pool`, or by that of the slots
/// when it is null. numCol >= 0: columns of the leading block; numThreads >= 1: threads wanted.
/// outOfMemory, or failed for a bad number or no pool.
Status kktSolverCreate(KktSlots& slots, MemoryPool* pool, std::int32_t numCol,
                       std::int32_t numThreads, const SparseParameters& parameters);
/// failed at once without an object or with an occupied slot; failed for a pattern that is not
/// symmetric; outOfMemory; interrupted. Factors must be freed before a new pattern is analysed.
Status kktAnalyze(KktSlots& slots, const KktMatrix& matrix, KktClock clock);
/// Factors the values of a matrix of the analysed pattern. failed without an analysis, at once, and
/// for another pattern; outOfMemory when the host has no threads to give; interrupted.
Status kktFactor(KktSlots& slots, const KktMatrix& matrix, KktClock clock);
/// The solution replaces rhs [n]. A refinement that stopped above its tolerance is no failure;
/// an overflow in a sweep is solveFailed, and so is a call without factors. failed at once without
/// an analysis; outOfMemory.
Status kktSolve(KktSlots& slots, const KktMatrix& matrix, double* rhs, KktClock clock);
/// Frees the analysis and the factors and clears their slots; kktSolverFree the object too. Both do
/// nothing where there is no object.
void kktFreeFactors(KktSlots& slots);
void kktSolverFree(KktSlots& slots);
/// Create, analyse, factor, solve and free on a private set of handles; the slots of `instance` are
/// as before afterwards, also on failure.
Status kktSolveOnce(SolverInstance* instance, MemoryPool* pool, const KktMatrix& matrix,
                    std::int32_t numCol, std::int32_t numThreads,
                    const SparseParameters& parameters, double* rhs, SolverTimer* timer,
                    double* analyzeSeconds, double* factorSeconds, double* solveSeconds);

}  // namespace ovrelin
