// One run of the eigenvalue iteration: the search space with what is decided about its pairs.
#pragma once

#include <cstdint>

#include "eigen/eigen_operator.hpp"
#include "eigen/eigen_sizes.hpp"
#include "eigen/search_space.hpp"
#include "frame/parameters/eigen_parameters.hpp"

namespace ovrelin {

struct EigenRun {
    const EigenParameters* parameters;
    EigenOperator matrix;
    EigenSizes sizes;
    SearchSpace space;
    std::int64_t maxMatVec;
    std::int32_t numConverged;  // pairs 0 .. numConverged - 1 are locked
    std::int32_t round;         // outer steps done
    std::int32_t stalled;       // rounds without a good fall of the target's residual
    double lastResidual;
    double targetResidual;  // of the pair in work
    bool probing;           // all wanted pairs are locked; looking for missed copies
    bool complete;          // nothing is left to do
};

/// Number of the pair that the iteration works on; it may not exist yet in a small space.
inline std::int32_t targetPair(const EigenRun& run) {
    return run.numConverged;
}

/// Pairs to lock: the wanted ones and, while probing, the next one above them.
inline std::int32_t goal(const EigenRun& run) {
    return run.sizes.numWanted + (run.probing ? 1 : 0);
}

/// Tests the pairs from the target on and locks those that have converged. Leaves x and r of the
/// first one that has not in scratch[0 .. n) and scratch[n .. 2n).
void lockConverged(EigenRun& run);

/// Gives up the locks of pairs whose Ritz value has fallen since: a lower eigenvalue has shown.
void unlockMoved(EigenRun& run);

void dropLocks(EigenRun& run, std::int32_t from);

/// True when each accepted pair, recomputed from the columns of a rotated basis, has the residual
/// that it was accepted for.
bool auditPasses(EigenRun& run);

}  // namespace ovrelin
