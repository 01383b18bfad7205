// Nested dissection: what its order and its clusters must be, and how it ends early.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "sparse/order/dissection/nd_order.hpp"
#include "sparse/order/dissection/nd_random.hpp"
#include "support/analysis_fixture.hpp"
#include "support/dense_symbolic.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

struct Dissection {
    int code = -1;
    std::vector<std::int32_t> order, inverse, cluster;
    std::int32_t numCluster = 0, numDense = 0;
};

Dissection dissect(MemoryPool* pool, const TestGraph& graph, NdControl control = {},
                   const std::vector<std::int32_t>& weight = {}) {
    const auto n = static_cast<std::size_t>(graph.n());
    Dissection out;
    out.order.assign(n, -1);
    out.inverse.assign(n, -1);
    out.cluster.assign(n, -1);
    control.order = out.order.data();
    control.inverseOrder = out.inverse.data();
    control.clusterOf = out.cluster.data();
    const NdGraphView view{graph.n(), graph.begin.data(), graph.adj.data(),
                           weight.empty() ? nullptr : weight.data()};
    out.code = ndOrder(pool, control, view);
    out.numCluster = control.numCluster;
    out.numDense = control.numDense;
    return out;
}

Dissection dissect(const TestGraph& graph, NdControl control = {},
                   const std::vector<std::int32_t>& weight = {}) {
    TestPool pool;
    Dissection out = dissect(pool.get(), graph, control, weight);
    EXPECT_EQ(pool.numLive(), 0);
    return out;
}

void expectPermutation(const Dissection& d) {
    const auto n = static_cast<std::int32_t>(d.order.size());
    EXPECT_EQ(checkPermutation(n, d.order.data(), d.inverse.data()), "");
}

// The components of the vertices that `keep` takes.
template <class Keep>
std::vector<std::vector<std::int32_t>> components(const TestGraph& graph,
                                                  const std::vector<std::int32_t>& among,
                                                  Keep keep) {
    std::set<std::int32_t> left;
    for (const std::int32_t v : among)
        if (keep(v)) left.insert(v);
    std::vector<std::vector<std::int32_t>> parts;
    while (!left.empty()) {
        std::vector<std::int32_t> part{*left.begin()};
        left.erase(left.begin());
        for (std::size_t k = 0; k < part.size(); ++k)
            graph.forNeighbours(part[k], [&](std::int32_t u) {
                if (left.erase(u) > 0) part.push_back(u);
            });
        parts.push_back(part);
    }
    return parts;
}

// Takes the highest cluster out of a connected piece, and goes on with what falls apart: no cluster
// may reach from one part into another, or the order would not be one of separators.
void expectSeparators(const TestGraph& graph, const Dissection& d,
                      const std::vector<std::int32_t>& piece) {
    std::int32_t top = -1;
    for (const std::int32_t v : piece) top = std::max(top, d.cluster[static_cast<std::size_t>(v)]);
    const auto below = [&](std::int32_t v) { return d.cluster[static_cast<std::size_t>(v)] < top; };
    const auto parts = components(graph, piece, below);
    std::set<std::int32_t> seen{top};
    for (const auto& part : parts) {
        std::set<std::int32_t> here;
        for (const std::int32_t v : part) here.insert(d.cluster[static_cast<std::size_t>(v)]);
        for (const std::int32_t c : here) EXPECT_TRUE(seen.insert(c).second) << "cluster " << c;
        expectSeparators(graph, d, part);
    }
}

std::vector<std::int32_t> allVertices(const TestGraph& graph) {
    std::vector<std::int32_t> all(static_cast<std::size_t>(graph.n()));
    for (std::size_t k = 0; k < all.size(); ++k) all[k] = static_cast<std::int32_t>(k);
    return all;
}

TEST(Dissection, OrdersEveryGraph) {
    std::mt19937 random(31);
    for (int trial = 0; trial < 300; ++trial) {
        const TestGraph graph(trial % 3 == 0 ? randomGraph(random, 900, 1 + trial % 7)
                                             : randomPattern(random, 260));
        NdControl control;
        control.leafMode = trial % 2;
        control.balanceFactor = 1.0 + 0.1 * (trial % 6);
        std::vector<std::int32_t> weight;
        for (std::int32_t v = 0; v < graph.n(); ++v) weight.push_back(1 + (v + trial) % 2);
        const Dissection d =
            dissect(graph, control, trial % 4 == 0 ? weight : std::vector<std::int32_t>{});
        ASSERT_TRUE(d.code == ldl::ok || d.code == ndNoCoarsening) << "trial " << trial;
        if (d.code == ldl::ok) expectPermutation(d);
        if (HasFailure()) FAIL() << "trial " << trial;
    }
}

