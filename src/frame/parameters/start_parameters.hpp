// The constants of the starting point, each with its reason.
#pragma once

namespace ovrelin {

struct StartParameters {
    /// LP: a guard against exact zeros only; what a shift could not lift jumps to a large value, so
    /// that it does not block the first steps.
    double lpFloor = 1e-10;
    double lpReplace = 100.0;
    /// QP: start well inside, since primal and dual share one step length.
    double qpFloor = 0.1;
    double qpReplace = 0.1;
    /// Least shift beyond the most negative slack, absolute and relative.
    double shiftMargin = 1e-10;
    /// Diagonals of the QP start systems within (-x, x) are pushed to -x.
    double pushDiagonal = 1e-6;
};

}  // namespace ovrelin
