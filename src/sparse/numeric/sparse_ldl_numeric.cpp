// The numeric factorisation P A P' = L D L' by the engine that the analysis decided on. Nothing is
// allocated here; the analysis has made every buffer.
#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/numeric/permuted_matrix.hpp"
#include "sparse/numeric/pivot_statistics.hpp"
#include "sparse/numeric/sequential.hpp"
#include "sparse/sparse_ldl.hpp"
#include "sparse/state_guard.hpp"

namespace ovrelin {

namespace {

/// The bounds of a panel: room for a 2x2 pivot, and no more than the analysis made buffers for.
constexpr std::int32_t leastPanel = 2;
constexpr std::int32_t widestPanel = 96;

int factorSequential(Factorisation& work) {
    LdlSymbolic& symbolic = work.symbolic;
    std::fill_n(symbolic.touched.data(), symbolic.blocks.count, 0);
    return factorBlocks(work, 0, symbolic.blocks.count);
}

}  // namespace

int sparseLdlNumeric(int reuse, std::int32_t n, const std::int32_t* colBegin,
                     const std::int32_t* rowIndex, const double* matValue, SparseLdl* handle,
                     LdlSymbolic* symbolic, LdlNumeric* numeric) {
    if (n != symbolic->n) return ldl::mismatch;
    const StateGuard state(*symbolic, ldl::stateNumeric);
    const auto gather = reuse == 0 ? permuteLower : takeLower;
    if (const int code = gather(colBegin, rowIndex, matValue, *symbolic, *numeric); code != ldl::ok)
        return code;
    const SparseParameters& parameters = handle->parameters;
    symbolic->pivotTolerance = parameters.pivotTolerance;
    symbolic->numPerturbed = 0;
    const PivotRule rule{symbolic->pivotTolerance, parameters.bunchKaufmanAlpha,
                         std::clamp(parameters.panelWidth, leastPanel, widestPanel)};
    double* const update = symbolic->updateWork.data();
    const FrontScratch scratch{update, update + symbolic->updateSize,
                               symbolic->relativeIndex.data()};
    Factorisation work{*symbolic, *numeric, rule, currentContext(), scratch, n, 0};
    if (const int code = factorSequential(work); code != ldl::ok) return code;
    if (handle->pivotStatistics != 0) countPivots(*symbolic, *handle);
    symbolic->numPerturbed = work.numPerturbed;
    return ldl::ok;
}

}  // namespace ovrelin
