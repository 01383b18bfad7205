// The constants of the extreme eigenvalue solver and of the convexity test, each with its reason.
#pragma once

#include <cstdint>

namespace ovrelin {

struct EigenParameters {
    /// Off to measure what the convexity test costs.
    bool testConvexity = true;
    /// Q counts as convex down to this eigenvalue: input data is rounded, and the regularised
    /// Newton system still has the right inertia.
    double convexityThreshold = -1e-4;
    /// Orders up to which Q is factorised as a dense matrix: when it is well filled, and always.
    std::int32_t denseOrder = 256;
    std::int32_t denseAlways = 100;
    /// Operations up to which the factorisation of Q keeps the quick ordering: beyond it the time
    /// of a better one comes back.
    double quickOrderOps = 1e10;
    /// Products of the search that only names the eigenvalue of a Q that is refused anyway.
    std::int32_t namingSearch = 2000;

    /// Residual of a converged pair, relative to the largest Ritz value: rounding in the products
    /// leaves about 1e-14.
    double tolerance = 1e-12;
    /// Products allowed for each wanted pair when the caller sets no limit.
    std::int32_t productsPerPair = 10000;

    /// Above this many wanted pairs on a very sparse matrix the basis grows slower with their
    /// number.
    std::int32_t manyPairs = 19;
    double sparseColumn = 4.9;
    double sparseNorm = 1e8;
    /// Beyond this norm the spread is taken to be hard and the basis gets a few more vectors.
    double hardNorm = 1e10;
    /// Share of the basis that a restart keeps, and that the start fills for norms between
    /// longStartNorm and hardNorm, where a longer first Krylov space sees the spread at once.
    double keepShare = 0.4;
    double startShare = 0.75;
    double longStartNorm = 1000.0;
    std::int32_t longStartBasis = 50;

    /// From this largest Ritz value on no pair is tested in the first rounds: the tolerance is wide
    /// before the small end of the spectrum has shown itself.
    double deferScale = 100000.0;
    std::int32_t deferRounds = 15;
    /// Above wideScale a lowest value below wideShare of the scale is held to a narrower tolerance.
    double wideScale = 1e15;
    double wideShare = 1e-5;
    double wideTighten = 1e-5;

    /// A residual that falls by less than this share counts as stalled.
    double stallShare = 0.8;
    /// Stalled rounds after which a pair is taken as it is, for the first and for each later pair.
    std::int32_t stallRounds = 15;
    std::int32_t stallRoundsPerPair = 5;
    /// ... provided that its residual is this small against the scale: a plateau higher up is not
    /// the rounding floor, and taking it would report a wrong value as right.
    double stallTolerance = 1e-11;

    /// The inner iteration aims below the outer tolerance by this divisor; on scales beyond
    /// innerHardScale only at a share of the present residual.
    double innerDivisor = 1.8;
    double innerHardScale = 1e12;
    double innerHardShare = 0.01;
    /// With several wanted pairs an inner solve does not reduce a residual further than this.
    double innerManyShare = 0.1;
    std::int32_t innerLimit = 3000;
    /// Inner steps go on while the estimated eigenvalue residual follows the linear residual within
    /// this factor.
    double innerFollow = 0.9878;
    /// 2^-53 and 2^53 - 4: step lengths beyond them are rounding noise.
    double innerStepMin = 1.110223024625157e-16;
    double innerStepMax = 9007199254740988.0;

    /// Rounds of random vectors before the space counts as exhausted.
    std::int32_t randomRounds = 10;
    /// A wanted pair is false when its residual at the audit exceeds the stored one by this factor.
    double auditFactor = 10.0;
    /// Krylov vectors of the probe for missed copies: enough that its lowest Ritz value has passed
    /// the eigenvalues inside the spectrum before the correction equation, which draws to the
    /// nearest one, takes over.
    std::int32_t probeLength = 15;
};

}  // namespace ovrelin
