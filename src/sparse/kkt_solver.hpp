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

/// numCol: size of the leading block. outOfMemory, or failed for a bad option or no pool.
Status kktSolverCreate(KktSlots& slots, MemoryPool* pool, std::int32_t numCol,
                       std::int32_t numThreads, const SparseParameters& parameters);
/// failed at once with a null handle or an occupied slot; outOfMemory; interrupted.
Status kktAnalyze(KktSlots& slots, const KktMatrix& matrix, KktClock clock);
Status kktFactor(KktSlots& slots, const KktMatrix& matrix, KktClock clock);
/// The solution replaces rhs [n]. A refinement that stopped above its tolerance is no failure;
/// an overflow in a sweep is solveFailed.
Status kktSolve(KktSlots& slots, const KktMatrix& matrix, double* rhs, KktClock clock);
void kktFreeFactors(KktSlots& slots);
void kktSolverFree(KktSlots& slots);
/// Create, analyse, factor, solve and free on a private set of handles; the slots of `instance` are
/// as before afterwards, also on failure.
Status kktSolveOnce(SolverInstance* instance, MemoryPool* pool, const KktMatrix& matrix,
                    std::int32_t numCol, std::int32_t numThreads,
                    const SparseParameters& parameters, double* rhs, SolverTimer* timer,
                    double* analyzeSeconds, double* factorSeconds, double* solveSeconds);

}  // namespace ovrelin
