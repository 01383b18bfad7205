// The solve driver: the one place where the whole road of a solve is told.
#pragma once

#include "frame/solver_records.hpp"
#include "frame/solver_timer.hpp"

namespace ovrelin {

/// Prepares the model, runs the iteration, maps the result back and reports it by messages. `model`
/// needs all of its input and result arrays, colLength included. Returns model->status, which is
/// never ok; the measures and, where the run left a point, the solution are in the model.
Status solveDriver(SolverInstance* instance, Model* model, SolveOptions* options,
                   SolverTimer* timer);

}  // namespace ovrelin
