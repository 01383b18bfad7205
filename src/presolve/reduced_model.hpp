// The smaller model: a model of its own, filled from the live parts of the working lists.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// Makes the arrays of presolver.reduced for what the passes have left of `model`, with room for
/// the slack columns that range rows get later, and takes over the fields that do not change. Rows
/// n, columns m, elements z, off-diagonals w, range rows r:
///
///   colBegin [m+r+2], colLength [m+r+1], rowIndex and matValue [z+n+m+2r], column arrays [m+r],
///   row arrays [n], quadColBegin [m+r+1], quadRowIndex and quadMatValue [w]
///
/// Null, and nothing kept, when memory fails.
Model* allocReducedModel(SolverInstance* instance, const Model& model,
                         const TransformRecord& transform, Presolver& presolver);

/// Fills it: working rhs, senses, obj and bounds, the matrix in the order of the working columns.
/// With both solutions (a resumed solve) the point moves along; where the presolver has given a
/// column its first finite bound, the point gets a slack of at least primalTol and a dual of at
/// least dualTol. Counts that do not agree with the counters are reported.
void reduceModel(SolverInstance* instance, Model& reducedModel, const SolveOptions& options,
                 const Presolver& presolver, const IpmSolution* inSolution,
                 IpmSolution* reducedSolution);

/// Hands status, objective value, iterations and measures to `inModel` (unless null) and releases
/// the reduced model with its solPrimal and solDual: a solution record around them is dead after
/// this.
void freeReducedModel(Presolver& presolver, Model* inModel);

}  // namespace ovrelin
