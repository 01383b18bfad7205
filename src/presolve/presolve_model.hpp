// The presolver's driver: which model the solve is to see, and by which route.
#pragma once

#include "frame/solver_records.hpp"
#include "presolve/presolver.hpp"

namespace ovrelin {

struct Submodel;

/// Shrinks the model in passes and decides preControl and preRoute of the zero-filled `presolver`.
///
///   model         in-out: redirected to the reduced model under PRECONTROL_REDUCED. Under
///                 PRECONTROL_BOUND its bound arrays are exchanged with the tightened ones.
///   transform     out: numLcont and numRange of the model that the solve will use
///   inSolution    in-out: null in a first call; a record, the point reached, when startMode >=
///   4096 workSolution  out (null on entry): the record for the model that the solve will use. The
///   same as
///                 inSolution unless the model is reduced
///   submodel      the running solve's set-aside part, or null in the first call. With it only rows
///                 that are empty and columns that are fixed or empty already are removed
///
/// The caller reads preRoute first: PREROUTE_SOLVED means that the model's status stands and
/// nothing is to be undone, PREROUTE_SOLVED_POST that the returned status (optimal or
/// conditionallyOptimal) is the model's and postsolve is to run. Otherwise a status other than ok
/// ends the solve: primalInfeasible and dualInfeasible with infeasibleRow or infeasibleCol, newPass
/// for a running solve, outOfMemory, failed; after ok come the iterations, then postsolve.
Status presolveModel(SolverInstance* instance, Model*& model, const SolveOptions& options,
                     Presolver& presolver, TransformRecord& transform, IpmSolution*& inSolution,
                     IpmSolution*& workSolution, const Submodel* submodel);

/// The short path of a linear program that another presolver has been through: no reduction, only
/// the direct route, the counts of `transform` and the solution record, to which both references
/// refer.
Status collectStatistics(SolverInstance* instance, Model& model, const SolveOptions& options,
                         Presolver& presolver, TransformRecord& transform, IpmSolution*& inSolution,
                         IpmSolution*& workSolution);

}  // namespace ovrelin
