// The solve: one application of the factors and its refinement.
#include <algorithm>

#include "sparse/ldl_try.hpp"
#include "sparse/solve/gmres.hpp"
#include "sparse/solve/residual.hpp"
#include "sparse/solve/sweeps.hpp"
#include "sparse/sparse_ldl.hpp"
#include "sparse/state_guard.hpp"

namespace ovrelin {

namespace {

/// Steps that make up for replaced pivots when the caller asked for none.
constexpr std::int32_t plainRepairSteps = 2;
constexpr std::int32_t krylovRepairSteps = 64;

std::int32_t refinementLimit(const SparseLdl& handle, const LdlSymbolic& symbolic) {
    std::int32_t limit = handle.maxRefineIter;
    if (limit == 0 && symbolic.numPerturbed > 0)
        limit = handle.krylovRefinement != 0 ? krylovRepairSteps : plainRepairSteps;
    return std::min(limit, symbolic.n);
}

/// Exactly `steps` corrections x += M^-1 (b - A x), with no test in between. `work` holds, in this
/// order, the sweep's vector, the residual and b.
int refinePlainly(int permutedFlag, const SymmetricMatrix& matrix, double* x,
                  const LdlSymbolic& symbolic, const SweepWork& sweep, double* work,
                  std::int32_t steps) {
    double* const residual = work + matrix.n;
    const double* const b = residual + matrix.n;
    for (std::int32_t step = 0; step < steps; ++step) {
        computeResidual(matrix, b, x, residual);
        LDL_TRY(ldlTriangularSolve(permutedFlag, residual, symbolic, residual, sweep));
        for (std::int32_t i = 0; i < matrix.n; ++i) x[i] += residual[i];
    }
    return ldl::ok;
}

/// The basis lives in the update matrix of the factorisation where that is large enough.
double* krylovBlock(LdlSymbolic& symbolic, const SparseLdl& handle, PoolArray<double>& fresh) {
    const auto n = static_cast<std::uint64_t>(symbolic.n);
    const auto m = static_cast<std::uint64_t>(longestRestart(handle, symbolic.n));
    const std::uint64_t size = krylovSize(n, m);
    if (symbolic.updateWork.size() >= size) return symbolic.updateWork.data();
    return isOk(fresh.make(handle.pool, size)) ? fresh.data() : nullptr;
}

}  // namespace

int sparseLdlSolve(int permutedFlag, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                   const double* matValue, double* vector, SparseLdl* handle, LdlSymbolic* symbolic,
                   LdlNumeric* numeric) {
    if (!symbolic->hasFactors) return ldl::mismatch;
    const StateGuard state(*symbolic, ldl::stateSolve);
    const SymmetricMatrix matrix{symbolic->n, colBegin, rowIndex, matValue};
    double* const work = numeric->solveWork.data();
    const SweepWork sweep = sweepWork(work, *symbolic, handle->parameters.overflowLimit);
    const bool byKrylov = handle->krylovRefinement != 0;
    const std::int32_t limit = refinementLimit(*handle, *symbolic);
    handle->maxRefineIter = limit;

    PoolArray<double> rhsCopy;
    double* rhs = work + 2 * static_cast<std::int64_t>(matrix.n);
    if (limit > 0 && byKrylov) {
        if (!isOk(rhsCopy.make(handle->pool, static_cast<std::size_t>(matrix.n))))
            return ldl::noMemory;
        rhs = rhsCopy.data();
    }
    if (limit > 0) std::copy_n(vector, matrix.n, rhs);
    LDL_TRY(ldlTriangularSolve(permutedFlag, vector, *symbolic, vector, sweep));
    if (limit == 0) return ldl::ok;
    if (!byKrylov)
        return refinePlainly(permutedFlag, matrix, vector, *symbolic, sweep, work, limit);
    PoolArray<double> krylovMemory;
    double* const krylov = krylovBlock(*symbolic, *handle, krylovMemory);
    if (krylov == nullptr) return ldl::noMemory;
    Refinement refinement{permutedFlag, matrix, rhs, vector, *handle, *symbolic, work, krylov};
    return refineByGmres(refinement);
}

}  // namespace ovrelin
