// The graph, the dense rows and the two minimum-degree routes.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>

#include "sparse/order/ldl_order.hpp"
#include "sparse/order/minimum_degree.hpp"
#include "support/dense_symbolic.hpp"
#include "support/sparse_patterns.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

constexpr DenseRule byDensity{true, 0, 40.0};
constexpr DenseRule keepAll{false, 1 << 30, 0.0};

std::vector<std::byte> block(std::size_t bytes) {
    return std::vector<std::byte>(bytes);
}

// Runs one route; `elbow` is the room beyond the least.
std::vector<std::int32_t> orderBy(const TestPattern& pattern, const MinimumDegreeOptions& options,
                                  std::int64_t elbow, std::int32_t* numDense = nullptr) {
    const std::int32_t n = pattern.n;
    std::vector<std::int32_t> begin(static_cast<std::size_t>(n) + 1);
    const std::int64_t room = std::int64_t{n} + pattern.colBegin.back() + elbow;
    std::vector<std::int32_t> adj(static_cast<std::size_t>(room));
    NodeGraph graph{n, begin.data(), adj.data(), room};
    const std::size_t bytes = std::max(nodeGraphScratchBytes(n), minimumDegreeScratchBytes(n));
    auto memory = block(bytes);
    const SparsePattern input{n, pattern.colBegin.data(), pattern.rowIndex.data()};
    EXPECT_EQ(buildNodeGraph(input, graph, Scratch(memory.data(), bytes)), ldl::ok);
    std::vector<std::int32_t> order(static_cast<std::size_t>(n), -1);
    const std::int32_t dense =
        minimumDegree(graph, options, order.data(), Scratch(memory.data(), bytes));
    if (numDense != nullptr) *numDense = dense;
    return order;
}

bool isPermutation(std::vector<std::int32_t> order) {
    std::sort(order.begin(), order.end());
    for (std::size_t k = 0; k < order.size(); ++k) {
        if (order[k] != static_cast<std::int32_t>(k)) return false;
    }
    return true;
}

std::int64_t fillOf(const TestPattern& pattern, const std::vector<std::int32_t>& order) {
    return DenseFactorPattern(pattern, order.data()).numEntries();
}

// The greedy method that the engine approximates, with exact scores on an explicit graph.
std::int64_t exactGreedyFill(const TestPattern& pattern, EliminationScore score) {
    const auto n = static_cast<std::size_t>(pattern.n);
    std::vector<std::set<std::size_t>> adjacent(n);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
            const auto i = static_cast<std::size_t>(pattern.rowIndex[static_cast<std::size_t>(p)]);
            if (i != j) adjacent[j].insert(i);
        }
    }
    const auto exactScore = [&](std::size_t v) {
        if (score == EliminationScore::degree) return adjacent[v].size();
        std::size_t missing = 0;
        for (const std::size_t a : adjacent[v]) {
            for (const std::size_t b : adjacent[v]) {
                missing += a < b && adjacent[a].count(b) == 0 ? 1u : 0u;
            }
        }
        return missing;
    };
    std::set<std::size_t> left;
    for (std::size_t v = 0; v < n; ++v) left.insert(v);
    std::int64_t entries = 0;
    while (!left.empty()) {
        const std::size_t pivot = *std::min_element(
            left.begin(), left.end(),
            [&](std::size_t a, std::size_t b) { return exactScore(a) < exactScore(b); });
        entries += 1 + static_cast<std::int64_t>(adjacent[pivot].size());
        for (const std::size_t a : adjacent[pivot]) {
            adjacent[a].insert(adjacent[pivot].begin(), adjacent[pivot].end());
            adjacent[a].erase(a);
            adjacent[a].erase(pivot);
        }
        left.erase(pivot);
    }
    return entries;
}

constexpr EliminationScore bothScores[] = {EliminationScore::degree, EliminationScore::fill};

TEST(NodeGraph, RefusesWhatIsNotASymmetricPattern) {
    struct Case {
        const char* name;
        std::vector<std::int32_t> colBegin;
        std::vector<std::int32_t> rowIndex;
    };
    const Case cases[] = {{"row too large", {0, 1, 2}, {1, 2}},
                          {"negative row", {0, 1, 2}, {1, -1}},
                          {"decreasing columns", {0, 2, 1, 2}, {1, 0}},
                          {"negative start", {-1, 1, 2}, {1, 0}},
                          {"one triangle only", {0, 1, 1}, {1}},
                          {"upper triangle only", {0, 0, 1}, {0}},
                          {"directed circle", {0, 1, 2, 3}, {2, 0, 1}},
                          {"equal counts, other rows", {0, 2, 3, 4, 6}, {2, 3, 2, 1, 0, 1}}};
    for (const Case& c : cases) {
        const auto n = static_cast<std::int32_t>(c.colBegin.size()) - 1;
        std::vector<std::int32_t> begin(c.colBegin.size());
        std::vector<std::int32_t> adj(c.rowIndex.size());
        NodeGraph graph{n, begin.data(), adj.data(), static_cast<std::int64_t>(adj.size())};
        auto memory = block(nodeGraphScratchBytes(n));
        EXPECT_EQ(buildNodeGraph({n, c.colBegin.data(), c.rowIndex.data()}, graph,
                                 Scratch(memory.data(), memory.size())),
                  ldl::mismatch)
            << c.name;
    }
}

