// The elimination under constraints, and the pass after dissection that uses it.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "sparse/order/minimum_degree.hpp"
#include "support/analysis_fixture.hpp"
#include "support/dense_symbolic.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

constexpr std::int32_t maxDegree = std::numeric_limits<std::int32_t>::max();

std::vector<std::int32_t> orderByClusters(const TestPattern& pattern, EliminationScore score,
                                          const std::vector<std::int32_t>& cluster,
                                          std::int32_t numCluster,
                                          std::int32_t denseDegree = maxDegree) {
    TestGraph graph(pattern);
    const std::int32_t n = graph.n();
    const std::int64_t room = minimumDegreeCapacity(n, static_cast<std::int64_t>(graph.adj.size()));
    graph.adj.resize(static_cast<std::size_t>(room));
    MinimumDegreeOptions options{score, {false, denseDegree, 0.0}, false};
    options.cluster = cluster.data();
    options.numCluster = numCluster;
    std::vector<std::byte> memory(minimumDegreeScratchBytes(n));
    std::vector<std::int32_t> order(static_cast<std::size_t>(n), -1);
    (void)minimumDegree({n, graph.begin.data(), graph.adj.data(), room}, options, order.data(),
                        Scratch(memory.data(), memory.size()));
    return order;
}

// A postorder of an elimination that respects the turns: a vertex is never above, in the tree of L,
// one whose turn comes later.
TEST(Clusters, TurnsAreRespectedInTheTree) {
    std::mt19937 random(41);
    for (int trial = 0; trial < 1500; ++trial) {
        const TestPattern pattern = randomPattern(random, trial % 10 == 0 ? 100 : 25);
        const auto n = static_cast<std::size_t>(pattern.n);
        const std::int32_t numCluster = std::min(1 + trial % 6, pattern.n);
        if (numCluster == 0) continue;
        std::uniform_int_distribution<std::int32_t> any(0, numCluster - 1);
        std::vector<std::int32_t> cluster(n);
        for (std::int32_t& c : cluster) c = any(random);
        const std::int32_t denseDegree = trial % 5 == 0 || numCluster == 1 ? maxDegree : 4;
        if (denseDegree != maxDegree) {
            const TestGraph graph(pattern);
            for (std::size_t i = 0; i < n; ++i)
                if (graph.begin[i + 1] - graph.begin[i] >= denseDegree)
                    cluster[i] = numCluster - 1;
                else
                    cluster[i] = std::max(cluster[i] - 1, 0);
        }
        for (const EliminationScore score : {EliminationScore::degree, EliminationScore::fill}) {
            const auto order = orderByClusters(pattern, score, cluster, numCluster, denseDegree);
            std::vector<std::int32_t> sorted = order;
            std::sort(sorted.begin(), sorted.end());
            for (std::size_t k = 0; k < n; ++k)
                ASSERT_EQ(sorted[k], static_cast<std::int32_t>(k)) << "trial " << trial;
            const DenseFactorPattern factor(pattern, order.data());
            for (std::int32_t j = 0; j < pattern.n; ++j) {
                const std::int32_t parent = factor.parent(j);
                if (parent < 0) continue;
                const auto own = static_cast<std::size_t>(order[static_cast<std::size_t>(j)]);
                const auto above =
                    static_cast<std::size_t>(order[static_cast<std::size_t>(parent)]);
                ASSERT_LE(cluster[own], cluster[above]) << "trial " << trial;
            }
        }
    }
}

// One vertex a cluster leaves no choice.
TEST(Clusters, SingleVerticesFixTheFill) {
    std::mt19937 random(42);
    for (int trial = 0; trial < 200; ++trial) {
        const TestPattern pattern = randomPattern(random, 40);
        std::vector<std::int32_t> wanted(static_cast<std::size_t>(pattern.n));
        for (std::size_t k = 0; k < wanted.size(); ++k) wanted[k] = static_cast<std::int32_t>(k);
        std::shuffle(wanted.begin(), wanted.end(), random);
        std::vector<std::int32_t> cluster(wanted.size());
        for (std::size_t k = 0; k < wanted.size(); ++k)
            cluster[static_cast<std::size_t>(wanted[k])] = static_cast<std::int32_t>(k);
        const auto order = orderByClusters(pattern, EliminationScore::fill, cluster, pattern.n);
        EXPECT_EQ(DenseFactorPattern(pattern, order.data()).numEntries(),
                  DenseFactorPattern(pattern, wanted.data()).numEntries());
    }
}

TEST(PostPass, KeepsTheAnalysisSoundAndTheFillLow) {
    const TestPattern patterns[] = {gridPattern(30, 30), cubePattern(9, 9, 9), gridPattern(120, 6)};
    for (const TestPattern& pattern : patterns) {
        double fill[2] = {};
        for (const std::int32_t postPass : {0, 1}) {
            Analysis analysis;
            analysis.handle.orderingMethod = 2;
            analysis.handle.orderingPostPass = postPass;
            ASSERT_EQ(analysis.run(pattern), ldl::ok);
            EXPECT_EQ(analysis.handle.orderingMethod, ldl::methodDissection);
            EXPECT_EQ(checkAnalysis(pattern, *analysis.symbolic, *analysis.numeric), "");
            fill[postPass] = analysis.symbolic->numLowerEntries;
        }
        EXPECT_LT(fill[1], 1.08 * fill[0]) << pattern.name;
    }
}

// Ten rows and many columns: no matching makes the graph smaller.
TEST(Fallback, AGraphThatDoesNotShrinkIsOrderedByMinimumFill) {
    std::vector<Edge> edges;
    for (std::int32_t h = 0; h < 10; ++h)
        for (std::int32_t v = 10; v < 400; ++v) edges.emplace_back(h, v);
    Analysis analysis;
    analysis.handle.orderingMethod = 2;
    ASSERT_EQ(analysis.run(patternFromEdges("few rows", 400, edges)), ldl::ok);
    EXPECT_EQ(analysis.handle.orderingMethod, ldl::methodMinFill);
    EXPECT_EQ(analysis.symbolic->numLowerEntries, 390 * 10 + 45);
}

}  // namespace
