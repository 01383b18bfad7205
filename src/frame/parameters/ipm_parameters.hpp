// The constants of the predictor-corrector iteration, each with its reason.
#pragma once

#include <cstdint>

namespace ovrelin {

struct IpmParameters {
    /// Share of the step to the boundary that is taken: an iterate never touches the boundary.
    double stepDamping = 0.99;
    /// Number of free columns from which their treatment would change; traced, not acted on.
    double freeVarLimit = 1000.0;
    /// Row loops follow the index list of 'G' rows when these are at most this share of the rows.
    double ineqnDensity = 0.5;
    /// Below this `mu` no digit of a complementarity product is left.
    double muFloor = 1e-20;
    /// Below this slack its reciprocal leaves the range in which the KKT matrix can be factored.
    double slackFloor = 1e-50;
    /// Largest magnitude of the diagonal regularisation of the KKT matrix: small enough for
    /// refinement to remove its effect, large enough to give every pivot a sign.
    double regularisation = 1e-10;
    /// A lower bound below this magnitude is marked as zero in varBndType.
    double zeroBound = 1e-10;
    /// A direction component above -ratioThreshold cannot block the step.
    double ratioThreshold = 1e-15;
    /// Pairs whose smaller partner is below this do not count in complBalance.
    double balanceFloor = 1e-6;
    /// A feasible point with complBalance below this has told active from inactive.
    double balancedShare = 0.001;
    /// `mu` above this multiple of its start means divergence.
    double blowUpFactor = 1000.0;
    /// `mu` or an infeasibility that falls by less than 1 % a pass counts as stalled.
    double stallShare = 0.99;
    double stallMu = 1e-4;
    double stallGap = 0.1;
    /// A stalled point within this multiple of the tolerances is worth keeping.
    double nearFactor = 100.0;
    double stallBalance = 0.1;
    /// Stalled passes near the optimum before it is called the end.
    std::int32_t nearLimit = 3;
    /// Slow passes before the run is given up.
    std::int32_t stallLimit = 50;
    /// No run goes on beyond this many passes, whatever the caller's limit says.
    std::int32_t iterationCap = 1000;
    std::int32_t resetLimit = 5;
    /// The loop asks for a second presolve at this pass; -1 never. For tests.
    std::int32_t newPassAt = -1;
};

}  // namespace ovrelin
