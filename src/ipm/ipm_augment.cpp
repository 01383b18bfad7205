#include "ipm/ipm_augment.hpp"

#include <algorithm>

#include "frame/log.hpp"
#include "ipm/kkt.hpp"
#include "ipm/measure.hpp"
#include "ipm/step.hpp"
#include "ipm/stop_rules.hpp"

namespace ovrelin {
namespace {

/// How a stage of a pass sends the loop on.
enum class Next { goOn, leave };

void rememberMeasures(Ipm& ipm) {
    ipm.prevMu = ipm.mu;
    ipm.prevGap = ipm.dualityGap;
    ipm.prevPrimalInfeas = ipm.primalInfeas;
    ipm.prevBoundInfeas = ipm.boundInfeas;
    ipm.prevDualInfeas = ipm.dualInfeas;
}

/// Once the iterate has come near, data that scaling had set to zero is given back.
void handBackPerturbations(Ipm& ipm, TransformRecord& transform) {
    if (!(ipm.complementarity < 1.0) || transform.perturbDone != 0) return;
    transform.perturbDone = 1;
    for (int32_t k = 0; k < transform.numObjPerturb; ++k)
        ipm.model->obj[transform.objPerturbIndex[k]] += transform.objPerturbValue[k];
    for (int32_t k = 0; k < transform.numRhsPerturb; ++k)
        ipm.model->rhs[transform.rhsPerturbIndex[k]] += transform.rhsPerturbValue[k];
    transform.numObjPerturb = transform.numRhsPerturb = 0;
    transform.objPerturbIndex.reset();
    transform.objPerturbValue.reset();
    transform.rhsPerturbIndex.reset();
    transform.rhsPerturbValue.reset();
}

void logIteration(const Ipm& ipm) {
    if (ipm.printLevel < 2 || ipm.printFrequency < 1) return;
    if (ipm.iterState != iterStop && ipm.iteration % ipm.printFrequency != 0) return;
    sendMessage(ipm.instance, OVRELIN_LEVEL_ITERATION, OVRELIN_MSG_ITERATION, ipm.iteration,
                ipm.complementarity, ipm.dualityGap, ipm.primalInfeas, ipm.boundInfeas,
                ipm.dualInfeas);
}

/// At a point that asked for a reset of the system around its active set. The reset itself is not
/// built: the point is judged, a stalled run ends here, and any other goes on iterating.
Next judgeResetPoint(Ipm& ipm) {
    const bool feasible = ipm.primalInfeas <= ipm.tolPrimal && ipm.boundInfeas <= ipm.tolPrimal &&
                          ipm.dualInfeas <= ipm.tolDual;
    if (feasible && ipm.dualityGap <= ipm.tolGap) {
        ipm.status = Status::optimal;
        return Next::leave;
    }
    if (feasible && ipm.complementarity <= ipm.tolComplementarity) {
        ipm.status = Status::conditionallyOptimal;
        return Next::leave;
    }
    if (ipm.iterState == iterResetStalled) return Next::leave;
    ipm.iterState = iterNormal;
    return Next::goOn;
}

/// Asked for by a parameter, once.
bool wantsNewPass(Ipm& ipm) {
    int32_t& at = ipm.options->parameters.ipm.newPassAt;
    if (ipm.iteration != at || ipm.iterState == iterStop) return false;
    at = -1;
    return true;
}

/// Measures, verdict, stopping rules, log. leave: the loop ends with the point as it stands.
Next assess(Ipm& ipm, TransformRecord& transform) {
    rememberMeasures(ipm);
    ipmMeasure(ipm);
    ipm.status = ipmStatus(ipm);
    if (ipmPoll(ipm)) return Next::leave;
    if (ipm.iteration == 0) ipm.muStart = ipm.mu;
    const bool bigActive = transform.forceRecheck != 0;
    transform.forceRecheck = 0;
    handBackPerturbations(ipm, transform);
    if (ipmStopRules(ipm, bigActive)) return Next::leave;
    if (wantsNewPass(ipm)) {
        ipm.status = Status::newPass;
        return Next::leave;
    }
    logIteration(ipm);
    if (ipm.iterState == iterStop) return Next::leave;
    ipm.iteration += 1;
    if (ipm.iterState == iterReset || ipm.iterState == iterResetStalled) {
        if (judgeResetPoint(ipm) == Next::leave) {
            ipm.iteration -= 1;
            ipm.iterState = iterStop;
            return Next::leave;
        }
    }
    return Next::goOn;
}

/// One solve with the current factors. The loop's result on leaving is `result`.
Next solveInPass(Ipm& ipm, double* vector, Status& result) {
    const Status solved = ipmKktSolve(ipm, vector);
    if (solved == Status::solveFailed || solved == Status::outOfMemory) {
        ipm.iteration -= 1;
        result = solved == Status::solveFailed ? ipm.status : solved;
        return Next::leave;
    }
    return Next::goOn;
}

/// Factors and takes the predictor's direction, its steps and the centring that it suggests.
Next predict(Ipm& ipm, Status& result) {
    kktRefresh(ipm);
    if (ipmPoll(ipm)) return Next::leave;
    const Status factored = ipmFactor(ipm);
    if (!isOk(factored)) {
        result = factored;
        return Next::leave;
    }
    if (ipmPoll(ipm)) return Next::leave;
    if (solveInPass(ipm, ipm.vecRhs.data(), result) == Next::leave) return Next::leave;
    if (ipmPoll(ipm)) return Next::leave;
    ipmPredictorStep(ipm);
    if (ipmPoll(ipm)) return Next::leave;
    ipmMuAffine(ipm);
    ipmSigma(ipm);
    ipm.sigma = std::min(1.0, ipm.sigma);
    return ipmPoll(ipm) ? Next::leave : Next::goOn;
}

Next correct(Ipm& ipm, Status& result) {
    ipmCorrectorRhs(ipm);
    if (ipmPoll(ipm)) return Next::leave;
    if (solveInPass(ipm, ipm.vecCorrector.data(), result) == Next::leave) return Next::leave;
    return ipmPoll(ipm) ? Next::leave : Next::goOn;
}

Next move(Ipm& ipm) {
    ipmOverallDirection(ipm);
    if (ipmPoll(ipm)) return Next::leave;
    ipmUpdateIterate(ipm);
    return ipmPoll(ipm) ? Next::leave : Next::goOn;
}

Status checkSolution(const Ipm& ipm, const Presolver* presolver, const IpmSolution* solution) {
    const bool same = solution == ipm.solution;
    if (presolver == nullptr && !same) {
        logText(ipm.instance,
                "Error ipmAugment: output solution should be the same as IPM solution.");
        return Status::failed;
    }
    if (presolver != nullptr && same) {
        logText(ipm.instance,
                "Error ipmAugment: output solution should not be the same as IPM solution.");
        return Status::failed;
    }
    return Status::ok;
}

}  // namespace

Status ipmAugment(Ipm& ipm, TransformRecord& transform, const Presolver* presolver,
                  const IpmSolution* solution) {
    OV_TRY(checkSolution(ipm, presolver, solution));
    Status result = Status::ok;  // set when a stage fails; else the verdict is the result
    for (;;) {
        if (assess(ipm, transform) == Next::leave) break;
        if (predict(ipm, result) == Next::leave) break;
        if (correct(ipm, result) == Next::leave) break;
        if (move(ipm) == Next::leave) break;
    }
    if (ipm.status == Status::conditionallyOptimal && ipm.tolGap >= ipm.dualityGap)
        ipm.status = Status::optimal;
    return isOk(result) ? ipm.status : result;
}

}  // namespace ovrelin
