// A row with one live element is a bound in disguise.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// Concludes: with its one element a at column k, the row asks a x_k against its limits, which is a
/// bound of x_k, two of them ('R') or its value ('E'). From: the row alone.
/// Leaves: the row's list with its element, and
///
///   ROWMAP_FREE    the bound asks nothing new, or cuts by no more than primalTol: maps as before
///   ROWMAP_LOWER, ROWMAP_UPPER, ROWMAP_RANGE    lbMap and ubMap of k name the row for these sides
///   ROWMAP_FIXED   both bounds at the value; lbMap and ubMap of k name the row, except where a
///   bound
///                  stood within primalTol of the value before
///
/// primalInfeasible, with infeasibleRow, when the limits miss the column's bounds by more than
/// primalTol; the row counts as removed all the same.
/// Clears colProcessed of k, and rowProcessed of its rows where a bound moved ('E' excepted: the
/// fixed column does that when it goes).
Status removeSingletonRow(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          Presolver& presolver, int32_t row);

}  // namespace ovrelin
