// When the loop ends: the poll of the outside world and the stopping rules.
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

/// Asks the caller's break function and the timer. True when the loop must be left at once, with
/// ipm.status interrupted or timeLimit (the time limit wins).
bool ipmPoll(Ipm& ipm);

/// The stopping rules, in order; sets iterState and, where a rule decides it, status. bigActive:
/// values set aside are still moving, so that no ending may be declared. True when the loop must be
/// left.
bool ipmStopRules(Ipm& ipm, bool bigActive);

}  // namespace ovrelin
