// A model of free columns and equations is one linear system: no iterations are needed.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Solves the first-order conditions
///
///   Q x - A'y = -c,   -A x = -b
///
/// by one factorisation. Fills `solution` (the bound arrays with zeros), the model's reducedCost,
/// rowActivity, objValue, its five measures and its status, which tells the outcome.
/// useSolveToPoint asks to shrink the system first; it has no effect on the result. outOfMemory,
/// interrupted, or the failure of the sparse solver.
Status solveDirectSystem(SolverInstance* instance, Model& model, const SolveOptions& options,
                         IpmSolution& solution, bool useSolveToPoint);

}  // namespace ovrelin
