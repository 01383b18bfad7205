// The decisions around the passes: may the model be solved directly, did bounds move, and which
// bounds add nothing that a row does not say already.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// Sets preRoute from the caller's model: PREROUTE_FREECOL when a column is free (a flagged bound
/// counts as absent), PREROUTE_DIRECT when all are and every row is an equation; without any matrix
/// element only for off-diagonal Q. Returns the number of free columns.
int32_t classifyRouteBefore(const Model& model, const SolveOptions& options, Presolver& presolver);

/// The same on what the passes have left; a bound that a live row has tightened counts as absent.
int32_t classifyRouteAfter(const Model& model, const SolveOptions& options, Presolver& presolver);

/// boundChanged: some live column has a bound tighter than the caller's by more than primalTol.
void detectBoundChange(const Model& model, const SolveOptions& options, Presolver& presolver);

/// Flags of the model that the solve will use, one byte a column [numCol + numRange]: the bound was
/// tightened by a row that still stands, so that dropping it changes nothing. relaxColBound stays
/// null when there is none. The flags are lent: releaseRelaxFlags takes them back.
/// failed when the model has flags already; outOfMemory.
Status markRelaxColBound(SolverInstance* instance, Model& model, const SolveOptions& options,
                         const TransformRecord& transform, Presolver& presolver);

}  // namespace ovrelin
