// The way back: a solution of the model that was solved becomes one of the caller's model. Columns
// first, each by its state; then the activities and reduced costs; then the duals, which the solve
// has left on bounds that the caller's model does not have and which move to the rows that implied
// these bounds; the row slacks last.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

struct Submodel;

/// Takes the solution back to the caller's model, to which `model` returns, and releases the
/// reduced one: workSolution's arrays solPrimal and solDual are dead after it (the record is the
/// caller's to free). A solve that ended in newPass, outOfMemory, interrupted or failed gets its
/// primal values back (reduced model only) and nothing else. failed when the solution references or
/// a live submodel do not fit preControl; outOfMemory.
Status postsolve(SolverInstance* instance, Model*& model, const SolveOptions& options,
                 Presolver& presolver, const IpmSolution* workSolution, IpmSolution* inSolution,
                 TransformRecord* transform, const Submodel* submodel);

/// Primal values, slacks and bound duals of every column and the duals and slacks of every row, by
/// their states; live ones from `reduced` unless it is null. keepPrimal leaves an empty column
/// where it is in `full`, clipped to its bounds, instead of at its best value. The direction record
/// of `transform`, if both exist, is spread over the caller's indices, with zeros for what was
/// removed.
void restorePrimalSolution(const Presolver& presolver, const IpmSolution* reduced,
                           IpmSolution& full, TransformRecord* transform, double infinity,
                           bool keepPrimal);

/// Moves the duals of tightened bounds to the rows that implied them.
///
/// With L the tightened and l the caller's lower bound of column j, L > l, and z its dual: row
/// i = lbMap[j] with element a takes t = z / a, so that every other column c of the row gets the
/// residual -b t (b its element), which its own bound duals absorb; when these belong to tightened
/// bounds they move on in their turn. Passes over the columns touched repeat until no dual moves.
/// reducedCost follows. outOfMemory.
Status restoreDualSolution(SolverInstance* instance, Model& model, const SolveOptions& options,
                           const Presolver& presolver, IpmSolution& full,
                           TransformRecord* transform);

/// Slacks of the rows that were removed, from the activities. Rows that fixed columns keep 0.
void restoreIneqnSlack(const Model& model, const Presolver& presolver, IpmSolution& full);

/// What the activity of row i leaves to its rhs, on the side that the row allows; 0 on the rows
/// that have no such slack.
double ineqnSlackOf(const Model& model, int32_t i);

}  // namespace ovrelin
