// The convexity test: an interior-point solve of a problem whose quadratic term bends downwards has
// no meaning, and is refused before it starts.
#pragma once

#include "frame/solver_records.hpp"
#include "frame/status.hpp"

namespace ovrelin {

/// Compares the smallest eigenvalue of Q with EigenParameters::convexityThreshold; strictly below
/// it is not convex. A diagonal Q is read off. Any other is factorised, shifted by the threshold: a
/// positive definite D clears it. What is not cleared goes to the eigenvalue solver, whose value
/// decides; where its limit of products comes first, the signs of D do, unless rounding could
/// explain them: then the estimate is used as it stands.
///
/// Returns ok for a convex Q and for a linear model, notConvex (with a line on the text log that
/// tells the eigenvalue found), outOfMemory, interrupted, or failed. The model is not changed.
Status checkConvexity(SolverInstance* instance, const Model& model, const SolveOptions& options);

}  // namespace ovrelin
