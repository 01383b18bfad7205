#include "eigen/definiteness.hpp"

#include <algorithm>

#include "eigen/full_quadratic.hpp"
#include "frame/host_services.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"
#include "sparse/kkt_solver.hpp"

namespace ovrelin {
namespace {

Status analyse(KktSlots& slots, const KktMatrix& matrix, std::int32_t orderingMethod) {
    if (sparseLdlSetInt(slots.sparseSolver, ldl::optOrderingMethod, orderingMethod) != ldl::ok)
        return Status::failed;
    return kktAnalyze(slots, matrix, {});
}

/// A quick ordering is the right one for a single factorisation, unless that would be long.
Status factor(KktSlots& slots, const FullQuadratic& full, const SolveOptions& options) {
    constexpr std::int32_t noLeadingBlock = 0, automatic = -1, minimumDegree = 0;
    const KktMatrix matrix{full.n, full.colBegin.data(), full.rowIndex.data(),
                           full.matValue.data()};
    OV_TRY(kktSolverCreate(slots, slots.pool, noLeadingBlock, std::max(options.threadCount, 1),
                           options.parameters.sparse));
    if (sparseLdlSetInt(slots.sparseSolver, ldl::optPivotStatistics, 1) != ldl::ok)
        return Status::failed;
    OV_TRY(analyse(slots, matrix, minimumDegree));
    if (slots.sparseSymbolic->flopEstimate > options.parameters.eigen.quickOrderOps) {
        kktFreeFactors(slots);
        OV_TRY(analyse(slots, matrix, automatic));
    }
    return kktFactor(slots, matrix, {});
}

Status sparseLiesAbove(MemoryPool* pool, const Model& model, const SolveOptions& options,
                       double shift, bool& above) {
    FullQuadratic full;
    OV_TRY(makeShiftedQuadratic(pool, model, shift, full));
    KktSlots slots{};
    slots.pool = pool;
    const Status status = factor(slots, full, options);
    above = isOk(status) && slots.sparseSolver->numNegativePivots == 0 &&
            slots.sparseSymbolic->numPerturbed == 0;
    kktSolverFree(slots);
    return status;
}

/// A small term whose lower triangle is an eighth full, or that is smaller than the overhead of a
/// sparse factorisation.
bool suitsDense(const Model& model, const EigenParameters& parameters) {
    const std::int64_t n = model.numCol;
    return n <= parameters.denseAlways ||
           (n <= parameters.denseOrder && 16 * std::int64_t{model.numQuadCoef} >= n * n);
}

/// L D L' of the lower triangle in `dense` [n * n] with every pivot taken as it comes: they are all
/// positive if and only if the matrix is positive definite, and what follows the first that is not
/// may be anything. By the kernel of the sparse solver, as LAPACK works in buffers that two threads
/// may share.
Status factorDense(MemoryPool* pool, std::int32_t n, double* dense, const SparseParameters& sparse,
                   bool& positive) {
    const PivotRule asTheyCome{0, 0, sparse.boundedPanelWidth()};
    const std::int32_t ld = wholeVectors(n);
    PoolArray<double> scaled;
    PoolArray<std::int32_t> pivot;
    const auto copied = static_cast<std::size_t>(std::min(n, asTheyCome.panelWidth));
    OV_TRY(scaled.make(pool, static_cast<std::size_t>(ld) * copied + 7));
    OV_TRY(pivot.make(pool, static_cast<std::size_t>(n)));
    std::int32_t numPerturbed = 0;
    if (!factorPivotBlock(n, n, {dense, n}, {scaled.data(), ld}, asTheyCome, currentContext(),
                          pivot.data(), &numPerturbed))
        return Status::interrupted;
    positive = true;
    for (std::int32_t c = 0; c < n; ++c)
        positive = positive && dense[c * (std::int64_t{n} + 1)] > 0;
    return Status::ok;
}

Status denseLiesAbove(MemoryPool* pool, const Model& model, const SolveOptions& options,
                      double shift, bool& above) {
    const auto n = static_cast<std::size_t>(model.numCol);
    PoolArray<double> dense;
    OV_TRY(dense.make(pool, n * n, Fill::zero));
    for (std::size_t j = 0; j < n; ++j) {
        double* column = dense.data() + j * n;
        column[j] = model.quadDiag[j] - shift;
        const int32_t begin = model.quadColBegin[j], end = begin + model.quadColLength[j];
        for (int32_t k = begin; k < end; ++k)
            column[model.quadRowIndex[k]] += model.quadMatValue[k];
    }
    return factorDense(pool, model.numCol, dense.data(), options.parameters.sparse, above);
}

}  // namespace

Status quadraticLiesAbove(MemoryPool* pool, const Model& model, const SolveOptions& options,
                          double shift, bool& above) {
    return suitsDense(model, options.parameters.eigen)
               ? denseLiesAbove(pool, model, options, shift, above)
               : sparseLiesAbove(pool, model, options, shift, above);
}

}  // namespace ovrelin
