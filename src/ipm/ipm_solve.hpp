// Outer control of the interior-point method.
#pragma once

#include "frame/solver_records.hpp"
#include "frame/solver_timer.hpp"

namespace ovrelin {

/// Solves `model` (rows 'E' and 'G' only) into model->solPrimal, model->solDual and `solution`.
/// startState is the loop's first state (iterStart). Returns ok when the run came to a verdict or a
/// time or iteration limit: model->status tells which. Otherwise the failing status, also in
/// model->status. The measures of the last point are in the model on every path.
Status ipmSolve(SolverInstance* instance, Model* model, SolveOptions* options,
                TransformRecord* transform, IpmSolution* solution, SolverTimer* timer,
                int32_t startState);

}  // namespace ovrelin