TEST(NodeGraph, DropsDiagonalAndRepetitions) {
    const std::vector<std::int32_t> colBegin{0, 4, 7, 8};
    const std::vector<std::int32_t> rowIndex{2, 1, 1, 0, 0, 1, 0, 0};
    std::vector<std::int32_t> begin(4);
    std::vector<std::int32_t> adj(8);
    NodeGraph graph{3, begin.data(), adj.data(), 8};
    auto memory = block(nodeGraphScratchBytes(3));
    ASSERT_EQ(buildNodeGraph({3, colBegin.data(), rowIndex.data()}, graph,
                             Scratch(memory.data(), memory.size())),
              ldl::ok);
    adj.resize(static_cast<std::size_t>(begin[3]));
    EXPECT_EQ(begin, (std::vector<std::int32_t>{0, 2, 3, 4}));
    EXPECT_EQ(adj, (std::vector<std::int32_t>{1, 2, 0, 0}));
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
    for (const std::int32_t numCopies : {1, 3}) {
        for (const std::int32_t numHubs : {0, 1, 5}) {
            const TestPattern pattern = hubPattern(numCopies, numHubs, length);
            for (const EliminationScore score : bothScores) {
                std::int32_t numDense = -1;
                const auto order = orderBy(pattern, {score, byDensity, false}, 0, &numDense);
                EXPECT_EQ(numDense, numCopies * numHubs);
                ASSERT_TRUE(isPermutation(order));
                for (std::int32_t k = pattern.n - numDense; k < pattern.n; ++k) {
                    EXPECT_LT(order[static_cast<std::size_t>(k)], numDense);
                }
                const std::int64_t ofOneCopy =
                    2 * length - 1 + length * numHubs + numHubs * (numHubs + 1) / 2;
                EXPECT_EQ(fillOf(pattern, order), numCopies * ofOneCopy);
            }
        }
    }
}

TEST(DenseRows, ThresholdIsAFloorAndIsCapped) {
    EXPECT_EQ(denseThreshold(1, 10.0), 1);
    EXPECT_EQ(denseThreshold(20, 1.0), 16);
    EXPECT_EQ(denseThreshold(100, 10.0), 100);
    EXPECT_EQ(denseThreshold(10000, 10.0), 1000);
    std::int32_t begin[] = {0, 3, 3, 7, 9, 11};
    NodeGraph graph{5, begin, nullptr, 0};
    std::int32_t dense[5] = {};
    auto memory = block(denseRowsScratchBytes(5));
    EXPECT_EQ(findDenseRows(graph, {false, 3, 0.0}, dense, Scratch(memory.data(), memory.size())),
              2);
    EXPECT_EQ(dense[0], 0);
    EXPECT_EQ(dense[1], 2);
}

TEST(MinimumDegree, OrdersEveryGraphWhateverTheElbowRoom) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 1500; ++trial) {
        const TestPattern pattern = randomPattern(random, trial % 10 == 0 ? 120 : 30);
        for (const EliminationScore score : bothScores) {
            for (const DenseRule& dense :
                 {keepAll, byDensity, DenseRule{false, 8, 0.0}, DenseRule{false, 3, 0.0}}) {
                const MinimumDegreeOptions options{score, dense, trial % 2 == 0};
                const auto order = orderBy(pattern, options, 0);
                ASSERT_TRUE(isPermutation(order)) << "trial " << trial;
                // Compacting the lists must not change what they say.
                ASSERT_EQ(order, orderBy(pattern, options, 3000)) << "trial " << trial;
            }
        }
    }
}

TEST(MinimumDegree, TreesAndArrowsGetNoFill) {
    std::mt19937 random(5);
    std::vector<TestPattern> patterns{arrowPattern(50), tridiagonalPattern(60), diagonalPattern(4)};
    for (int k = 0; k < 50; ++k) patterns.push_back(randomTree(random, 80));
    for (const TestPattern& pattern : patterns) {
        std::set<Edge> edges;
        for (std::int32_t j = 0; j < pattern.n; ++j) {
            for (std::int32_t p = pattern.colBegin[static_cast<std::size_t>(j)];
                 p < pattern.colBegin[static_cast<std::size_t>(j) + 1]; ++p) {
                const std::int32_t i = pattern.rowIndex[static_cast<std::size_t>(p)];
                if (i > j) edges.emplace(i, j);
            }
        }
        for (const EliminationScore score : bothScores) {
            EXPECT_EQ(fillOf(pattern, orderBy(pattern, {score, keepAll, false}, 0)),
                      pattern.n + static_cast<std::int64_t>(edges.size()))
                << pattern.name;
        }
    }
}

TEST(MinimumDegree, FillStaysCloseToTheExactGreedyMethod) {
    for (const EliminationScore score : bothScores) {
        std::mt19937 random(23);
        std::int64_t ours = 0;
        std::int64_t exact = 0;
        std::vector<TestPattern> patterns{gridPattern(9, 9), gridPattern(5, 14)};
        for (int k = 0; k < 30; ++k) patterns.push_back(randomPattern(random, 70));
        for (const TestPattern& pattern : patterns) {
            ours += fillOf(pattern, orderBy(pattern, {score, keepAll, false}, 0));
            exact += exactGreedyFill(pattern, score);
        }
        EXPECT_LE(static_cast<double>(ours), 1.03 * static_cast<double>(exact));
    }
}

}  // namespace
