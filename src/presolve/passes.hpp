// The pass loop: sweeps over what has changed until nothing does.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// Column and row sweeps in turn until a pass changes nothing or maxPass is reached. A sweep visits
/// only rows and columns whose processed flag was cleared, so that a pass costs time only where
/// something changed. primalInfeasible or dualInfeasible end it at once; newPass, from a row that
/// left a running solve with a big dual, is remembered while the passes go on.
Status runPasses(SolverInstance* instance, const Model& model, const SolveOptions& options,
                 Presolver& presolver, const IpmSolution* solution);

}  // namespace ovrelin
