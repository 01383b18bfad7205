#include "eigen/definiteness.hpp"

#include <algorithm>

#include "eigen/full_quadratic.hpp"
#include "sparse/kkt_solver.hpp"

namespace ovrelin {
namespace {

Status factor(KktSlots& slots, const FullQuadratic& full, const SolveOptions& options) {
    const KktMatrix matrix{full.n, full.colBegin.data(), full.rowIndex.data(),
                           full.matValue.data()};
    OV_TRY(kktSolverCreate(slots, slots.pool, full.n, std::max(options.threadCount, 1),
                           options.parameters.sparse));
    if (sparseLdlSetInt(slots.sparseSolver, ldl::optPivotStatistics, 1) != ldl::ok)
        return Status::failed;
    OV_TRY(kktAnalyze(slots, matrix, {}));
    return kktFactor(slots, matrix, {});
}

}  // namespace

Status quadraticLiesAbove(MemoryPool* pool, const Model& model, const SolveOptions& options,
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

}  // namespace ovrelin
