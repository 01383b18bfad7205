#include "sparse/solve/gmres.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/blas.hpp"
#include "linalg/sparse_columns.hpp"
#include "sparse/kernel/product.hpp"
#include "sparse/solve/orthogonalise.hpp"
#include "sparse/solve/sweeps.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

double euclideanNorm(int32_t n, const double* x) {
    const int32_t unit = 1;
    return dnrm2_(&n, x, &unit);
}

/// The parts of the Krylov block, for a basis of up to m vectors. Column j of H has m + 1 rows.
struct Krylov {
    int32_t n, m;
    double *basis, *preconditioned, *hessenberg, *cosine, *sine, *rotated, *coefficient;

    Krylov(double* block, int32_t order, int32_t length) : n(order), m(length) {
        const int64_t size = static_cast<int64_t>(n) * m;
        basis = block;
        preconditioned = basis + size;
        hessenberg = preconditioned + size;
        cosine = hessenberg + static_cast<int64_t>(m) * (m + 1);
        sine = cosine + m;
        rotated = sine + m;
        coefficient = rotated + m + 1;
    }
    [[nodiscard]] double* v(int32_t j) const { return basis + static_cast<int64_t>(j) * n; }
    [[nodiscard]] double* z(int32_t j) const {
        return preconditioned + static_cast<int64_t>(j) * n;
    }
    [[nodiscard]] double* h(int32_t j) const {
        return hessenberg + static_cast<int64_t>(j) * (m + 1);
    }
};

/// Applies the rotations so far to the new column of H, makes the next one and rotates the
/// right-hand side: its entry j + 1 is the residual that the basis leaves.
void rotateColumn(const Krylov& krylov, int32_t j) {
    double* h = krylov.h(j);
    for (int32_t i = 0; i < j; ++i) {
        const double upper = h[i];
        h[i] = krylov.cosine[i] * upper + krylov.sine[i] * h[i + 1];
        h[i + 1] = krylov.cosine[i] * h[i + 1] - krylov.sine[i] * upper;
    }
    const Rotation rotation = makeRotation(h[j], h[j + 1]);
    krylov.cosine[j] = rotation.cosine;
    krylov.sine[j] = rotation.sine;
    krylov.rotated[j + 1] = -krylov.rotated[j] * rotation.sine;
    krylov.rotated[j] *= rotation.cosine;
}

/// The coefficients that -Z is to be multiplied by: the triangle of H against the rotated
/// right-hand side, with a minus.
void solveCoefficients(const Krylov& krylov, int32_t count) {
    double* const y = krylov.coefficient;
    for (int32_t i = 0; i < count; ++i) y[i] = -krylov.rotated[i];
    for (int32_t j = count - 1; j >= 0; --j) {
        const double* h = krylov.h(j);
        y[j] /= h[j];
        for (int32_t i = 0; i < j; ++i) y[i] -= y[j] * h[i];
    }
}

enum class CycleEnd { done, breakdown, noBasis, overflow };

struct Cycle {
    CycleEnd end;
    int32_t length;  // vectors of the basis
};

/// z_j = M^-1 v_j and w = A z_j, M the factorisation; false on overflow.
bool applyPreconditioned(const Refinement& refinement, const Krylov& krylov, int32_t j, double* w) {
    const SweepWork sweep =
        sweepWork(refinement.work, refinement.symbolic, refinement.handle.parameters.overflowLimit);
    double* const z = krylov.z(j);
    std::copy_n(krylov.v(j), krylov.n, z);
    if (ldlTriangularSolve(refinement.permutedFlag, z, refinement.symbolic, z, sweep) != ldl::ok)
        return false;
    multiply(refinement.matrix, z, w);
    return true;
}

/// Builds a basis of at most `length` vectors from v_0, until it leaves a residual of at most
/// `level`.
Cycle runCycle(const Refinement& refinement, const Krylov& krylov, int32_t length, double level) {
    double* const w = refinement.work;  // free again whenever a sweep is over
    int32_t j = 0;
    while (j < length && std::fabs(krylov.rotated[j]) > level) {
        if (!applyPreconditioned(refinement, krylov, j, w)) return {CycleEnd::overflow, j};
        double* const h = krylov.h(j);
        orthogonalise(refinement.handle.orthogonalization, krylov.n, j + 1, krylov.basis, w, h,
                      krylov.coefficient);
        h[j + 1] = std::sqrt(dotProduct(krylov.n, w, w));
        if (!(h[j + 1] > refinement.handle.parameters.krylovBreakdown))
            return {j == 0 ? CycleEnd::noBasis : CycleEnd::breakdown, j};
        if (j + 1 < length) {
            double* const next = krylov.v(j + 1);
            for (int32_t i = 0; i < krylov.n; ++i) next[i] = w[i] / h[j + 1];
        }
        rotateColumn(krylov, j);
        ++j;
    }
    return {CycleEnd::done, j};
}

