// The constants of the sparse symmetric solver, each with its reason.
#pragma once

#include <cstdint>

namespace ovrelin {

struct SparseParameters {
    /// sqrt(2^-53): a pivot below it cannot be told from rounding in a matrix scaled near one; it
    /// is replaced by this value with its own sign and refinement repairs the rest.
    double pivotTolerance = 1.0536712127723509e-08;
    /// (1 + sqrt 17) / 8 minimises the growth bound of Bunch and Kaufman's pivoting.
    double bunchKaufmanAlpha = 0.6403882032022076;
    /// A component this large in a sweep means that the next product may overflow.
    double overflowLimit = 1.7976931348623158e+304;
    /// Normwise backward error at which refinement stops. One part in 1e16 of the largest row: rows
    /// that are small beside it may keep a residual that matters to them (see docs/performance.md).
    double refineTolerance = 1e-16;
    /// GMRES restarts with a longer basis unless a cycle brought the error below this share.
    double refineImprovement = 0.3;
    /// 5 * 2^-53: below it a new Krylov vector is rounding noise (happy breakdown).
    double krylovBreakdown = 5.551115123125785e-16;
    /// Panel width of the dense factorisation: three panels of it fit the second-level cache. What
    /// is outside 2, the columns of a pair, to 96 counts as the nearer bound.
    std::int32_t panelWidth = 96;
    [[nodiscard]] constexpr std::int32_t boundedPanelWidth() const {
        return panelWidth < 2 ? 2 : panelWidth > 96 ? 96 : panelWidth;
    }
    /// A vertex is dense when taking it out lowers the mean degree avg of m vertices by at least
    /// this times ln(avg) / m. Lower values order faster, higher ones leave less fill: with 40,
    /// rows of some thirty entries go to the end, which on linear programs costs 4 % of fill in the
    /// mean and a multiple on some; with 80 the mean is that of no rule at all.
    double densityGain = 80.0;
    /// Amalgamation merges a supernode with its parent whatever the zeros while both together have
    /// fewer columns than this. The next two bounds part small, medium and large ones, for which
    /// zeros must be few; the shares are of the entries below the diagonal.
    std::int32_t mergeAlwaysBelow = 5;
    std::int32_t mergeSmallBelow = 17;
    std::int32_t mergeMediumBelow = 49;
    /// Zeros that a small merge may add whatever their share.
    std::int32_t mergeFreeZeros = 127;
    double mergeMediumShare = 0.1;
    double mergeLargeShare = 0.05;
    /// A subtree is taken whole by one thread when it is no more than this share of a thread's part
    /// of all subtrees: then no thread waits long for the last one.
    double subtreeShare = 0.25;
    /// Subtrees that weigh this little in operations are never worth taking apart.
    double smallestSubtree = 2e6;
    /// Above 0: that many threads on tiles whatever the tables say, tiles of that edge. For tests
    /// and measurements.
    std::int32_t forcedThreads = 0;
    std::int32_t forcedTileSize = 0;
};

/// What the analysis decides by where nobody chooses: who factors what, and in which pieces. Costs
/// are in operations at full speed.
struct SparsePlanning {
    /// max(16, this times sqrt(n)): the degree of a dense vertex, for the classes without a rule of
    /// their own.
    double denseRootFactor = 10.0;

    // ---- threads ----
    std::int32_t mostThreads = 32;
    /// Operations per entry up to which one thread does without tiles: the fronts are too narrow
    /// for them to be any better in the cache.
    double sequentialRatio = 8900;
    /// A leading block of this share is almost the whole matrix: a diagonal with few rows below.
    double widestFirstBlock = 0.995;
    double unknownFirstBlock = 0.5;
    /// The matrix class of grids has thread tables of its own.
    std::int32_t gridClass = 3;

    // ---- tiles ----
    /// The second amalgamation is left out where the first one kept no more than this share of the
    /// supernodes; a run that it merges spans fewer supernodes and columns than these.
    double wellAmalgamated = 0.9;
    std::int32_t runSupernodes = 32;
    std::int32_t runColumns = 32;
    /// Threads for which one column of tiles is cut into rows once more. Two threads that change
    /// neighbouring rows of a column at the same time take the cache lines there from each other,
    /// by what the hardware reads ahead, too: each has block columns to itself as long as there are
    /// enough.
    std::int32_t threadsPerTile = 2;
    /// Tile locks for each thread: two threads seldom meet in the same group by chance.
    std::int32_t locksPerThread = 32;

    /// What the fronts of a subtree send to the top is summed up at its root where each entry of
    /// the sum takes at least this many on average, while all sums together are no larger than this
    /// share of the factor.
    double leastMeeting = 1.5;
    double mostSums = 0.4;

    // ---- costs ----
    /// Narrow fronts run slower: by this over their columns. Each entry of a front is cleared,
    /// assembled and scattered to once, and each front and each update has its bookkeeping.
    double narrowSlowdown = 8;
    double entryCost = 40;
    double frontCost = 6000;
    double updateCost = 12000;
    /// Subtrees are dealt out on trial after every step while they are this few; a dealing this
    /// close to even is as good as any.
    std::int32_t trialItems = 64;
    double evenEnough = 1.03;
    /// The top of the tree is shared when that is expected to take less than this part of the time
    /// of whole trees, one thread each.
    double leastGain = 0.9;
};

inline constexpr SparsePlanning sparsePlanning{};

}  // namespace ovrelin
