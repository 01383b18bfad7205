#include "ipm/stop_rules.hpp"

#include <algorithm>

namespace ovrelin {
namespace {

enum class Rule { goOn, done };

bool feasible(const Ipm& ipm, double factor) {
    return factor * ipm.tolPrimal >= ipm.primalInfeas &&
           factor * ipm.tolPrimal >= ipm.boundInfeas && factor * ipm.tolDual >= ipm.dualInfeas;
}

/// True when an infeasibility above its tolerance still falls by 1 % a pass.
bool infeasibilityFalls(const Ipm& ipm) {
    const double share = ipm.options->parameters.ipm.stallShare;
    const auto falls = [share](double previous, double now, double tolerance) {
        return share * previous >= now && previous > tolerance;
    };
    return falls(ipm.prevPrimalInfeas, ipm.primalInfeas, ipm.tolPrimal) ||
           falls(ipm.prevBoundInfeas, ipm.boundInfeas, ipm.tolPrimal) ||
           falls(ipm.prevDualInfeas, ipm.dualInfeas, ipm.tolDual);
}

Rule stallRule(Ipm& ipm, bool bigActive) {
    const IpmParameters& p = ipm.options->parameters.ipm;
    const bool stalled =
        ipm.mu > p.stallShare * ipm.prevMu && p.stallMu >= ipm.mu && p.stallGap > ipm.dualityGap;
    if (!stalled) {
        ipm.nearCount = 0;
        return Rule::goOn;
    }
    if (infeasibilityFalls(ipm)) return Rule::goOn;
    if (++ipm.nearCount < p.nearLimit) return Rule::goOn;
    const double factor = p.nearFactor;
    if (ipm.primalInfeas > factor * ipm.tolPrimal || ipm.boundInfeas > factor * ipm.tolPrimal ||
        ipm.dualInfeas > factor * ipm.tolDual) {
        ipm.iterState = iterStop;
    } else if (p.stallBalance > ipm.complBalance && !bigActive) {
        ipm.iterState = iterResetStalled;
    } else {
        ipm.status = Status::conditionallyOptimal;
        ipm.iterState = iterStop;
    }
    return Rule::done;
}

void countSlowPass(Ipm& ipm) {
    const double share = ipm.options->parameters.ipm.stallShare;
    const bool noGain = ipm.mu > ipm.prevMu || ipm.dualityGap > ipm.prevGap;
    const bool noFeasibility = ipm.primalInfeas > share * ipm.prevPrimalInfeas ||
                               ipm.boundInfeas > share * ipm.prevBoundInfeas ||
                               ipm.dualInfeas > share * ipm.prevDualInfeas;
    if (noGain && noFeasibility) ++ipm.stallCount;
}

/// The fixed end of every run, whatever the caller's limit says.
void capIterations(Ipm& ipm) {
    if (ipm.iteration < ipm.options->parameters.ipm.iterationCap) return;
    ipm.status = Status::failed;
    ipm.iterState = iterStop;
}

}  // namespace

bool ipmPoll(Ipm& ipm) {
    const bool broken =
        ipm.checkSolverBreak != nullptr && ipm.checkSolverBreak(ipm.hostmodelDataStruct) != 0;
    if (broken) {
        ipm.status = Status::interrupted;
        ipm.iterState = iterStop;
    }
    if (isExpired(ipm.timer)) {
        ipm.status = Status::timeLimit;
        ipm.iterState = iterStop;
        return true;
    }
    return broken;
}

bool ipmStopRules(Ipm& ipm, bool bigActive) {
    const IpmParameters& p = ipm.options->parameters.ipm;
    if (ipm.status == Status::optimal) {
        ipm.iterState = ipm.forceReset == 0 || bigActive ? iterStop : iterReset;
        return false;
    }
    if (feasible(ipm, 1.0) && p.balancedShare >= ipm.complBalance && !bigActive) {
        ipm.iterState = iterReset;
        capIterations(ipm);
        return false;
    }
    if (ipm.mu > p.blowUpFactor * std::max(ipm.muStart, 1.0)) {
        ipm.iterState = iterStop;
        return false;
    }
    if (stallRule(ipm, bigActive) == Rule::done) return false;
    countSlowPass(ipm);
    if (ipm.stallCount >= p.stallLimit || ipm.muFloor > ipm.mu || ipm.slackFloor > ipm.minSlack)
        ipm.iterState = iterStop;
    if (ipmPoll(ipm)) return true;
    if (ipm.iteration >= ipm.iterationLimit) {
        ipm.status = Status::iterationLimit;
        ipm.iterState = iterStop;
    } else {
        capIterations(ipm);
    }
    return false;
}

}  // namespace ovrelin
