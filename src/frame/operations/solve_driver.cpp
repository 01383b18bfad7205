#include "frame/operations/solve_driver.hpp"

#include "eigen/convexity.hpp"
#include "frame/operations/handover.hpp"
#include "frame/operations/ipm_unscale.hpp"
#include "frame/operations/normalise_rows.hpp"
#include "frame/operations/relax_bounds.hpp"
#include "frame/operations/report.hpp"
#include "frame/operations/shift_bounds.hpp"
#include "ipm/ipm_solve.hpp"
#include "presolve/postsolve.hpp"
#include "presolve/presolve_model.hpp"
#include "presolve/reduced_model.hpp"
#include "presolve/solution.hpp"

namespace ovrelin {
namespace {

constexpr int32_t startStateFirst = 11;
// An objective shrunk this much no longer shows its share of the errors; the loop then resets the
// system once before it accepts the optimum.
constexpr double forceResetScale = 1e-5;

/// What one solve owns. `model` is the model in force: the caller's, or the reduced one that the
/// presolver has put in its place; the two solutions are one record unless it has.
struct DriverRecords {
    Model* model;
    IpmSolution* inSolution;
    IpmSolution* workSolution;
    TransformRecord transform;
    PoolObject<Presolver> presolver;
    BoundShift boundShift;
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

Status presolve(SolverInstance* instance, const SolveOptions& options, DriverRecords& records) {
    OV_TRY(records.presolver.make(instance->pool));
    Presolver& presolver = *records.presolver;
    // a linear program has been through the other presolver, where that is switched on
    if (records.model->typeModel == modelTypeLp && options.presolver != 0)
        return collectStatistics(instance, *records.model, options, presolver, records.transform,
                                 records.inSolution, records.workSolution);
    const Status status =
        presolveModel(instance, records.model, options, presolver, records.transform,
                      records.inSolution, records.workSolution, nullptr);
    releasePresolverWork(presolver);
    return status;
}

/// The rows in normal form, the iteration, and the rows as they were.
Status iterateOnRows(SolverInstance* instance, SolveOptions* options, SolverTimer* timer,
                     DriverRecords& records) {
    TransformRecord& transform = records.transform;
    Model& model = *records.model;
    if (transform.objScale < forceResetScale) options->forceReset = 1;
    OV_TRY(normaliseRows(instance, model, transform));
    // a failing run is mapped back too: its status and measures are in the model
    const Status solved = ipmSolve(instance, &model, options, &transform, records.workSolution,
                                   timer, startStateFirst);
    if (!isOk(solved)) model.status = solved;
    restoreRows(model, transform, *records.workSolution);
    return ipmUnscale(instance, model, *options, transform, *records.workSolution);
}

Status iterate(SolverInstance* instance, SolveOptions* options, SolverTimer* timer,
               DriverRecords& records) {
    TransformRecord& transform = records.transform;
    Model& model = *records.model;
    const bool isLp = model.typeModel == modelTypeLp;
    reportThreads(instance, *options);
    OV_TRY(relaxBounds(instance, model, *options, transform));
    if (isLp)
        OV_TRY(shiftBounds(instance, model, *options, transform, records.boundShift, nullptr));
    const Status status = iterateOnRows(instance, options, timer, records);
    if (isLp) unshiftBounds(model, *options, transform, records.boundShift, *records.workSolution);
    if (transform.keepSwapped == 1) swapKeptBounds(model, transform);
    return status;
}

Status runStages(SolverInstance* instance, SolveOptions* options, SolverTimer* timer,
                 DriverRecords& records) {
    startTransform(*records.model, records.transform);
    const Status presolved = presolve(instance, *options, records);
    const int32_t route = records.presolver ? records.presolver->preRoute : PREROUTE_NORMAL;
    if (route == PREROUTE_SOLVED) return Status::ok;  // the status stands in the model
    if (route == PREROUTE_SOLVED_POST) {
        records.model->status = presolved;
    } else {
        OV_TRY(presolved);
        OV_TRY(checkConvexity(instance, *records.model, *options));
        OV_TRY(iterate(instance, options, timer, records));
    }
    OV_TRY(postsolve(instance, records.model, *options, *records.presolver, records.workSolution,
                     records.inSolution, &records.transform, nullptr));
    flipUpperDual(records.model->numCol, *records.inSolution, records.transform.direction.get());
    return Status::ok;
}

/// On every path: the caller's model takes the measures of a reduced one that is still in force,
/// and gets back what it has lent.
void releaseRecords(SolverInstance* instance, DriverRecords& records) {
    if (records.transform.keepSwapped == 1) swapKeptBounds(*records.model, records.transform);
    if (records.workSolution != records.inSolution) freeSolution(instance, records.workSolution);
    freeSolution(instance, records.inSolution);
    if (records.presolver) freeReducedModel(*records.presolver, records.presolver->inModel);
    freePresolver(records.presolver);
}

}  // namespace

Status solveDriver(SolverInstance* instance, Model* model, SolveOptions* options,
                   SolverTimer* timer) {
    const double startTime = elapsed(timer);
    DriverRecords records{};
    records.model = model;
    const Status stopped = runStages(instance, options, timer, records);
    releaseRecords(instance, records);
    if (!isOk(stopped)) model->status = stopped;

    reportEnding(instance, *model, *options);
    model->solveTime = elapsed(timer) - startTime;
    reportTime(instance, *options, model->solveTime);
    if (options->handoverStage != 0) model->status = runHandover(instance, *model);
    return model->status;
}

}  // namespace ovrelin
