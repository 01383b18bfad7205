// The constants of nested dissection, each with its reason.
#pragma once

#include <cstdint>

namespace ovrelin {

/// How a bisection goes on where the first separator found has up to the share `upTo` of a coarse
/// graph: the penalty of imbalance that leads the second try, the one by which the better of the
/// two is chosen, and the one on the way up from there.
struct NdPenalties {
    double upTo, second, choice, refinement;
};

struct NdParameters {
    /// Below it a separator costs more than it saves and a minimum degree order is better.
    std::int32_t leafBelow = 200;

    /// A separator hardly ever saves fill at vertices of so low a degree: eliminating them first
    /// halves the time on average, and orders bands and chains as well as minimum degree does. From
    /// 7 on linear programs get worse, where that many rows meet in a column.
    std::int32_t reduceUpTo = 6;

    // ---- coarsening ----
    /// The coarsest graph has about one vertex for this many, within the two bounds: small enough
    /// for many tries, large enough to show the shape of the graph.
    std::int32_t coarsestShare = 32;
    std::int32_t coarsestLeast = 40;
    std::int32_t coarsestMost = 100;
    /// How far above the average of the coarsest graph a vertex may weigh; heavier ones could not
    /// be balanced.
    double vertexWeightSlack = 1.6;
    /// A level that keeps more than this share of the vertices is not worth its time.
    double leastShrink = 0.9;
    /// From this mean degree on a graph that does not shrink is dissected all the same: minimum
    /// fill would be slow on it.
    std::int32_t stallDegree = 200;
    /// Later matchings visit vertices by degree; those above this share of the mean are equal.
    double degreeCapShare = 0.7;
    /// Below this coarse size, or above the mean degree, a table with one entry a vertex is faster
    /// than hashing; hashing keeps the table in the first-level cache.
    std::int32_t directTableBelow = 16376;
    std::int32_t directTableDegree = 15;
    std::int32_t hashSlots = 2048;
    /// An edge list this long which fills less than the share of its block gives the rest back.
    std::int32_t shrinkFrom = 100001;
    double shrinkShare = 0.7;

    // ---- bisection of the coarsest graph ----
    std::int32_t numTries = 3;
    std::int32_t numTriesLarge = 8;  // where coarsening ended above its goal
    std::int32_t edgePasses = 10;
    /// Moves without a new best after which a pass of edge refinement ends: n / 100 within these.
    std::int32_t edgeStallLeast = 15;
    std::int32_t edgeStallMost = 100;

    // ---- separators ----
    /// A separator of weight s whose sides differ by the share d of the whole counts as
    /// s (1 + this d^2): a small separator that cuts off little leaves the work to the next ones.
    double imbalancePenalty = 2.0;
    /// Thin: the graph has a shape, and the smaller of two separators will be the better one,
    /// balanced or not. Middling: separators shrink more slowly than the pieces do, and balance
    /// saves levels. Thick: the coarse graph shows nothing of the kind.
    NdPenalties penalties[3] = {{0.1, 0.0, 0.5, 0.3}, {0.3, 10.0, 4.0, 4.0}, {1.0, 5.0, 2.0, 2.0}};
    /// A separator that cuts off less than this share of its own weight is of no use: the piece is
    /// ordered whole, by minimum fill.
    double leastCut = 0.1;
    /// Two bisections of the level that has this share of the vertices, and two separators tried on
    /// the coarsest graph of each, from this number of vertices of the finest graph on.
    std::int32_t middleShare = 30;
    std::int32_t twiceFrom = 600;
    std::int32_t firstSeparatorPasses = 6;
    std::int32_t separatorPasses = 8;
    /// Moves without a new best after which a pass ends: this, or the multiple of the separator. In
    /// small pieces the longer search finds nothing more.
    std::int32_t separatorStallMost = 400;
    std::int32_t separatorStallFactor = 5;
    /// A pass ends as well once the separator costs this many times the best: in a graph of high
    /// degree a hundred bad moves pull in more than as many good ones would give back.
    double hopelessCost = 1.5;
    std::int32_t smallStallMost = 60;
    std::int32_t smallStallFactor = 2;
    std::int32_t smallBelow = 600;

    // ---- queues ----
    /// Gain buckets serve at most this gain, and only pay from this number of vertices on.
    std::int32_t bucketGain = 500;
    std::int32_t bucketVertices = 500;
};

inline constexpr NdParameters ndParameters{};

}  // namespace ovrelin
