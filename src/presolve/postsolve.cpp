#include "presolve/postsolve.hpp"

#include <utility>

#include "frame/log.hpp"
#include "presolve/model_values.hpp"
#include "presolve/reduced_model.hpp"

namespace ovrelin {
namespace {

/// The solve has left no point whose activities and duals are worth anything.
bool hasNoPoint(Status status) {
    return status == Status::newPass || status == Status::outOfMemory ||
           status == Status::interrupted || status == Status::failed;
}

/// Without a reduced model there is one solution record and no submodel.
Status checkUnreduced(SolverInstance* instance, const char* control,
                      const IpmSolution* workSolution, const IpmSolution* inSolution,
                      const Submodel* submodel) {
    if (workSolution == nullptr || workSolution != inSolution) {
        logText(instance, "%s case solution pointer error", control);
        return Status::failed;
    }
    if (submodel != nullptr) {
        logText(instance, "PRECONTROL_BOUND case: submodel should not exist.");
        return Status::failed;
    }
    return Status::ok;
}

}  // namespace

Status postsolve(SolverInstance* instance, Model*& model, const SolveOptions& options,
                 Presolver& presolver, const IpmSolution* workSolution, IpmSolution* inSolution,
                 TransformRecord* transform, const Submodel* submodel) {
    const bool noPoint = hasNoPoint(model->status);
    switch (presolver.preControl) {
        case PRECONTROL_REDUCED:
            if (workSolution == nullptr || inSolution == nullptr || workSolution == inSolution) {
                logText(instance, "PRECONTROL_REDUCED case solution pointer error");
                return Status::failed;
            }
            restorePrimalSolution(presolver, workSolution, *inSolution, transform, options.infinity,
                                  false);
            freeReducedModel(presolver, presolver.inModel);
            model = std::exchange(presolver.inModel, nullptr);
            break;
        case PRECONTROL_BOUND:
            if (presolver.boundModel != nullptr) exchangeBounds(*presolver.boundModel, presolver);
            releaseRelaxFlags(presolver);
            OV_TRY(
                checkUnreduced(instance, "PRECONTROL_BOUND", workSolution, inSolution, submodel));
            break;
        default:
            OV_TRY(checkUnreduced(instance, "PRECONTROL_NONE", workSolution, inSolution, submodel));
            break;
    }
    if (noPoint) return Status::ok;
    recomputeModelValues(*model);
    if (presolver.preControl != PRECONTROL_REDUCED && presolver.preControl != PRECONTROL_BOUND)
        return Status::ok;  // no bound was tightened: the duals are the caller's already
    OV_TRY(restoreDualSolution(instance, *model, options, presolver, *inSolution, transform));
    restoreIneqnSlack(*model, presolver, *inSolution);
    return Status::ok;
}

void restoreIneqnSlack(const Model& model, const Presolver& presolver, IpmSolution& full) {
    for (int32_t i = 0; i < model.numRow; ++i) {
        const int32_t state = presolver.rowMap[i];
        if (state >= 0 || state == ROWMAP_FIXED || state == ROWMAP_POSTDET) continue;
        if (upperCaseSense(model.rowSense[i]) == OVRELIN_ROW_FREE) continue;
        full.ineqnSlack[i] = ineqnSlackOf(model, i);
    }
}

double ineqnSlackOf(const Model& model, int32_t i) {
    const double beyond = model.rowActivity[i] - model.rhs[i];
    switch (upperCaseSense(model.rowSense[i])) {
        case OVRELIN_ROW_GREATER:
            return beyond;
        case OVRELIN_ROW_LESS:
        case OVRELIN_ROW_RANGE:
            return -beyond;
        default:
            return 0;
    }
}

}  // namespace ovrelin
