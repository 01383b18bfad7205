// Refinement by restarted GMRES with the factorisation as right preconditioner. A factor with
// replaced pivots is a perturbed inverse; the Krylov space repairs what plain corrections cannot.
#pragma once

#include <cstdint>

#include "sparse/solve/residual.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Doubles of the Krylov block for bases of up to m vectors of length n: V and Z (n x m each), the
/// Hessenberg matrix with m + 1 rows per column, the rotations, the rotated right-hand side and the
/// coefficients of the correction.
constexpr std::uint64_t krylovSize(std::uint64_t n, std::uint64_t m) {
    return m * (m + 2 * n + 3) + 2 * m + 1;
}

/// What a refinement works on.
struct Refinement {
    int permutedFlag;
    SymmetricMatrix matrix;
    const double* b;  // [n]
    double* x;        // [n] the first solution on entry, the refined one on return
    SparseLdl& handle;
    const LdlSymbolic& symbolic;
    double* work;    // [solveWorkSize]
    double* krylov;  // [krylovSize(n, longest restart)]
};

/// Restart length of the first cycle, and the longest basis that any cycle may use.
std::int32_t firstRestart(const SparseLdl& handle, std::int32_t n);
std::int32_t longestRestart(const SparseLdl& handle, std::int32_t n);

/// Stores the last backward error in the handle. Returns refined, notRefined or overflow.
[[nodiscard]] int refineByGmres(Refinement& refinement);

}  // namespace ovrelin
