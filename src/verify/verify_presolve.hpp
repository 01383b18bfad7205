// Self-checks of the presolver. failed for a fault, outOfMemory for their own work arrays.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// The invariants of the maps, lists and bounds after the passes, against the caller's model:
/// counts, lists, bounds that only tighten, and for every state of a row or column what it claims.
/// Called when debugLevel is above 0, before the reduced model takes over.
Status VerifyPresolveStructure(SolverInstance* instance, const SolveOptions& options,
                               const Model& model, const Presolver& presolver);

/// The reduced model and inModel agree at random points: row residuals, objective differences, and
/// bounds. Returns at once below debugLevel 3, or without a reduced model.
Status VerifyPresolveValue(SolverInstance* instance, const SolveOptions& options,
                           const Model& reducedModel, const Presolver& presolver);

/// A presolver that has not run holds nothing. Returns at once below debugLevel 1.
Status VerifyPresolveDisabled(SolverInstance* instance, int32_t debugLevel,
                              const Presolver& presolver);

}  // namespace ovrelin
