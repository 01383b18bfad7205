// What the presolver tells the user.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// The setting of the option and what was removed, as numbered messages; quadratic models only, and
/// nothing at printLevel 0. Every setting but 0 means the same.
void printPresolveSummary(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          const Presolver& presolver);

}  // namespace ovrelin
