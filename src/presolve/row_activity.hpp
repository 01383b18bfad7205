// What a row of two or more elements says through the range of its activity, given the bounds: that
// it can never bind, that it can only just be met, or that a column's bound is tighter than it
// looks.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// One end of a row's activity range, against the limit of the row on that side.
struct ActivityRecord {
    int32_t row;
    double finiteSum;  // of the finite terms
    double limit;
    int32_t numInfinite;  // number of infinite terms
    int32_t infinitePos;  // position in the row list of the last of them
};

/// Concludes, from the least and the greatest activity under the working bounds, one of:
///
///   infeasible   a limit is missed by more than primalTol: primalInfeasible, with infeasibleRow
///   forcing      a limit can only just be met: every column is closed at the bound that meets it.
///                Leaves ROWMAP_FIXED and the maps of the closed columns (ROWMAP_EMPTY when no map
///                names the row, all columns being closed before); its elements go with the
///                columns.
///   redundant    no limit can bind. Leaves ROWMAP_FREE and an empty row list; the elements go.
///   one-sided    a range row of which one limit cannot bind becomes 'G' or 'L'; then it tightens
///   tighten      the row stays, and may imply bounds: tightenFromMinActivity, ...MaxActivity
///
/// Forcing and redundant rows clear colProcessed of their columns, a tightened bound that of its
/// column and rowProcessed of the column's rows, this one included.
Status analyzeRowActivity(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          Presolver& presolver, int32_t row);

/// Concludes: no term may exceed its least value by more than limit - (least activity), so that
///
///   x_j <= lower_j + (limit - sum) / a_j  (a_j >= 0),   x_j >= upper_j + (limit - sum) / a_j  (a_j
///   < 0).
///
/// With one infinite term only its own column gets a bound, with more none does. Leaves the row
/// live and its number in lbMap or ubMap; only improvements above primalTol count. Clears as above.
void tightenFromMinActivity(SolverInstance* instance, const SolveOptions& options,
                            Presolver& presolver, const ActivityRecord& activity);

/// The same from the greatest activity and the row's lower limit, with the bounds' roles exchanged.
void tightenFromMaxActivity(SolverInstance* instance, const SolveOptions& options,
                            Presolver& presolver, const ActivityRecord& activity);

}  // namespace ovrelin