/// v_0 = r / ||r||, or 0 without a residual.
void startBasis(const Krylov& krylov, const double* r) {
    const double beta = euclideanNorm(krylov.n, r);
    for (int32_t i = 0; i < krylov.n; ++i) krylov.v(0)[i] = beta > 0 ? r[i] / beta : 0;
    krylov.rotated[0] = beta;
}

/// candidate = x + Z y.
void formCandidate(const Refinement& refinement, const Krylov& krylov, int32_t length,
                   double* candidate) {
    solveCoefficients(krylov, length);
    std::copy_n(refinement.x, krylov.n, candidate);
    subtractColumns(krylov.n, length, {krylov.preconditioned, krylov.n}, krylov.coefficient, 1,
                    candidate);
}

/// A breakdown on the first vector says that A z is a multiple of the residual: one correction
/// along z, kept when it helps, is all that refinement can do.
int takeLastCorrection(const Refinement& refinement, const Krylov& krylov, double* candidate,
                       double* residual) {
    double& error = refinement.handle.backwardError;
    const double scale = krylov.rotated[0] / krylov.h(0)[0];
    for (int32_t i = 0; i < krylov.n; ++i) candidate[i] = refinement.x[i] + scale * krylov.z(0)[i];
    const ResidualNorms norms =
        computeResidual(refinement.matrix, refinement.b, candidate, residual);
    if (norms.backwardError < error) {
        std::copy_n(candidate, krylov.n, refinement.x);
        error = norms.backwardError;
    }
    return error < refinement.handle.refineTolerance ? ldl::refined : ldl::notRefined;
}

}  // namespace

int32_t firstRestart(const SparseLdl& handle, int32_t n) {
    return std::min(handle.initialRestart, n);
}

int32_t longestRestart(const SparseLdl& handle, int32_t n) {
    return std::max(firstRestart(handle, n), std::min(handle.maxRestart, n));
}

int refineByGmres(Refinement& refinement) {
    SparseLdl& handle = refinement.handle;
    const SymmetricMatrix& matrix = refinement.matrix;
    const int32_t n = matrix.n;
    const double tolerance = handle.refineTolerance;
    const Krylov krylov(refinement.krylov, n, longestRestart(handle, n));
    double* const candidate = refinement.work + n;
    double* const residual = candidate + n;
    const double rhsNorm = euclideanNorm(n, refinement.b);
    double solutionNorm = euclideanNorm(n, refinement.x);
    int32_t length = firstRestart(handle, n);

    ResidualNorms norms = computeResidual(matrix, refinement.b, refinement.x, residual);
    double& error = handle.backwardError;
    error = norms.backwardError;
    if (error < tolerance) return ldl::refined;
    if (!(error > tolerance) || handle.maxRefineIter < 1) return ldl::notRefined;

    bool brokenDown = false;
    for (int32_t total = 0; error > tolerance && total < handle.maxRefineIter && !brokenDown;) {
        startBasis(krylov, residual);
        const double level = (norms.matrixNorm * solutionNorm + rhsNorm) * tolerance;
        const Cycle cycle = runCycle(refinement, krylov, length, level);
        if (cycle.end == CycleEnd::overflow) return ldl::overflow;
        if (cycle.end == CycleEnd::noBasis)
            return takeLastCorrection(refinement, krylov, candidate, residual);
        brokenDown = cycle.end == CycleEnd::breakdown;
        total += cycle.length;
        if (cycle.length == 0) return ldl::refined;

        formCandidate(refinement, krylov, cycle.length, candidate);
        norms = computeResidual(matrix, refinement.b, candidate, residual);
        const double newError = norms.backwardError;
        const bool converging =
            newError < handle.parameters.refineImprovement * error || brokenDown;
        if (!converging && (length *= 2) > std::min(handle.maxRestart, n)) {
            error = newError;
            return ldl::notRefined;
        }
        // A refused candidate leaves its residual in hand: the next cycle corrects x along it.
        if (newError < error || brokenDown) {
            std::copy_n(candidate, n, refinement.x);
            solutionNorm = euclideanNorm(n, refinement.x);
        }
        error = newError;
    }
    return error < tolerance ? ldl::refined : ldl::notRefined;
}

}  // namespace ovrelin
