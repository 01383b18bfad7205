// The dense symmetric eigenproblem, for the projected matrices of the sparse solver.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ovrelin {

/// Doubles of `work` that denseEig can use for matrices up to order m.
std::size_t denseEigWork(std::int32_t m);

/// Eigenvalues w [m], ascending, of the symmetric matrix whose upper triangle stands in H (m x m,
/// leading dimension ldh); with jobz 'V' the vectors replace H, by columns, with 'N' H is
/// destroyed. Tridiagonal reduction and implicit QL by LAPACK. `work` has workSize >= max(1, 3 m -
/// 1) doubles. Returns 0, or LAPACK's positive count of off-diagonals that did not converge.
std::int32_t denseEig(char jobz, std::int32_t m, double* H, std::int32_t ldh, double* w,
                      double* work, std::size_t workSize);

}  // namespace ovrelin
