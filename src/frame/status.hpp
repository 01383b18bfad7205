// The one failure type of the module. Zero means that the work goes on; every other value travels
// up unchanged to the solve driver, which stores it in Model.status.
#pragma once

#include <cstdint>

namespace ovrelin {

enum class [[nodiscard]] Status : std::int32_t {
    ok = 0,                      // the work goes on
    optimal = 1,                 // every infeasibility, the gap and complementarity within tolerance
    primalInfeasible = 3,
    dualInfeasible = 4,          // unbounded
    iterationLimit = 7,
    timeLimit = 8,
    failed = 10,                 // bad input, inconsistent state, or numerical breakdown
    interrupted = 12,
    infeasibleBoth = 14,         // primal and dual infeasible
    conditionallyOptimal = 15,   // feasible; gap or complementarity within 100 times its tolerance
    solveFailed = 100,           // a triangular solve overflowed
    primalInfeasibleAlt = 256,   // read everywhere like primalInfeasible
    notConvex = 1000,
    newPass = 1003,              // asks ipmSolve for a new pass on a changed model
    restartOnly = 1004,          // the submodel restore found nothing to do except a fresh start
    outOfMemory = -1086,         // also: a sibling extension missing
};

constexpr bool isOk(Status status) { return status == Status::ok; }

}  // namespace ovrelin

// Returns the status of `expression` from the enclosing function unless it is ok.
#define OV_TRY(expression)                                                  \
    do {                                                                    \
        const ::ovrelin::Status ovTryStatus = (expression);                 \
        if (ovTryStatus != ::ovrelin::Status::ok) return ovTryStatus;       \
    } while (false)
