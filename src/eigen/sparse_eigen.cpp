#include "eigen/sparse_eigen.hpp"

#include <algorithm>
#include <cmath>

#include "eigen/correction.hpp"
#include "eigen/dense_eig.hpp"
#include "eigen/eigen_run.hpp"
#include "frame/host_services.hpp"

namespace ovrelin {
namespace {

// Beyond it 2^exponent or its reciprocal is no normal double.
constexpr int maxExponent = 1000;
constexpr double directResidual = 1.110223024625157e-16;  // 2^-53

struct EigenOutput {
    double* values;
    double* vectors;
    double* residualNorms;
};

// Returns the library code of `expression` from the enclosing function unless it is ok.
#define EIGEN_TRY(expression)                       \
    do {                                            \
        const int eigenCode = (expression);         \
        if (eigenCode != ldl::ok) return eigenCode; \
    } while (false)

int solveOrderOne(const std::int32_t* colBegin, const double* matValue, const EigenOutput& out) {
    out.values[0] = colBegin[1] > colBegin[0] ? matValue[colBegin[0]] : 0.0;
    out.vectors[0] = 1;
    out.residualNorms[0] = 0;
    return ldl::ok;
}

int solveOrderTwo(const std::int32_t* colBegin, const std::int32_t* rowIndex,
                  const double* matValue, const SparseLdl& handle, const EigenOutput& out) {
    double dense[4] = {0, 0, 0, 0}, values[2], work[32];
    for (int j = 0; j < 2; ++j) {
        for (std::int32_t k = colBegin[j]; k < colBegin[j + 1]; ++k)
            dense[2 * j + rowIndex[k]] = matValue[k];
    }
    if (denseEig('V', 2, dense, 2, values, work, 32) != 0) return ldl::eigenDenseFailed;
    const int first = handle.eigenEnd == 'L' ? 1 : 0;
    for (int pair = 0; pair < std::min(handle.eigenCount, 2); ++pair) {
        const int column = first == 0 ? pair : 1 - pair;
        out.values[pair] = values[column];
        std::copy_n(dense + 2 * column, 2, out.vectors + 2 * pair);
        out.residualNorms[pair] = directResidual;
    }
    return ldl::ok;
}

/// A first space of `initBasis` Krylov vectors.
int startRun(EigenRun& run) {
    EIGEN_TRY(expandByKrylov(run.space, run.matrix, run.sizes.initBasis, *run.parameters));
    EIGEN_TRY(rayleighRitz(run.space));
    dropLocks(run, 0);
    return ldl::ok;
}

/// One new direction: the correction of the target pair, whose x and r lockConverged has left in
/// the scratch, or a random vector where the space is too small to hold the target.
int addDirection(EigenRun& run) {
    SearchSpace& space = run.space;
    const EigenParameters& parameters = *run.parameters;
    if (targetPair(run) >= space.dimension) return expandByRandom(space, run.matrix, parameters);
    const std::int64_t left = run.maxMatVec - run.matrix.matVecCount;
    const bool hard = space.ritzScale * run.matrix.unit >= parameters.innerHardScale;
    CorrectionProblem problem{};
    problem.theta = space.ritzValue[targetPair(run)];
    problem.rho = run.targetResidual;
    problem.sigma = problem.theta - problem.rho;
    problem.x = space.scratch;
    problem.linearTarget = hard ? parameters.innerHardShare * problem.rho
                                : space.ritzScale * parameters.tolerance / parameters.innerDivisor;
    problem.eigenTarget = problem.linearTarget;
    if (run.sizes.numWanted > 1) {
        problem.eigenTarget =
            std::max(problem.eigenTarget, parameters.innerManyShare * problem.rho);
    }
    problem.maxSteps = std::max<std::int64_t>(left, parameters.innerLimit);
    const std::ptrdiff_t n = space.n;
    double* r = space.scratch + n;
    const CorrectionWork work{r, r + n, r + 2 * n, imageColumn(space, space.dimension)};
    solveCorrection(run.matrix, problem, work, basisColumn(space, space.dimension), parameters);
    return expandSpace(space, run.matrix, parameters);
}

/// Rayleigh-Ritz on the grown space, after a restart when it is full.
int projectRun(EigenRun& run) {
    SearchSpace& space = run.space;
    EIGEN_TRY(rayleighRitz(space));
    if (space.dimension == space.capacity - 1) {
        const std::int32_t target = std::min(targetPair(run), space.dimension - 1);
        std::copy_n(coordinateColumn(space, target), space.dimension, space.previous);
        space.previousLength = space.dimension;
    }
    unlockMoved(run);
    if (space.dimension < space.capacity || space.dimension == space.n) return ldl::ok;
    restartSpace(space, run.sizes.keepBasis);
    return rayleighRitz(space);
}

/// A Krylov space of one start vector sees a multiple eigenvalue once. When all wanted pairs are
/// in, a new random start, orthogonal to them, is followed until its lowest pair settles above
/// them; a copy that was missed comes out below and drops the locks.
int startProbe(EigenRun& run) {
    SearchSpace& space = run.space;
    rotateSpace(space, run.sizes.numWanted);
    run.probing = true;
    const std::int32_t length = run.sizes.numWanted + run.parameters->probeLength;
    const std::int32_t dimension =
        std::min(std::max(run.sizes.keepBasis, length), space.capacity - 1);
    EIGEN_TRY(expandByKrylov(space, run.matrix, dimension, *run.parameters));
    EIGEN_TRY(rayleighRitz(space));
    unlockMoved(run);
    return ldl::ok;
}

/// All pairs of the present goal are locked. A single pair is done; several are audited, then
/// probed for missed copies.
int reviewLocks(EigenRun& run) {
    SearchSpace& space = run.space;
    if (run.sizes.numWanted == 1) {
        run.complete = true;
        return ldl::ok;
    }
    const bool exact = space.dimension == space.n;
    rotateSpace(space, std::max(run.sizes.keepBasis, run.sizes.numWanted));
    EIGEN_TRY(rayleighRitz(space));
    if (!auditPasses(run)) {
        dropLocks(run, 0);
        EIGEN_TRY(rebuildSpace(space, run.matrix, *run.parameters));
        return rayleighRitz(space);
    }
    run.complete = run.probing || exact;
    return run.complete ? ldl::ok : startProbe(run);
}

int iterate(EigenRun& run) {
    EIGEN_TRY(startRun(run));
    while (run.matrix.matVecCount < run.maxMatVec && !stopAsked(run.matrix)) {
        lockConverged(run);
        if (run.numConverged >= goal(run)) {
            EIGEN_TRY(reviewLocks(run));
            if (run.complete) break;
            continue;
        }
        EIGEN_TRY(addDirection(run));
        EIGEN_TRY(projectRun(run));
        ++run.round;
    }
    return run.matrix.stopped ? ldl::stopped : ldl::ok;
}

/// Copies the wanted pairs out, in the caller's units; also pairs that have not converged.
int deliver(EigenRun& run, const EigenOutput& out) {
    SearchSpace& space = run.space;
    const std::int32_t numWanted = run.sizes.numWanted;
    while (space.dimension < numWanted) {
        EIGEN_TRY(expandByRandom(space, run.matrix, *run.parameters));
    }
    EIGEN_TRY(rayleighRitz(space));
    const double sign = run.matrix.factor < 0 ? -1.0 : 1.0;
    for (std::int32_t pair = 0; pair < numWanted; ++pair) {
        double* vector =
            out.vectors + static_cast<std::size_t>(pair) * static_cast<std::size_t>(space.n);
        const double rho = ritzResidual(space, pair, vector, space.scratch);
        out.values[pair] = sign * run.matrix.unit * space.ritzValue[pair];
        out.residualNorms[pair] = rho * run.matrix.unit;
    }
    return run.complete ? ldl::ok : ldl::eigenLimit;
}

}  // namespace

int sparseLdlEigen(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                   const double* matValue, SparseLdl* handle, MatVec matVec, double* eigenvalues,
                   double* eigenvectors, double* residualNorms, const EigenParameters& parameters,
                   BreakCheck breakCheck) {
    if (handle == nullptr || handle->pool == nullptr) return ldl::badOption;
    handle->eigenProducts = 0;
    if (n <= 0) return ldl::ok;
    const EigenOutput out{eigenvalues, eigenvectors, residualNorms};
    const double matrixNorm = matrixOneNorm(n, colBegin, matValue);
    if (!std::isfinite(matrixNorm)) return ldl::eigenDenseFailed;
    if (n == 1) return solveOrderOne(colBegin, matValue, out);
    if (n == 2) return solveOrderTwo(colBegin, rowIndex, matValue, *handle, out);

    EigenRun run{};
    run.parameters = &parameters;
    run.sizes = eigenSizes(n, colBegin[n], handle->eigenCount, matrixNorm, parameters);
    int exponent = 0;
    std::frexp(matrixNorm, &exponent);
    exponent = std::clamp(exponent, -maxExponent, maxExponent);
    run.matrix.n = n;
    run.matrix.colBegin = colBegin;
    run.matrix.rowIndex = rowIndex;
    run.matrix.matValue = matValue;
    run.matrix.matVec = matVec != nullptr ? matVec : symmetricProduct;
    run.matrix.factor = std::ldexp(handle->eigenEnd == 'L' ? -1.0 : 1.0, -exponent);
    run.matrix.unit = std::ldexp(1.0, exponent);
    run.matrix.context = currentContext();
    run.matrix.breakCheck = breakCheck;
    run.maxMatVec =
        handle->eigenMaxIter > 0
            ? handle->eigenMaxIter
            : static_cast<std::int64_t>(parameters.productsPerPair) * run.sizes.numWanted;
    EIGEN_TRY(makeSearchSpace(run.space, handle->pool, n, run.sizes));
    const int code = iterate(run);
    const int delivered = code == ldl::ok ? deliver(run, out) : code;
    handle->eigenProducts = run.matrix.matVecCount;
    return delivered;
}

}  // namespace ovrelin
