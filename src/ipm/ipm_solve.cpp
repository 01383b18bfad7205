#include "ipm/ipm_solve.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/log.hpp"
#include "ipm/ipm_augment.hpp"
#include "ipm/ipm_state.hpp"
#include "ipm/kkt.hpp"
#include "ipm/second_pass.hpp"
#include "start/starting_point.hpp"

namespace ovrelin {
namespace {

void traceSizes(const Ipm& ipm) {
    if (ipm.debugLevel <= 0) return;
    const SolverInstance* instance = ipm.instance;
    logText(instance, "%7hTRACE: %m         numRow = %d", ipm.numRow);
    logText(instance, "%7hTRACE: %m         numCol = %d", ipm.numCol);
    logText(instance, "%7hTRACE: %m        numCoef = %d", ipm.numCoef);
    logText(instance, "%7hTRACE: %m    numQuadCoef = %d", ipm.numQuadCoef);
    logText(instance, "%7hTRACE: %m       numIneqn = %d", ipm.numIneqn);
    logText(instance, "%7hTRACE: %m  numComplement = %d", ipm.numComplement);
    if (ipm.numFreeVar > 0)
        logText(instance, "%7hTRACE: %m   freeVarLimit = %15.7g", ipm.freeVarLimit);
}

Status prepare(Ipm& ipm, Model* model, SolveOptions* options, TransformRecord& transform,
               IpmSolution* solution) {
    ipmBindOptions(ipm, options);
    ipmSetConstants(ipm, *options, transform);
    OV_TRY(ipmAllocEnv(ipm));
    ipmBindModel(ipm, model, solution);
    ipmClassify(ipm);
    traceSizes(ipm);
    switch (ipm.modelType) {
        case modelTypeLp:
            return ipmInitLP(ipm);
        case modelTypeQp:
            return ipmInitQP(ipm);
        default:
            logText(ipm.instance, "Error ipmSolve: unknown model type.");
            return Status::failed;
    }
}

void sendHeadings(const Ipm& ipm) {
    if (ipm.printLevel < 2) return;
    sendMessage(ipm.instance, OVRELIN_LEVEL_HEADING, OVRELIN_MSG_HEADING_FIRST);
    sendMessage(ipm.instance, OVRELIN_LEVEL_HEADING, OVRELIN_MSG_HEADING_SECOND);
}

/// Which verdicts of the loop end the solve as a failure; limits keep their point.
Status resultOf(Status status) {
    const bool ends =
        status == Status::outOfMemory || status == Status::interrupted || status == Status::failed;
    return ends ? status : Status::ok;
}

/// Everything that a changed model asks for before the loop goes on from the point in force.
Status beginFreshPass(Ipm& ipm, const SecondPass& pass, TransformRecord& transform) {
    ipm.iterState = iterStart;
    ipmClassify(ipm);
    traceSizes(ipm);
    ipmSetConstants(ipm, *ipm.options, transform);
    if (pass.restarted) ipmFloorIterate(ipm);
    ipmCleanIterate(ipm);
    return ipmBuildKkt(ipm, ipm.modelType == modelTypeQp);
}

/// The loop, and as long as it asks for a new pass the presolver on the point reached and the loop
/// again. Returns as resultOf; the verdict stands in the model.
Status iterateInPasses(Ipm& ipm, SolveOptions& options, TransformRecord& transform,
                       IpmSolution* solution) {
    SecondPass pass(ipm, options, solution);
    for (;;) {
        pass.model->status = ipmAugment(ipm, transform, pass.presolver.get(), solution);
        if (pass.presolver) closeSecondPass(pass);
        bool solved = true;
        while (solved && pass.model->status == Status::newPass) {
            OV_TRY(openSecondPass(pass, transform, solved));
            if (solved) closeSecondPass(pass);
        }
        if (solved) return resultOf(pass.model->status);
        OV_TRY(beginFreshPass(ipm, pass, transform));
    }
}

void copyMeasures(Model& model, const Ipm* ipm) {
    model.iterations = ipm == nullptr ? 0 : ipm->iteration;
    model.primalInfeas = ipm == nullptr ? 0 : ipm->primalInfeas;
    model.dualInfeas = ipm == nullptr ? 0 : ipm->dualInfeas;
    model.boundInfeas = ipm == nullptr ? 0 : ipm->boundInfeas;
    model.dualityGap = ipm == nullptr ? 0 : ipm->dualityGap;
    model.complementarity = ipm == nullptr ? 0 : ipm->complementarity;
}

/// True when no cost pulls its column towards a bound that it lacks: the problem cannot be
/// unbounded.
bool boundedCost(const Model& model, double infinity) {
    for (int32_t j = 0; j < model.numCol; ++j)
        if ((model.obj[j] > 0 && model.lower[j] <= -infinity) ||
            (model.obj[j] < 0 && model.upper[j] >= infinity))
            return false;
    return true;
}

/// True when x = 0 meets every row and bound: the problem cannot be infeasible.
bool zeroFeasible(const Model& model, double dualTol, double infinity) {
    if (!(model.dualInfeas <= dualTol)) return false;
    for (int32_t i = 0; i < model.numRow; ++i) {
        const double b = model.rhs[i];
        const char sense = model.rowSense[i];
        const bool holds = (sense == OVRELIN_ROW_EQUAL && b == 0) ||
                           (sense == OVRELIN_ROW_GREATER && b <= 0) ||
                           (sense == OVRELIN_ROW_LESS && b >= 0);
        if (!holds) return false;
    }
    for (int32_t j = 0; j < model.numCol; ++j)
        if ((model.lower[j] > -infinity && model.lower[j] > 0) ||
            (model.upper[j] < infinity && model.upper[j] < 0))
            return false;
    return true;
}

/// An infeasibility verdict of a linear program that the data contradict is withdrawn.
void checkVerdict(Model& model, const SolveOptions& options) {
    const Status verdict = model.status;
    const bool primal =
        verdict == Status::primalInfeasible || verdict == Status::primalInfeasibleAlt;
    const bool both = verdict == Status::infeasibleBoth;
    if (model.typeModel != modelTypeLp || !(primal || both || verdict == Status::dualInfeasible))
        return;
    if (boundedCost(model, options.infinity)) {
        if (verdict == Status::dualInfeasible) model.status = Status::failed;
        if (both) model.status = Status::primalInfeasible;
    }
    if (zeroFeasible(model, options.dualTol, options.infinity)) {
        if (primal) model.status = Status::failed;
        if (both) model.status = Status::dualInfeasible;
    }
}

Status copyDirectionArray(PoolArray<double>& out, MemoryPool* pool, int32_t capacity,
                          const double* from, int32_t count) {
    OV_TRY(out.make(pool, static_cast<std::size_t>(capacity), Fill::zero));
    std::copy(from, from + count, out.data());
    return Status::ok;
}

/// Keeps the last direction for the hand-over stage.
Status recordDirection(const Ipm& ipm, TransformRecord& transform) {
    if (transform.direction) return Status::failed;
    MemoryPool* pool = ipm.instance->pool;
    const int32_t cols = std::max(transform.numCol, ipm.numCol);
    const int32_t rows = std::max(transform.numRow, ipm.numRow);
    OV_TRY(transform.direction.make(pool));
    DirectionRecord& record = *transform.direction;
    record.alphaPrimal = ipm.alphaPrimal;
    record.alphaDual = ipm.alphaDual;
    const double* direction = ipm.vecCorrector.data();
    const auto column = [&](PoolArray<double>& out, const double* from) {
        return copyDirectionArray(out, pool, cols, from, ipm.numCol);
    };
    OV_TRY(column(record.solPrimalDelta, direction));
    OV_TRY(copyDirectionArray(record.solDualDelta, pool, rows, direction + ipm.numCol, ipm.numRow));
    OV_TRY(column(record.lowerSlackDelta, ipm.lowerSlackDelta.data()));
    OV_TRY(column(record.upperSlackDelta, ipm.upperSlackDelta.data()));
    OV_TRY(column(record.lowerDualDelta, ipm.lowerDualDelta.data()));
    OV_TRY(column(record.upperDualDelta, ipm.upperDualDelta.data()));
    return copyDirectionArray(record.ineqnSlackDelta, pool, rows, ipm.ineqnSlackDelta.data(),
                              ipm.numRow);
}

}  // namespace

Status ipmSolve(SolverInstance* instance, Model* model, SolveOptions* options,
                TransformRecord* transform, IpmSolution* solution, SolverTimer* timer,
                int32_t startState) {
    PoolObject<Ipm> ipm;
    Status result = ipmCreate(ipm, instance, model, timer, startState);
    if (isOk(result)) result = prepare(*ipm, model, options, *transform, solution);
    if (isOk(result)) {
        sendHeadings(*ipm);
        result = iterateInPasses(*ipm, *options, *transform, solution);
    } else if (result == Status::timeLimit) {
        model->status = std::exchange(result, Status::ok);
    }
    copyMeasures(*model, ipm.get());
    checkVerdict(*model, *options);
    if (ipm) kktFreeFactors(ipm->kkt);
    if (isOk(result) && options->handoverStage != 0) result = recordDirection(*ipm, *transform);
    if (!isOk(result)) model->status = result;
    return result;
}

}  // namespace ovrelin
