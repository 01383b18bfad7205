// What the driver tells the user, as numbered messages.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// The number of threads when more than one is asked for; nothing at printLevel 0.
void reportThreads(const SolverInstance* instance, const SolveOptions& options);

/// How the solve ended, with the objective value where there is a point; nothing at printLevel 0.
void reportEnding(const SolverInstance* instance, const Model& model, const SolveOptions& options);

/// The solve time; nothing at printLevel 0.
void reportTime(const SolverInstance* instance, const SolveOptions& options, double seconds);

}  // namespace ovrelin
