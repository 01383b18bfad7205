// The directions of one pass, their step lengths, and the centring between them.
//
// Linearised at the iterate, with p = sign (x + dx - bound) the predicted distance of a pair:
//
//   predictor   dt = p - t                  dz = -p z / t
//               ds = -s (dy/y + 1)                            on 'G' rows
//   corrector   the same matrix with m = sigma mu and the products dt dz, ds dy on the right
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

/// From (dx, dy) in vecRhs: the Deltas, alphaPrimal, alphaDual and the blocking pairs.
void ipmPredictorStep(Ipm& ipm);
/// muAffine: mean complementarity after the predictor's step.
void ipmMuAffine(Ipm& ipm);
/// sigma = (muAffine / mu)^3, not yet capped.
void ipmSigma(Ipm& ipm);
/// vecCorrector: right-hand side of the correction alone.
void ipmCorrectorRhs(Ipm& ipm);
/// Adds the correction in vecCorrector to the predictor: the overall direction in vecCorrector and
/// in the Deltas, with its step lengths.
void ipmOverallDirection(Ipm& ipm);
/// Moves the iterate by the damped steps and takes minSlack. The QP's two steps are equal.
void ipmUpdateIterate(Ipm& ipm);

}  // namespace ovrelin
