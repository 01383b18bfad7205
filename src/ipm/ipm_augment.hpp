// The predictor-corrector loop.
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

struct Presolver;

/// Mehrotra's predictor-corrector method from the point in `ipm`. Per pass: measure the point and
/// build the predictor's right-hand side in one sweep, decide whether to stop, factor once, solve
/// twice, move. With a null presolver `solution` must be ipm.solution, with one it must not be.
/// Returns the ending status; ipm.status holds the running verdict.
/// Source: S. Mehrotra, On the implementation of a primal-dual interior point method, SIOPT 2,
/// 1992.
Status ipmAugment(Ipm& ipm, TransformRecord& transform, const Presolver* presolver,
                  const IpmSolution* solution);

}  // namespace ovrelin
