#include "eigen/eigen_run.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/blas.hpp"

namespace ovrelin {
namespace {

double pairTolerance(const EigenRun& run, double callerScale) {
    const EigenParameters& parameters = *run.parameters;
    const SearchSpace& space = run.space;
    double tolerance = space.ritzScale * parameters.tolerance;
    const bool wide = run.sizes.numWanted == 1 && callerScale > parameters.wideScale &&
                      space.ritzValue[0] / space.ritzScale < parameters.wideShare;
    if (wide) tolerance *= parameters.wideTighten;
    return tolerance;
}

void lockTarget(EigenRun& run) {
    run.space.lockedValue[run.numConverged] = run.space.ritzValue[run.numConverged];
    ++run.numConverged;
    run.stalled = 0;
    run.lastResidual = run.space.ritzScale;
}

/// Counts rounds in which the target's residual did not fall well.
bool stallsLong(EigenRun& run, double rho) {
    const EigenParameters& parameters = *run.parameters;
    if (rho > parameters.stallShare * run.lastResidual) {
        ++run.stalled;
    } else {
        run.stalled = 0;
        run.lastResidual = rho;
    }
    const std::int32_t limit =
        parameters.stallRounds + parameters.stallRoundsPerPair * run.numConverged;
    return run.stalled >= limit && rho <= parameters.stallTolerance * run.space.ritzScale;
}

}  // namespace

void lockConverged(EigenRun& run) {
    SearchSpace& space = run.space;
    const EigenParameters& parameters = *run.parameters;
    double *x = space.scratch, *r = space.scratch + space.n;
    // The whole space: Rayleigh-Ritz is the eigenproblem itself.
    const bool exact = space.dimension == space.n;
    while (run.numConverged < goal(run) && run.numConverged < space.dimension) {
        const double rho = ritzResidual(space, run.numConverged, x, r);
        space.residualNorm[run.numConverged] = rho;
        run.targetResidual = rho;
        const double callerScale = space.ritzScale * run.matrix.unit;
        const bool deferred =
            callerScale >= parameters.deferScale && run.round < parameters.deferRounds;
        if (!exact) {
            if (deferred) return;
            const bool stalls = stallsLong(run, rho);
            if (!stalls && !(rho <= pairTolerance(run, callerScale))) return;
        }
        lockTarget(run);
    }
}

void dropLocks(EigenRun& run, std::int32_t from) {
    run.numConverged = from;
    run.probing = false;
    run.stalled = 0;
    run.lastResidual = run.space.ritzScale;
}

void unlockMoved(EigenRun& run) {
    const double slack = run.space.ritzScale * run.parameters->tolerance;
    for (std::int32_t pair = 0; pair < run.numConverged; ++pair) {
        if (run.space.ritzValue[pair] < run.space.lockedValue[pair] - slack) {
            dropLocks(run, pair);
            return;
        }
    }
}

bool auditPasses(EigenRun& run) {
    const SearchSpace& space = run.space;
    const std::int32_t stride = 1;
    const double tolerance = space.ritzScale * run.parameters->tolerance;
    for (std::int32_t pair = 0; pair < run.sizes.numWanted; ++pair) {
        const double minusTheta = -space.ritzValue[pair];
        std::copy_n(imageColumn(space, pair), space.n, space.scratch);
        daxpy_(&space.n, &minusTheta, basisColumn(space, pair), &stride, space.scratch, &stride);
        const double rho = dnrm2_(&space.n, space.scratch, &stride);
        const double allowed = run.parameters->auditFactor * space.residualNorm[pair];
        if (!(rho <= std::max(allowed, tolerance))) return false;
    }
    return true;
}

}  // namespace ovrelin
