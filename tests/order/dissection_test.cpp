// Nested dissection: what its order and its clusters must be, and how it ends early.
#include <set>

#include "sparse/order/dissection/nd_order.hpp"
#include "sparse/order/dissection/nd_random.hpp"
#include "support/dense_symbolic.hpp"
#include "support/ldl_solver.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

struct Dissection {
    int code = -1;
    Indices order, inverse, cluster;
    std::int32_t numCluster = 0, numDense = 0;
};

Dissection dissect(const TestGraph& graph, NdControl control = {}, const Indices& weight = {}) {
    Dissection d{-1, Indices(graph.n(), -1), Indices(graph.n(), -1), Indices(graph.n(), -1)};
    control.order = d.order.data();
    control.inverseOrder = d.inverse.data();
    control.clusterOf = d.cluster.data();
    TestPool pool;
    d.code = ndOrder(pool.get(), control,
                     {graph.n(), graph.begin.data(), graph.adj.data(),
                      weight.empty() ? nullptr : weight.data()});
    EXPECT_EQ(pool.numLive(), 0);
    d.numCluster = control.numCluster;
    d.numDense = control.numDense;
    if (d.code != ldl::ok) return d;
    EXPECT_TRUE(isPermutation(d.order));
    for (std::int32_t k = 0; k < graph.n(); ++k) EXPECT_EQ(d.inverse[d.order[k]], k);
    // Clusters ascend along the order, so that each is one run of it.
    for (std::int32_t k = 1; k < graph.n(); ++k)
        EXPECT_GE(d.cluster[d.order[k]], d.cluster[d.order[k - 1]]);
    return d;
}

/// The components of the vertices among `among` whose cluster is below `top`.
std::vector<Indices> componentsBelow(const TestGraph& graph, const Dissection& d,
                                     const Indices& among, std::int32_t top) {
    std::set<std::int32_t> left;
    for (const std::int32_t v : among)
        if (d.cluster[v] < top) left.insert(v);
    std::vector<Indices> parts;
    while (!left.empty()) {
        Indices part{*left.begin()};
        left.erase(left.begin());
        for (std::size_t k = 0; k < part.size(); ++k)
            graph.forNeighbours(part[k], [&](std::int32_t u) {
                if (left.erase(u) > 0) part.push_back(u);
            });
        parts.push_back(part);
    }
    return parts;
}

/// Takes the highest cluster out of a connected piece, and goes on with what falls apart: no
/// cluster may reach from one part into another, or the order would not be one of separators.
void expectSeparators(const TestGraph& graph, const Dissection& d, const Indices& piece) {
    std::int32_t top = -1;
    for (const std::int32_t v : piece) top = std::max(top, d.cluster[v]);
    std::set<std::int32_t> seen{top};
    for (const Indices& part : componentsBelow(graph, d, piece, top)) {
        std::set<std::int32_t> here;
        for (const std::int32_t v : part) here.insert(d.cluster[v]);
        for (const std::int32_t c : here) EXPECT_TRUE(seen.insert(c).second) << "cluster " << c;
        expectSeparators(graph, d, part);
    }
}

TEST(Dissection, OrdersEveryGraph) {
    std::mt19937 random(31);
    for (int trial = 0; trial < 300; ++trial) {
        SCOPED_TRACE(trial);
        const TestGraph graph(trial % 3 == 0 ? randomGraph(random, 900, 1 + trial % 7)
                                             : randomPattern(random, 260));
        NdControl control;
        control.seed = trial % 5;  // 0 is replaced
        control.leafMode = trial % 2;
        control.balanceFactor = 1.0 + 0.1 * (trial % 6);
        Indices weight;
        for (std::int32_t v = 0; v < graph.n() && trial % 4 == 0; ++v)
            weight.push_back(1 + (v + trial) % 2);
        const Dissection d = dissect(graph, control, weight);
        ASSERT_TRUE(d.code == ldl::ok || d.code == ndNoCoarsening);
    }
}

TEST(Dissection, SeparatorsSeparateAndClustersAreSmall) {
    for (const TestPattern& pattern :
         {gridPattern(40, 30), cubePattern(10, 9, 8), gridPattern(300, 5)})
        for (const int mode : {0, 1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << pattern.name << " mode " << mode);
            const TestGraph graph(pattern);
            NdControl control;
            control.leafMode = mode % 2;
            const bool whole = mode < 2;
            if (whole) control.reduceUpTo = -1;
            const Dissection d = dissect(graph, control);
            ASSERT_EQ(d.code, ldl::ok);
            expectSeparators(graph, d, countUp(graph.n()));
            Indices size(d.numCluster);
            for (const std::int32_t c : d.cluster) ++size[c];
            for (const std::int32_t count : size) {
                EXPECT_GT(count, 0);
                // What was eliminated ahead comes in addition.
                EXPECT_TRUE(!whole || count < 200) << count;
            }
        }
}

