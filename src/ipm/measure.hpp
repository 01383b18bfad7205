// What is measured at a point, and the verdict on it.
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

/// One sweep over the model: all measures of the iterate and the right-hand side of the predictor.
///
///   vecRhs, columns:  -c - Qx + A'y + z - w, with (1 - d/t) z in place of z (d the bound distance)
///   vecRhs, rows:     Ax - b
///
///   primalInfeas = |Ax - b - s| / (1 + |b|)        dualInfeas = |c + Qx - A'y - z + w| / (1 + |c|)
///   boundInfeas = |distance - slack| / (1 + |l| + |u|)
///   dualityGap = |P - D| / (1 + |P|)                complementarity = sum of slack * dual
///   mu = complementarity / numComplement
///
/// P = c'x + 0.5 x'Qx, D = b'y + l'z - u'w - 0.5 x'Qx; norms Euclidean. complBalance is the largest
/// min/max ratio of a pair whose smaller partner counts. O(numCoef + numQuadCoef).
void ipmMeasure(Ipm& ipm);

struct Measures {
    double primalInfeas, boundInfeas, dualInfeas, gap, compl_;
};

/// Running verdict: optimal, conditionallyOptimal, or which infeasibility is still above its
/// tolerance (primalInfeasible, dualInfeasible, infeasibleBoth), else failed. A NaN gives failed.
Status ipmStatus(double tolPrimal, double tolDual, double tolGap, double tolCompl,
                 double nearFactor, const Measures& measures);
Status ipmStatus(const Ipm& ipm);

}  // namespace ovrelin
