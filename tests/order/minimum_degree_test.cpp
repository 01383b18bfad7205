// The graph, the dense rows and the engine of minimum degree and minimum fill.
#include "sparse/order/minimum_degree.hpp"

#include <gtest/gtest.h>

#include <set>

#include "support/dense_symbolic.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

constexpr DenseRule byDensity{true, 0, 40.0};
constexpr DenseRule keepAll{false, 1 << 30, 0.0};
constexpr EliminationScore bothScores[] = {EliminationScore::degree, EliminationScore::fill};

/// `elbow` is the room beyond the least.
Indices orderBy(const TestPattern& pattern, const MinimumDegreeOptions& options,
                std::int64_t elbow = 0, std::int32_t* numDense = nullptr) {
    TestGraph graph(pattern);
    const auto numEnds = static_cast<std::int64_t>(graph.adj.size());
    const std::int64_t room = minimumDegreeCapacity(pattern.n, numEnds) + elbow;
    graph.adj.resize(static_cast<std::size_t>(room));
    Indices order(pattern.n, -1);
    const std::int32_t dense =
        minimumDegree({pattern.n, graph.begin.data(), graph.adj.data(), room}, options,
                      order.data(), ScratchBlock(minimumDegreeScratchBytes(pattern.n)));
    if (numDense != nullptr) *numDense = dense;
    EXPECT_TRUE(isPermutation(order));
    return order;
}

TEST(NodeGraph, DropsDiagonalAndRepetitions) {
    const TestGraph graph({"repeated", 3, {0, 4, 7, 8}, {2, 1, 1, 0, 0, 1, 0, 0}});
    EXPECT_EQ(graph.begin, Indices({0, 2, 3, 4}));
    EXPECT_EQ(graph.adj, Indices({1, 2, 0, 0}));
}

// Copies of a path of which every vertex is tied to some hubs; the hubs come first.
TestPattern hubPattern(std::int32_t numCopies, std::int32_t numHubs, std::int32_t length) {
    std::vector<Edge> edges;
    for (std::int32_t c = 0; c < numCopies; ++c) {
        const std::int32_t path = numCopies * numHubs + c * length;
        for (std::int32_t i = path; i < path + length; ++i) {
            if (i > path) edges.emplace_back(i, i - 1);
            for (std::int32_t h = 0; h < numHubs; ++h) edges.emplace_back(c * numHubs + h, i);
        }
    }
    return patternFromEdges("hubs", numCopies * (numHubs + length), edges);
}

// The hubs stand out and come last; those of separate copies have nothing to do with each other.
TEST(DenseRows, DensityRuleTakesTheFewThatStandOut) {
    constexpr std::int32_t length = 150;
    for (const std::int32_t numCopies : {1, 3})
        for (const std::int32_t numHubs : {0, 1, 5})
            for (const EliminationScore score : bothScores) {
                const TestPattern pattern = hubPattern(numCopies, numHubs, length);
                std::int32_t numDense = -1;
                const Indices order = orderBy(pattern, {score, byDensity, false}, 0, &numDense);
                EXPECT_EQ(numDense, numCopies * numHubs);
                for (std::int32_t k = pattern.n - numDense; k < pattern.n; ++k)
                    EXPECT_LT(order[k], numDense);
                EXPECT_EQ(fillOf(pattern, order), numCopies * (2 * length - 1 + length * numHubs +
                                                               numHubs * (numHubs + 1) / 2));
            }
}

// The hubs of five paths, and one in their middle: eliminated before the others it would tie them.
TEST(DenseRows, TheDenseOnesAreOrderedToo) {
    std::vector<Edge> edges;
    for (std::int32_t i = 6; i < 756; ++i) {
        edges.emplace_back(0, i);
        edges.emplace_back(1 + (i - 6) / 150, i);
        if (i % 150 != 6) edges.emplace_back(i, i - 1);
    }
    const TestPattern pattern = patternFromEdges("star of hubs", 756, edges);
    for (const EliminationScore score : bothScores)
        EXPECT_EQ(fillOf(pattern, orderBy(pattern, {score, byDensity, false})),
                  6 + 750 + static_cast<std::int64_t>(edges.size()) + 5);
}

TEST(DenseRows, ThresholdIsAFloorAndIsCapped) {
    EXPECT_EQ(denseThreshold(1, 10.0), 1);
    EXPECT_EQ(denseThreshold(20, 1.0), 16);
    EXPECT_EQ(denseThreshold(100, 10.0), 100);
    EXPECT_EQ(denseThreshold(10000, 10.0), 1000);
    Indices begin = {0, 3, 3, 7, 9, 11}, dense(5);
    NodeGraph graph{5, begin.data(), nullptr, 0};
    ASSERT_EQ(
        findDenseRows(graph, {false, 3, 0.0}, dense.data(), ScratchBlock(denseRowsScratchBytes(5))),
        2);
    EXPECT_EQ(dense[0], 0);
    EXPECT_EQ(dense[1], 2);
}

// With clusters the order is a postorder of an elimination that respects their turns: a vertex is
// never above, in the tree of L, one whose turn comes later.
void expectTurns(const TestPattern& pattern, const Indices& order, const Indices& cluster) {
    const DenseFactorPattern factor(pattern, order.data());
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        const std::int32_t parent = factor.parent(j);
        ASSERT_TRUE(parent < 0 || cluster[order[j]] <= cluster[order[parent]]) << j;
    }
}