TEST(Dissection, TopSeparatorKeepsTheBalance) {
    const TestGraph graph(gridPattern(60, 40));
    for (const double factor : {1.1, 1.4}) {
        NdControl control;
        control.balanceFactor = factor;
        const Dissection d = dissect(graph, control);
        ASSERT_EQ(d.code, ldl::ok);
        const auto parts = componentsBelow(graph, d, countUp(2400), d.numCluster - 1);
        ASSERT_GE(parts.size(), 2U);
        for (const Indices& part : parts)
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

void appendShifted(std::vector<Edge>& edges, const TestPattern& pattern, std::int32_t shift) {
    pattern.forEach([&](auto i, auto j) { edges.emplace_back(i + shift, j + shift); });
}

// The bound of the leaf: 199 vertices stay together, 200 are bisected, also where they are a part.
TEST(Dissection, LeavesEndAt199) {
    NdControl control;
    control.leafMode = 1;
    control.reduceUpTo = -1;
    for (const std::int32_t copies : {1, 2}) {
        const auto numCluster = [&](std::int32_t length) {
            std::vector<Edge> edges;
            for (std::int32_t c = 0; c < copies; ++c)
                appendShifted(edges, tridiagonalPattern(length), c * length);
            const TestPattern pattern = patternFromEdges("paths", copies * length, edges);
            return dissect(TestGraph(pattern), control).numCluster;
        };
        EXPECT_EQ(numCluster(199), copies);
        EXPECT_GE(numCluster(200), 3 * copies);
    }
}

// Nothing but the parts' own fill.
TEST(Dissection, SeparatePartsAndIsolatedVertices) {
    const TestPattern part = gridPattern(18, 18);
    std::vector<Edge> edges;
    for (std::int32_t copy = 0; copy < 5; ++copy) appendShifted(edges, part, copy * part.n);
    const TestPattern whole = patternFromEdges("parts", 5 * part.n + 40, edges);
    const auto fill = [](const TestPattern& pattern) {
        return static_cast<double>(fillOf(pattern, dissect(TestGraph(pattern)).order));
    };
    EXPECT_LE(fill(whole), 5 * 1.1 * fill(part) + 40);
}

TEST(Dissection, DenseVerticesComeLastInReverse) {
    constexpr std::int32_t n = 900;
    std::vector<Edge> edges;
    appendShifted(edges, gridPattern(30, 30), 2);
    for (const std::int32_t hub : {0, 1})
        for (std::int32_t v = 2; v < n + 2; ++v) edges.emplace_back(hub, v);
    const Dissection d = dissect(TestGraph(patternFromEdges("two hubs", n + 2, edges)));
    ASSERT_EQ(d.code, ldl::ok);
    EXPECT_EQ(d.numDense, 2);
    EXPECT_EQ(d.order[n + 1], 0);
    EXPECT_EQ(d.order[n], 1);
    EXPECT_EQ(d.cluster[0], d.numCluster - 1);
    // Where there are fewer ends than vertices nothing is dense by its share of the mean.
    EXPECT_EQ(dissect(TestGraph(patternFromEdges("an edge", 300, {{1, 2}}))).numDense, 0);
}

/// Every vertex of one side with every vertex of the other.
TestPattern bipartitePattern(std::int32_t first, std::int32_t second) {
    std::vector<Edge> edges;
    for (std::int32_t u = 0; u < first; ++u)
        for (std::int32_t v = first; v < first + second; ++v) edges.emplace_back(u, v);
    return patternFromEdges("bipartite", first + second, edges);
}

// A star has one pair to match; with many rows it is dense enough to go on.
TEST(Dissection, GraphsThatDoNotShrink) {
    NdControl control;
    control.denseFactor = 1e9;
    control.reduceUpTo = -1;
    EXPECT_EQ(dissect(TestGraph(bipartitePattern(1, 399)), control).code, ndNoCoarsening);
    EXPECT_EQ(dissect(TestGraph(bipartitePattern(110, 2890))).code, ldl::ok);
    // The analysis falls back to minimum fill.
    LdlSolver solver{{ldl::optOrderingMethod, 2}};
    ASSERT_EQ(solver.analyse(bipartitePattern(10, 390)), ldl::ok);
    EXPECT_EQ(solver.handle->orderingMethod, ldl::methodMinFill);
    EXPECT_EQ(solver.symbolic->numLowerEntries, 390 * 10 + 45);
}

// A piece that does not shrink, beside one that does, is ordered by minimum fill: its hubs come
// behind the vertices that meet in them.
TEST(Dissection, PiecesThatDoNotShrink) {
    constexpr std::int32_t hubs = 10, others = 390;
    std::vector<Edge> edges;
    appendShifted(edges, bipartitePattern(hubs, others), 0);
    appendShifted(edges, gridPattern(50, 40), hubs + others);
    NdControl control;
    control.reduceUpTo = -1;
    control.denseFactor = 1e9;
    const Dissection d =
        dissect(TestGraph(patternFromEdges("two", hubs + others + 2000, edges)), control);
    ASSERT_EQ(d.code, ldl::ok);
    const std::int32_t firstHub = *std::min_element(d.inverse.begin(), d.inverse.begin() + hubs);
    const auto first = d.inverse.begin() + hubs;
    // Separators take some of them.
    EXPECT_LT(std::count_if(first, first + others, [&](auto at) { return at > firstHub; }),
              others / 4);
}

// Where each separator takes most of what there is, the whole is one piece.
TEST(Dissection, AGraphWithoutSmallSeparatorsIsNotDivided) {
    std::mt19937 random(3);
    constexpr std::int32_t n = 400;
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i)
        for (std::int32_t j = 0; j < i; ++j)
            if (random() % 5 < 2) edges.emplace_back(i, j);
    const TestPattern pattern = patternFromEdges("thick", n, edges);
    const Dissection d = dissect(TestGraph(pattern));
    ASSERT_EQ(d.code, ldl::ok);
    EXPECT_EQ(d.numCluster, 1);
    // It is ordered by minimum fill, not left as it was.
    EXPECT_LT(fillOf(pattern, d.order), fillOf(pattern, countUp(n)));
}

// The dense vertex names all others, which do not name it: the edges left are more than its degree
// allows.
TEST(Dissection, UnsymmetricListsAreAMismatch) {
    constexpr std::int32_t n = 300;
    TestGraph graph(diagonalPattern(n));
    graph.adj = countUp(n);
    graph.adj.erase(graph.adj.begin());
    for (std::int32_t v = 1; v < n; ++v) {
        graph.begin[v] = static_cast<std::int32_t>(graph.adj.size());
        graph.adj.push_back(v == n - 1 ? 1 : v + 1);
    }
    graph.begin[n] = static_cast<std::int32_t>(graph.adj.size());
    EXPECT_EQ(dissect(graph).code, ldl::mismatch);
}

// Where separators are small, dissection fills less than minimum degree from some size on, and the
// pass after it fills no more.
TEST(Dissection, FillsLessThanMinimumDegreeOnLargeGrids) {
    const auto fill = [](const TestPattern& pattern, std::int32_t method, std::int32_t postPass) {
        LdlSolver solver{{ldl::optOrderingMethod, method},
                         {ldl::optOrderingPostPass, postPass},
                         {ldl::optMatrixClass, 1}};
        EXPECT_EQ(solver.analyse(pattern), ldl::ok);
        EXPECT_EQ(solver.handle->orderingMethod, method);
        if (pattern.n < 1000) expectSoundAnalysis(pattern, *solver.symbolic, *solver.numeric);
        return solver.symbolic->numLowerEntries;
    };
    for (const TestPattern& pattern : {gridPattern(150, 150), cubePattern(20, 20, 20)})
        EXPECT_LT(fill(pattern, 2, 0), 0.9 * fill(pattern, 0, 0)) << pattern.name;
    for (const TestPattern& pattern :
         {gridPattern(30, 30), cubePattern(9, 9, 9), gridPattern(120, 6)})
        EXPECT_LT(fill(pattern, 2, 1), 1.08 * fill(pattern, 2, 0)) << pattern.name;
}

TEST(NdRandom, FollowsItsRecurrence) {
    NdRandom random(4321);
    std::uint64_t state = std::uint64_t{4321} * 397204094 % 2147483647;
    for (int k = 0; k < 1000; ++k) {
        state = state * 397204094 % 2147483647;
        EXPECT_EQ(random.below(2000000000), static_cast<std::int32_t>(state * 2000000000 >> 31));
    }
}

}  // namespace
