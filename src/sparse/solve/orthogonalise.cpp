#include "sparse/solve/orthogonalise.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/blas.hpp"
#include "sparse/kernel/product.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// One sweep of modified Gram-Schmidt, adding its coefficients to h.
void modifiedSweep(int32_t n, int32_t count, const double* basis, double* w, double* h) {
    const int32_t unit = 1;
    for (int32_t i = 0; i < count; ++i) {
        const double* v = basis + static_cast<int64_t>(i) * n;
        const double coefficient = ddot_(&n, w, &unit, v, &unit);
        const double negative = -coefficient;
        daxpy_(&n, &negative, v, &unit, w, &unit);
        h[i] += coefficient;
    }
}

/// One sweep of classical Gram-Schmidt.
void classicalSweep(int32_t n, int32_t count, const double* basis, double* w, double* h,
                    double* work) {
    const int32_t unit = 1;
    for (int32_t i = 0; i < count; ++i) {
        work[i] = ddot_(&n, basis + static_cast<int64_t>(i) * n, &unit, w, &unit);
        h[i] += work[i];
    }
    subtractColumns(n, count, {basis, n}, work, 1, w);
}

}  // namespace

void orthogonalise(int32_t variant, int32_t n, int32_t count, const double* basis, double* w,
                   double* h, double* work) {
    std::fill_n(h, count, 0.0);
    const int32_t sweeps = variant == 0 ? 1 : 2;
    for (int32_t sweep = 0; sweep < sweeps; ++sweep) {
        if (variant == 2)
            classicalSweep(n, count, basis, w, h, work);
        else
            modifiedSweep(n, count, basis, w, h);
    }
}

Rotation makeRotation(double& c0, double& c1) {
    const double scale = std::fabs(c0) + std::fabs(c1);
    if (scale == 0) {
        c1 = 0;
        return {1, 0};
    }
    const double u = c0 / scale, v = c1 / scale;
    const double larger = std::fabs(c0) > std::fabs(c1) ? c0 : c1;
    const double rho = std::copysign(scale * std::sqrt(u * u + v * v), larger);
    const Rotation rotation{c0 / rho, c1 / rho};
    c0 = rho;
    c1 = 0;
    return rotation;
}

}  // namespace ovrelin