TEST(Dissection, SeparatorsSeparateAndClustersAreSmall) {
    const TestPattern patterns[] = {gridPattern(40, 30), cubePattern(10, 9, 8),
                                    gridPattern(300, 5)};
    for (const TestPattern& pattern : patterns) {
        const TestGraph graph(pattern);
        for (const int mode : {0, 1, 2, 3}) {
            NdControl control;
            control.leafMode = mode % 2;
            const bool whole = mode < 2;
            if (whole) control.reduceUpTo = -1;
            const Dissection d = dissect(graph, control);
            ASSERT_EQ(d.code, ldl::ok);
            expectPermutation(d);
            expectSeparators(graph, d, allVertices(graph));
            std::vector<int> size(static_cast<std::size_t>(d.numCluster));
            for (std::size_t k = 0; k < d.order.size(); ++k) {
                const std::int32_t c = d.cluster[static_cast<std::size_t>(d.order[k])];
                ++size[static_cast<std::size_t>(c)];
                // Ascending along the order, so that each is one run of it.
                if (k > 0) {
                    ASSERT_GE(c, d.cluster[static_cast<std::size_t>(d.order[k - 1])]);
                }
            }
            for (const int count : size) {
                EXPECT_GT(count, 0);
                // What was eliminated ahead comes in addition.
                if (whole) {
                    EXPECT_LT(count, 200);
                }
            }
        }
    }
}

TEST(Dissection, TopSeparatorKeepsTheBalance) {
    for (const double factor : {1.1, 1.4}) {
        const TestGraph graph(gridPattern(60, 40));
        NdControl control;
        control.balanceFactor = factor;
        const Dissection d = dissect(graph, control);
        ASSERT_EQ(d.code, ldl::ok);
        const auto parts = components(graph, allVertices(graph), [&](std::int32_t v) {
            return d.cluster[static_cast<std::size_t>(v)] < d.numCluster - 1;
        });
        ASSERT_GE(parts.size(), 2U);
        for (const auto& part : parts)
            EXPECT_LE(static_cast<double>(part.size()), factor * 0.5 * 2400 + 1);
    }
}

TEST(Dissection, SeedDecides) {
    const TestGraph graph(gridPattern(45, 45));
    NdControl control;
    const Dissection first = dissect(graph, control);
    EXPECT_EQ(first.order, dissect(graph, control).order);
    control.seed = 17;
    EXPECT_NE(first.order, dissect(graph, control).order);
}

// The bound of the leaf: 199 vertices stay together, 200 are bisected.
TEST(Dissection, LeavesEndAt199) {
    for (const std::int32_t n : {199, 200}) {
        NdControl control;
        control.leafMode = 1;
        control.reduceUpTo = -1;
        const Dissection d = dissect(TestGraph(tridiagonalPattern(n)), control);
        ASSERT_EQ(d.code, ldl::ok);
        expectPermutation(d);
        if (n == 199) {
            EXPECT_EQ(d.numCluster, 1);
        } else {
            EXPECT_GE(d.numCluster, 3);
        }
    }
}

TEST(Dissection, SeparatePartsAndIsolatedVertices) {
    std::vector<Edge> edges;
    constexpr std::int32_t copies = 5, side = 18;
    for (std::int32_t c = 0; c < copies; ++c)
        for (std::int32_t y = 0; y < side; ++y)
            for (std::int32_t x = 0; x < side; ++x) {
                const std::int32_t v = (c * side + y) * side + x;
                if (x + 1 < side) edges.emplace_back(v, v + 1);
                if (y + 1 < side) edges.emplace_back(v, v + side);
            }
    const std::int32_t n = copies * side * side + 40;
    const TestPattern pattern = patternFromEdges("parts", n, edges);
    const TestGraph graph(pattern);
    const Dissection d = dissect(graph);
    ASSERT_EQ(d.code, ldl::ok);
    expectPermutation(d);
    // Nothing but the parts' own fill.
    const auto alone = dissect(TestGraph(gridPattern(side, side)));
    const auto fill = [](const TestPattern& p, const Dissection& e) {
        return static_cast<double>(DenseFactorPattern(p, e.order.data()).numEntries());
    };
    EXPECT_LE(fill(pattern, d), copies * 1.1 * fill(gridPattern(side, side), alone) + 40);
}

TEST(Dissection, DenseVerticesComeLastInReverse) {
    const std::int32_t width = 30, n = width * width;
    std::vector<Edge> edges;
    const TestGraph grid(gridPattern(width, width));
    for (std::int32_t v = 0; v < n; ++v) {
        grid.forNeighbours(v, [&](std::int32_t u) {
            if (u > v) edges.emplace_back(v + 2, u + 2);
        });
        edges.emplace_back(0, v + 2);
        edges.emplace_back(1, v + 2);
    }
    const TestGraph graph(patternFromEdges("two hubs", n + 2, edges));
    const Dissection d = dissect(graph);
    ASSERT_EQ(d.code, ldl::ok);
    expectPermutation(d);
    EXPECT_EQ(d.numDense, 2);
    EXPECT_EQ(d.order[static_cast<std::size_t>(n) + 1], 0);
    EXPECT_EQ(d.order[static_cast<std::size_t>(n)], 1);
    EXPECT_EQ(d.cluster[0], d.numCluster - 1);
}

