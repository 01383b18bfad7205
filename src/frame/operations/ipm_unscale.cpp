#include "frame/operations/ipm_unscale.hpp"

namespace ovrelin {
namespace {

constexpr int32_t rowMaximumMode = 1;
// Maxima below this were left alone by the row-maximum scaling.
constexpr double rowMaximumFloor = 10.0;

void unscaleByRowMaxima(Model& model, const TransformRecord& transform, IpmSolution& solution) {
    const bool objScaled = transform.objScale >= rowMaximumFloor;
    if (objScaled) {
        for (int32_t j = 0; j < model.numCol; ++j) model.obj[j] *= transform.objScale;
    }
    for (int32_t j = 0; j < model.numCol; ++j) {
        const int32_t end = model.colBegin[j] + model.colLength[j];
        for (int32_t k = model.colBegin[j]; k < end; ++k) {
            const double factor = transform.rowScale[model.rowIndex[k]];
            if (factor >= rowMaximumFloor) model.matValue[k] *= factor;
        }
    }
    for (int32_t i = 0; i < model.numRow; ++i) {
        const double factor = transform.rowScale[i];
        if (!(factor >= rowMaximumFloor)) continue;
        model.rhs[i] *= factor;
        solution.solDual[i] /= factor;
        if (objScaled) solution.solDual[i] *= transform.objScale;
    }
}

void unscaleObjective(Model& model, double objScale, IpmSolution& solution) {
    for (int32_t j = 0; j < model.numCol; ++j) {
        solution.lowerDual[j] /= objScale;
        solution.upperDual[j] /= objScale;
        model.obj[j] /= objScale;
        model.quadDiag[j] /= objScale;
        if (model.numQuadCoef < 1) continue;
        const int32_t end = model.quadColBegin[j] + model.quadColLength[j];
        for (int32_t k = model.quadColBegin[j]; k < end; ++k) model.quadMatValue[k] /= objScale;
    }
    for (int32_t i = 0; i < model.numRow; ++i) solution.solDual[i] /= objScale;
}

void unscaleKeptBounds(int32_t numCol, double infinity, TransformRecord& transform) {
    if (transform.lowerKeep == nullptr || transform.upperKeep == nullptr) return;
    for (int32_t j = 0; j < numCol; ++j) {
        const double factor = transform.colScale[j];
        if (transform.lowerKeep[j] > -infinity) transform.lowerKeep[j] *= factor;
        if (transform.upperKeep[j] < infinity) transform.upperKeep[j] *= factor;
    }
}

void givePerturbationsBack(Model& model, TransformRecord& transform) {
    for (int32_t k = 0; k < transform.numObjPerturb; ++k)
        model.obj[transform.objPerturbIndex[k]] = transform.objPerturbValue[k];
    for (int32_t k = 0; k < transform.numRhsPerturb; ++k)
        model.rhs[transform.rhsPerturbIndex[k]] = transform.rhsPerturbValue[k];
    transform.perturbDone = 1;
}

void unscaleSolution(const Model& model, const TransformRecord& transform, IpmSolution& solution) {
    for (int32_t j = 0; j < model.numCol; ++j) {
        const double factor = transform.colScale[j];
        solution.lowerSlack[j] *= factor;
        solution.upperSlack[j] *= factor;
        solution.lowerDual[j] /= factor * transform.objScale;
        solution.upperDual[j] /= factor * transform.objScale;
    }
    for (int32_t i = 0; i < model.numRow; ++i) solution.ineqnSlack[i] /= transform.rowScale[i];
}

void unscaleDirection(const Model& model, TransformRecord& transform) {
    if (!transform.direction) return;
    DirectionRecord& direction = *transform.direction;
    for (int32_t j = 0; j < model.numCol; ++j) {
        const double factor = transform.colScale[j];
        direction.solPrimalDelta[j] *= factor;
        direction.lowerSlackDelta[j] *= factor;
        direction.upperSlackDelta[j] *= factor;
        direction.lowerDualDelta[j] /= factor * transform.objScale;
        direction.upperDualDelta[j] /= factor * transform.objScale;
    }
    for (int32_t i = 0; i < model.numRow; ++i) {
        direction.ineqnSlackDelta[i] /= transform.rowScale[i];
        direction.solDualDelta[i] *= transform.rowScale[i] / transform.objScale;
    }
}

Status unscaleByService(SolverInstance* instance, Model& model, const SolveOptions& options,
                        TransformRecord& transform, IpmSolution& solution) {
    unscaleKeptBounds(model.numCol, options.infinity, transform);
    givePerturbationsBack(model, transform);
    const Status status = static_cast<Status>(instance->presolverInstance->applyScaling(
        1, model.numRow, model.numCol, model.colBegin, model.colLength, model.rowIndex,
        model.matValue, model.rhs, model.range, model.obj, model.lower, model.upper, nullptr,
        nullptr, transform.rowScale.data(), transform.colScale.data(), solution.solPrimal,
        solution.solDual, nullptr, model.rowActivity));
    OV_TRY(status);
    unscaleSolution(model, transform, solution);
    unscaleDirection(model, transform);
    return Status::ok;
}

}  // namespace

Status ipmUnscale(SolverInstance* instance, Model& model, const SolveOptions& options,
                  TransformRecord& transform, IpmSolution& solution) {
    const bool byRows = options.startMode == rowMaximumMode;
    if (model.typeModel == modelTypeQp && !byRows) {
        if (transform.objScale != 1.0) unscaleObjective(model, transform.objScale, solution);
        return Status::ok;
    }
    if (!transform.rowScale.isSet()) return Status::ok;  // nothing was scaled
    if (byRows) {
        unscaleByRowMaxima(model, transform, solution);
        return Status::ok;
    }
    return unscaleByService(instance, model, options, transform, solution);
}

}  // namespace ovrelin
