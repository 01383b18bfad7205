// The small parts of a Krylov method: Gram-Schmidt and plane rotations.
#pragma once

#include <cstdint>

namespace ovrelin {

/// Makes w [n] orthogonal to the `count` columns of `basis` (n x count) and stores the coefficients
/// in h [count]. variant 0: modified Gram-Schmidt; 1: two sweeps of it; 2: classical, twice.
/// `work` [count] is scratch of variant 2.
void orthogonalise(std::int32_t variant, std::int32_t n, std::int32_t count, const double* basis,
                   double* w, double* h, double* work);

struct Rotation {
    double cosine, sine;
};

/// The plane rotation that takes (c0, c1) to (rho, 0); both entries are overwritten so.
Rotation makeRotation(double& c0, double& c1);

}  // namespace ovrelin