TEST(MinimumDegree, OrdersEveryGraphWhateverTheElbowRoom) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 1500; ++trial) {
        SCOPED_TRACE(trial);
        const TestPattern pattern = randomPattern(random, trial % 10 == 0 ? 120 : 30);
        Indices cluster(pattern.n);
        const std::int32_t numCluster = std::min(1 + trial % 6, pattern.n);
        for (std::int32_t& c : cluster) c = static_cast<std::int32_t>(random() % 6) % numCluster;
        // Dense vertices have the last turn.
        const bool denseLast = trial % 5 > 0 && numCluster > 1;
        const TestGraph graph(pattern);
        for (std::int32_t v = 0; v < pattern.n && denseLast; ++v) {
            const bool isDense = graph.begin[v + 1] - graph.begin[v] >= 4;
            cluster[v] = isDense ? numCluster - 1 : std::max(cluster[v] - 1, 0);
        }
        for (const EliminationScore score : bothScores) {
            MinimumDegreeOptions options{score, keepAll, trial % 2 == 0};
            for (const DenseRule& dense :
                 {keepAll, byDensity, DenseRule{false, 8, 0.0}, DenseRule{false, 3, 0.0}}) {
                options.dense = dense;
                // Compacting the lists must not change what they say.
                ASSERT_EQ(orderBy(pattern, options), orderBy(pattern, options, 3000));
            }
            if (numCluster == 0) continue;
            options.dense = denseLast ? DenseRule{false, 4, 0.0} : keepAll;
            options.cluster = cluster.data();
            options.numCluster = numCluster;
            expectTurns(pattern, orderBy(pattern, options), cluster);
        }
        if (HasFailure()) return;
    }
}

// One vertex a cluster leaves no choice.
TEST(MinimumDegree, ClustersOfOneVertexFixTheFill) {
    std::mt19937 random(42);
    for (int trial = 0; trial < 200; ++trial) {
        const TestPattern pattern = randomPattern(random, 40);
        const Indices wanted = shuffled(random, pattern.n);
        Indices cluster(pattern.n);
        for (std::int32_t k = 0; k < pattern.n; ++k) cluster[wanted[k]] = k;
        const Indices order =
            orderBy(pattern, {EliminationScore::fill, keepAll, false, cluster.data(), pattern.n});
        EXPECT_EQ(fillOf(pattern, order), fillOf(pattern, wanted)) << trial;
    }
}

TEST(MinimumDegree, TreesAndArrowsGetNoFill) {
    std::mt19937 random(5);
    std::vector<TestPattern> patterns{arrowPattern(50), tridiagonalPattern(60), diagonalPattern(4)};
    for (int k = 0; k < 50; ++k) patterns.push_back(randomTree(random, 80));
    for (const TestPattern& pattern : patterns) {
        std::int64_t numEntries = pattern.n;
        pattern.forEach([&](auto i, auto j) { numEntries += i > j ? 1 : 0; });
        for (const EliminationScore score : bothScores)
            EXPECT_EQ(fillOf(pattern, orderBy(pattern, {score, keepAll, false})), numEntries)
                << pattern.name;
    }
}

// The greedy method that the engine approximates, with exact scores on an explicit graph.
std::int64_t exactGreedyFill(const TestPattern& pattern, EliminationScore score) {
    Array<std::set<std::int32_t>> adjacent(pattern.n);
    pattern.forEach([&](std::int32_t i, std::int32_t j) {
        if (i != j) adjacent[j].insert(i);
    });
    const auto exactScore = [&](std::int32_t v) {
        if (score == EliminationScore::degree) return adjacent[v].size();
        std::size_t missing = 0;
        for (const std::int32_t a : adjacent[v])
            for (const std::int32_t b : adjacent[v])
                missing += a < b && adjacent[a].count(b) == 0 ? 1u : 0u;
        return missing;
    };
    Indices left = countUp(pattern.n);
    std::int64_t entries = 0;
    while (!left.empty()) {
        const auto best = std::min_element(left.begin(), left.end(), [&](auto a, auto b) {
            return exactScore(a) < exactScore(b);
        });
        const std::set<std::int32_t> clique = adjacent[*best];
        entries += 1 + static_cast<std::int64_t>(clique.size());
        for (const std::int32_t a : clique) {
            adjacent[a].insert(clique.begin(), clique.end());
            adjacent[a].erase(a);
            adjacent[a].erase(*best);
        }
        left.erase(best);
    }
    return entries;
}

TEST(MinimumDegree, FillStaysCloseToTheExactGreedyMethod) {
    for (const EliminationScore score : bothScores) {
        std::mt19937 random(23);
        std::int64_t ours = 0, exact = 0;
        std::vector<TestPattern> patterns{gridPattern(9, 9), gridPattern(5, 14)};
        for (int k = 0; k < 30; ++k) patterns.push_back(randomPattern(random, 70));
        for (const TestPattern& pattern : patterns) {
            ours += fillOf(pattern, orderBy(pattern, {score, keepAll, false}));
            exact += exactGreedyFill(pattern, score);
        }
        EXPECT_LE(static_cast<double>(ours), 1.03 * static_cast<double>(exact));
    }
}

}  // namespace