// A star has one pair to match; a complete bipartite graph of unequal sides is dense enough to go
// on.
TEST(Dissection, GraphsThatDoNotShrink) {
    std::vector<Edge> star, bipartite;
    for (std::int32_t v = 1; v < 400; ++v) star.emplace_back(0, v);
    NdControl control;
    control.denseFactor = 1e9;
    control.reduceUpTo = -1;
    EXPECT_EQ(dissect(TestGraph(patternFromEdges("star", 400, star)), control).code,
              ndNoCoarsening);
    for (std::int32_t u = 0; u < 110; ++u)
        for (std::int32_t v = 110; v < 3000; ++v) bipartite.emplace_back(u, v);
    const Dissection d = dissect(TestGraph(patternFromEdges("bipartite", 3000, bipartite)));
    EXPECT_EQ(d.code, ldl::ok);
    expectPermutation(d);
}

TEST(Dissection, UnsymmetricListsAreAMismatch) {
    // The dense vertex names all others, which do not name it: the edges left are more than its
    // degree allows.
    std::vector<std::int32_t> begin{0}, adj;
    constexpr std::int32_t n = 300;
    for (std::int32_t v = 0; v < n; ++v) {
        if (v == 0)
            for (std::int32_t u = 1; u < n; ++u) adj.push_back(u);
        else
            adj.push_back(v == n - 1 ? 1 : v + 1);
        begin.push_back(static_cast<std::int32_t>(adj.size()));
    }
    EXPECT_EQ(dissect(TestGraph(n, begin, adj)).code, ldl::mismatch);
}

// Where separators are small, dissection fills less than minimum degree from some size on.
TEST(Dissection, FillsLessThanMinimumDegreeOnLargeGrids) {
    for (const TestPattern& pattern : {gridPattern(150, 150), cubePattern(20, 20, 20)}) {
        double fill[3] = {};
        for (const std::int32_t method : {0, 2}) {
            Analysis analysis;
            analysis.handle.orderingMethod = method;
            ASSERT_EQ(analysis.run(pattern), ldl::ok);
            fill[method] = analysis.symbolic->numLowerEntries;
        }
        EXPECT_LT(fill[2], 0.9 * fill[0]) << pattern.name;
    }
}

TEST(Dissection, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    const TestGraph graph(gridPattern(30, 24));
    TestPool pool;
    for (const std::int32_t leafMode : {0, 1}) {
        NdControl control;
        control.leafMode = leafMode;
        pool.failRequest(-1);
        ASSERT_EQ(dissect(pool.get(), graph, control).code, ldl::ok);
        const std::int64_t numRequests = pool.numRequests();
        for (std::int64_t k = 0; k < numRequests; ++k) {
            pool.failRequest(k);
            EXPECT_EQ(dissect(pool.get(), graph, control).code, ldl::noMemory) << k;
            EXPECT_EQ(pool.numLive(), 0);
        }
    }
}

// A flag raised while the k-th block is asked for is seen at the next level.
TEST(Dissection, StopFlagEndsItAtEveryLevel) {
    const TestGraph graph(gridPattern(40, 40));
    TestPool pool;
    pool.failRequest(-1);
    const Dissection whole = dissect(pool.get(), graph);
    ASSERT_EQ(whole.code, ldl::ok);
    const std::int64_t numRequests = pool.numRequests();
    std::int64_t numStopped = 0;
    for (std::int64_t k = 0; k < numRequests; ++k) {
        HostContext context{};
        NdControl control;
        control.context = &context;
        pool.failRequest(-1);
        pool.onRequest(k, [&context] { context.stopFlag = 1; });
        const Dissection d = dissect(pool.get(), graph, control);
        EXPECT_EQ(pool.numLive(), 0);
        numStopped += d.code == ldl::stopped ? 1 : 0;
        if (d.code != ldl::stopped) {
            EXPECT_EQ(d.order, whole.order);
        }
    }
    pool.onRequest(-1, {});
    // Only behind the last bisection there is nothing left to stop.
    EXPECT_GT(numStopped, numRequests * 9 / 10);
}

TEST(NdRandom, FollowsItsRecurrence) {
    NdRandom random(4321);
    std::uint64_t state = 4321;
    const auto step = [&state] { state = state * 397204094 % 2147483647; };
    step();
    for (int k = 0; k < 1000; ++k) {
        step();
        EXPECT_EQ(random.below(2000000000), static_cast<std::int32_t>(state * 2000000000 >> 31));
    }
}

}  // namespace
