// The inverse of a 2x2 pivot [d11 d21; d21 d22], scaled by its off-diagonal entry, which dominates
// it, so that the determinant cannot cancel or overflow.
#pragma once

namespace ovrelin {

struct PairInverse {
    double a, b, scale;

    PairInverse(double d11, double d21, double d22)
        : a(d22 / d21), b(d11 / d21), scale(1 / ((a * b - 1) * d21)) {}

    /// (l0, l1) = (w0, w1) D^-1
    void apply(double w0, double w1, double& l0, double& l1) const {
        l0 = scale * (a * w0 - w1);
        l1 = scale * (b * w1 - w0);
    }
};

}  // namespace ovrelin
