// The reductions that remove something outright. Each changes the working copies only and clears
// the flags of what it touched, so that the sweeps of the pass loop come back there. The
// conclusions from rows are in singleton_row.hpp and row_activity.hpp.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// Concludes: an 'N' row restricts nothing. From: rowSense alone; lower-case senses are raised in
/// the working copy, an unknown one is failed. Leaves: ROWMAP_FREE, a row list of length 0. Clears
/// no flags: nothing has been swept yet.
Status removeFreeRows(SolverInstance* instance, const Model& model, Presolver& presolver);

/// Concludes: an element that is exactly zero is no element. From: the values. Leaves: both lists
/// without it, counted in numRemovedElement. Clears no flags: nothing has been swept yet.
void removeZeroElements(SolverInstance* instance, Presolver& presolver);

/// Concludes: bounds that cross by more than primalTol are primalInfeasible, a lower bound above
/// infinity or an upper bound below -infinity is dualInfeasible. Sets infeasibleCol; removes
/// nothing.
Status checkColumnBounds(const SolveOptions& options, Presolver& presolver);

/// Concludes: the column sits at lower[col], also when upper[col] lies a tolerance away. From:
/// closed bounds. Leaves: COLMAP_FIXED, the column's own list whole; its share moved into rhs and,
/// through Q, into the neighbours' obj. The objective constant does not follow: objective values on
/// the way lack the fixed part, and the way back computes the true one. Clears rowProcessed of its
/// rows and colProcessed of its neighbours in Q.
void removeFixedColumn(SolverInstance* instance, const Model& model, Presolver& presolver,
                       int32_t col);

/// Concludes: the column is alone with its cost. From: no live element and no live neighbour in Q
/// (with one it stays, untouched). Leaves: COLMAP_EMPTY; the way back chooses the value.
/// dualInfeasible, with infeasibleCol, when the cost falls towards an infinite bound.
/// Clears no flags: no row sees it.
Status removeEmptyColumn(const Model& model, const SolveOptions& options, Presolver& presolver,
                         int32_t col);

/// Concludes: 0 must lie within the row's limits. From: no live element. Leaves: ROWMAP_EMPTY.
/// primalInfeasible, with infeasibleRow, when it does not. newPass, whatever the limits say, when a
/// running solve (startMode 4096 and `solution` given) holds a big dual on the row.
/// Clears no flags: no column sees it.
Status removeEmptyRow(const Model& model, const SolveOptions& options, Presolver& presolver,
                      int32_t row, const IpmSolution* solution);

/// A bound of `col` has changed: the column and the rows in its live list are to be looked at
/// again.
void touchColumn(Presolver& presolver, int32_t col);
void touchRowsOf(Presolver& presolver, int32_t col);

/// Width up to which bounds count as closed.
inline double fixedTolerance(const SolveOptions& options) {
    return options.parameters.presolve.fixedShare * options.primalTol;
}

}  // namespace ovrelin
