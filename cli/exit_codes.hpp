// Exit statuses of ovsolve.
#pragma once

#include <cstdint>

#include "ovrelin/codes.h"

namespace ov::cli {

enum ExitCode : int {
    kSolved = 0,
    kFailed = 1,
    kPrimalInfeasible = 2,
    kDualInfeasible = 3,
    kInfeasibleOrUnbounded = 4,
    kStopped = 5,
    kNotConvex = 6,
    kUsage = 64,
    kBadModel = 65,
    kNoSuchFile = 66
};

/// Exit status for a return value of the module.
[[nodiscard]] constexpr ExitCode exitCodeOf(std::int32_t returnValue) {
    switch (returnValue) {
        case OVRELIN_OPTIMAL:
        case OVRELIN_CONDITIONALLY_OPTIMAL:
            return kSolved;
        case OVRELIN_PRIMAL_INFEASIBLE:
            return kPrimalInfeasible;
        case OVRELIN_DUAL_INFEASIBLE:
            return kDualInfeasible;
        case OVRELIN_INFEASIBLE_OR_UNBOUNDED:
            return kInfeasibleOrUnbounded;
        case OVRELIN_ITERATION_LIMIT:
        case OVRELIN_TIME_LIMIT:
        case OVRELIN_INTERRUPTED:
            return kStopped;
        case OVRELIN_NOT_CONVEX:
        case OVRELIN_NOT_CONCAVE:
            return kNotConvex;
        default:
            return kFailed;
    }
}

}  // namespace ov::cli
