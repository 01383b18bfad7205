// Vertex separators: whatever is done to one, no edge may lead across it, and its records agree.
#include "order/nd_fixture.hpp"
#include "sparse/order/dissection/nd_edge_refine.hpp"
#include "sparse/order/dissection/nd_separator.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;
using std::int32_t;

struct Separated : NdFixture {
    /// side(v) tells on which side of a cut a vertex is.
    template <class Side>
    Separated(const TestPattern& pattern, std::mt19937& random, double balanceFactor, Side side)
        : NdFixture(pattern, random) {
        control.balanceFactor = balanceFactor;
        for (int32_t v = 0; v < graph.numVertex; ++v) graph.part[v] = side(v);
        ndMeasureCut(graph);
        ndSeparatorFromCut(graph);
        expectSound();
    }

    void expectSound() const {
        int32_t weight[3] = {}, numBoundary = 0;
        for (int32_t v = 0; v < graph.numVertex; ++v) {
            const int32_t part = graph.part[v];
            weight[part] += graph.vertexWeight[v];
            int32_t around[3] = {};
            forEdges(v, [&](int32_t u, int32_t) {
                around[graph.part[u]] += graph.vertexWeight[u];
                EXPECT_TRUE(part == ndSeparator || graph.part[u] != 1 - part) << v << ' ' << u;
            });
            if (part != ndSeparator) continue;
            ++numBoundary;
            EXPECT_EQ(graph.boundary[graph.boundaryIndex[v]], v);
            EXPECT_EQ(graph.separatorDegree[2 * v], around[0]);
            EXPECT_EQ(graph.separatorDegree[2 * v + 1], around[1]);
        }
        EXPECT_EQ(graph.numBoundary, numBoundary);
        EXPECT_TRUE(std::equal(weight, weight + 3, graph.partWeight));
    }
    [[nodiscard]] int32_t limit() const {
        return static_cast<int32_t>(0.5 * control.balanceFactor * graph.totalWeight);
    }
};

TEST(Separator, RefinementKeepsItOneWithinTheLimitAndNoWorse) {
    std::mt19937 random(17);
    int numBetter = 0;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const TestPattern pattern = trial % 4 == 0   ? gridPattern(30, 21)
                                    : trial % 2 == 0 ? randomGraph(random, 200, 2)
                                                     : randomPattern(random, 120);
        if (pattern.n == 0) continue;
        const int32_t split = static_cast<int32_t>(random()) % pattern.n;
        const bool scattered = trial % 3 == 0;
        Separated s(pattern, random, 1.0 + 0.1 * (trial % 5), [&](int32_t v) {
            return scattered ? static_cast<int32_t>(random() % 2) : v < split ? 0 : 1;
        });
        const double before = ndSeparatorCost(s.graph, s.work.penalty);
        const int32_t weight[2] = {s.graph.partWeight[0], s.graph.partWeight[1]};
        ASSERT_EQ(ndRefineSeparator(s.work, s.graph, 8), ldl::ok);
        s.expectSound();
        const double after = ndSeparatorCost(s.graph, s.work.penalty);
        EXPECT_LE(after, before);
        numBetter += after < before ? 1 : 0;
        for (const int side : {0, 1})
            EXPECT_LE(s.graph.partWeight[side], std::max(weight[side], s.limit()));
        if (HasFailure()) return;
    }
    EXPECT_GT(numBetter, 200);
}

// The columns of a grid left of `column` against the others.
TEST(Separator, BalanceActsWhereOneSideIsFarTooHeavy) {
    std::mt19937 random(18);
    for (const int32_t column : {1, 3, 9, 10, 17}) {
        SCOPED_TRACE(column);
        Separated s(gridPattern(20, 20), random, 1.2,
                    [&](int32_t v) { return v % 20 < column ? 0 : 1; });
        const Indices before(s.graph.part, s.graph.part + 400);
        ASSERT_EQ(ndBalance(s.work, s.graph), ldl::ok);
        s.expectSound();
        EXPECT_LE(std::max(s.graph.partWeight[0], s.graph.partWeight[1]), s.limit());
        const bool isKept = std::equal(before.begin(), before.end(), s.graph.part);
        EXPECT_EQ(isKept, column == 9 || column == 10);
    }
}

}  // namespace
