// The constants and switches of the presolver, each with its reason.
#pragma once

#include <cstdint>

namespace ovrelin {

struct PresolveParameters {
    /// Off: rows are not analysed and singleton rows stay, so that only what the iteration cannot
    /// take ('N' rows, empty rows, fixed and empty columns) is removed. For tests and benchmarks.
    bool reductions = true;
    /// Passes before the reductions are cut off; the model is valid after any number of them.
    std::int32_t maxPass = 100;
    /// A column counts as fixed when its bounds are within this share of primalTol: well inside
    /// the tolerance by which its value may be off.
    double fixedShare = 0.01;
    /// A row may leave in mid-solve only with a dual of at most this magnitude: dropping a larger
    /// one would throw the iterate off its path.
    double bigDual = 1.0;
    /// Diagonals of Q below this do not decide the value of an empty column.
    double quadDiagFloor = 1e-10;
    /// Duals below this carry no direction.
    double directionFloor = 1e-20;
    /// Passes of the dual recovery: transfers along a cycle of implied bounds need not end.
    std::int32_t maxDualPass = 10000;
    /// A transfer this many times the largest reduced cost comes from a cycle that grows: the
    /// recovery is given up and the duals stay as the solve left them.
    double dualGrowth = 1e9;
};

}  // namespace ovrelin
