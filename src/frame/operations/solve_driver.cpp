#include "frame/operations/solve_driver.hpp"

#include "frame/operations/handover.hpp"
#include "frame/operations/ipm_unscale.hpp"
#include "frame/operations/normalise_rows.hpp"
#include "frame/operations/relax_bounds.hpp"
#include "frame/operations/report.hpp"
#include "frame/operations/shift_bounds.hpp"
#include "frame/operations/working_model.hpp"
#include "ipm/ipm_solve.hpp"

namespace ovrelin {
namespace {

constexpr int32_t startStateFirst = 11;
// An objective shrunk this much no longer shows its share of the errors; the loop then resets the
// system once before it accepts the optimum.
constexpr double forceResetScale = 1e-5;

struct DriverRecords {
    TransformRecord transform;
    WorkingModel working;
    BoundShift boundShift;
    IpmSolution inSolution, workSolution;
};

void startTransform(const Model& model, TransformRecord& transform) {
    transform.numRow = model.numRow;
    transform.numCol = model.numCol;
    transform.numCoef = model.numCoef;
    transform.numQuadCoef = model.numQuadCoef;
    transform.objScale = 1.0;
    transform.perturbDone = 1;
}

// On output lowerDual + upperDual is the reduced cost.
void flipUpperDual(int32_t numCol, IpmSolution& solution, DirectionRecord* direction) {
    for (int32_t j = 0; j < numCol; ++j) solution.upperDual[j] = -solution.upperDual[j];
    if (direction == nullptr) return;
    for (int32_t j = 0; j < numCol; ++j)
        direction->upperDualDelta[j] = -direction->upperDualDelta[j];
}

Status runStages(SolverInstance* instance, Model* inModel, SolveOptions* options,
                 SolverTimer* timer, DriverRecords& records) {
    TransformRecord& transform = records.transform;
    IpmSolution& solution = records.workSolution;
    Model& model = records.working.model;
    const bool isLp = inModel->typeModel == modelTypeLp;

    startTransform(*inModel, transform);
    OV_TRY(makeWorkingModel(instance->pool, inModel, transform, records.working, records.inSolution,
                            solution));
    reportThreads(instance, *options);
    OV_TRY(relaxBounds(instance, model, *options, transform));
    if (isLp)
        OV_TRY(shiftBounds(instance, model, *options, transform, records.boundShift, nullptr));

    if (transform.objScale < forceResetScale) options->forceReset = 1;
    OV_TRY(normaliseRows(instance, model, transform));

    // a failing run is mapped back too: its status and measures are in the model
    const Status solved =
        ipmSolve(instance, &model, options, &transform, &solution, timer, startStateFirst);
    if (!isOk(solved)) model.status = solved;

    restoreRows(model, transform, solution);
    OV_TRY(ipmUnscale(instance, model, *options, transform, solution));
    if (isLp) unshiftBounds(model, *options, transform, records.boundShift, solution);
    if (transform.keepSwapped == 1) swapKeptBounds(model, transform);
    restoreCallerModel(records.working, solution, records.inSolution);

    flipUpperDual(inModel->numCol, records.inSolution, transform.direction.get());
    return Status::ok;
}

}  // namespace

Status solveDriver(SolverInstance* instance, Model* model, SolveOptions* options,
                   SolverTimer* timer) {
    const double startTime = elapsed(timer);
    DriverRecords records{};
    const Status stopped = runStages(instance, model, options, timer, records);
    releaseWorkingModel(records.working);
    if (!isOk(stopped)) model->status = stopped;

    reportEnding(instance, *model, *options);
    model->solveTime = elapsed(timer) - startTime;
    reportTime(instance, *options, model->solveTime);
    if (options->handoverStage != 0) model->status = runHandover(instance, *model);
    return model->status;
}

}  // namespace ovrelin
