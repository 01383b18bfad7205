// The numeric factorisation P A P' = L D L' by the engine that the analysis decided on. Nothing is
// allocated here; the analysis has made every buffer.
#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/numeric/compact.hpp"
#include "sparse/numeric/permuted_matrix.hpp"
#include "sparse/numeric/pivot_statistics.hpp"
#include "sparse/numeric/sequential.hpp"
#include "sparse/numeric/thin_writer.hpp"
#include "sparse/numeric/tiles/engines.hpp"
#include "sparse/sparse_ldl.hpp"
#include "sparse/state_guard.hpp"

namespace ovrelin {

namespace {

/// Blocks are cleared when their turn comes, or when an update reaches them.
int factorInTurns(Factorisation& work, const double* matValue) {
    LdlSymbolic& symbolic = work.symbolic;
    takeValues(matValue, work.numeric, 0, symbolic.n);
    std::fill_n(symbolic.touched.data(), symbolic.blocks.count, 0);
    return factorBlocks(work, 0, symbolic.blocks.count);
}

int factorSequential(LdlSymbolic& symbolic, LdlNumeric& numeric, const double* matValue,
                     const PivotRule& rule, std::int32_t* numPerturbed) {
    double* const update = symbolic.updateWork.data();
    const FrontScratch scratch{update, update + symbolic.updateSize, symbolic.relativeIndex.data()};
    ThinWriter thin(symbolic);
    Factorisation work{symbolic, numeric, rule, currentContext(), scratch, symbolic.n, 0, &thin};
    const int code =
        symbolic.direct.isCompact() ? factorCompact(work, matValue) : factorInTurns(work, matValue);
    thin.finish();
    *numPerturbed = work.numPerturbed;
    return code;
}

}  // namespace

int sparseLdlNumeric(int reuse, std::int32_t n, const std::int32_t* colBegin,
                     const std::int32_t* rowIndex, const double* matValue, SparseLdl* handle,
                     LdlSymbolic* symbolic, LdlNumeric* numeric) {
    if (n != symbolic->n) return ldl::mismatch;
    const StateGuard state(*symbolic, ldl::stateNumeric);
    symbolic->hasFactors = false;
    LDL_TRY(takePattern(reuse, colBegin, rowIndex, *symbolic, *numeric));
    const SparseParameters& parameters = handle->parameters;
    symbolic->pivotTolerance = parameters.pivotTolerance;
    symbolic->numPerturbed = 0;
    const PivotRule rule{symbolic->pivotTolerance, parameters.bunchKaufmanAlpha,
                         parameters.boundedPanelWidth()};
    std::int32_t numPerturbed = 0;
    LDL_TRY(symbolic->parallelMode != 0
                ? factorOnTiles(*symbolic, *numeric, matValue, rule, &numPerturbed)
                : factorSequential(*symbolic, *numeric, matValue, rule, &numPerturbed));
    if (handle->pivotStatistics != 0) countPivots(*symbolic, *handle);
    symbolic->numPerturbed = numPerturbed;
    symbolic->hasFactors = true;
    return ldl::ok;
}

}  // namespace ovrelin
