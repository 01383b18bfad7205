// One level of coarsening: the pairs of a matching, and the graph that they make.
#include <map>

#include "sparse/order/dissection/nd_contract.hpp"
#include "support/order_fixture.hpp"
#include "support/test_pool.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;
using std::int32_t;

/// A graph with drawn weights, matched and contracted.
class Level {
public:
    Level(const TestPattern& pattern, NdMatchingKind kind, int32_t heaviest, std::mt19937& random)
        : graph_(pattern), kind_(kind), heaviest_(heaviest), mate_(pattern.n), leader_(pattern.n) {
        control_.maxVertexWeight = heaviest;
        work_.control = &control_;
        const int32_t n = pattern.n, numEdge = graph_.begin[n];
        EXPECT_TRUE(isOk(work_.arena.make(pool_.get(), ndArenaWords(n))));
        EXPECT_EQ(makeNdGraph(pool_.get(), n, numEdge, NdLabels::none, fine_), ldl::ok);
        EXPECT_EQ(makeNdWorkArrays(pool_.get(), fine_), ldl::ok);
        std::copy_n(graph_.begin.data(), n + 1, fine_.vertexBegin);
        std::copy_n(graph_.adj.data(), numEdge, fine_.adjacency);
        for (int32_t v = 0; v < n; ++v) {
            fine_.vertexWeight[v] = 1 + static_cast<int32_t>(random() % 3);
            // The same in both directions.
            for (int32_t e = graph_.begin[v]; e < graph_.begin[v + 1]; ++e)
                fine_.edgeWeight[e] = 1 + (v ^ fine_.adjacency[e]) % 7;
        }
        matching_ = {mate_.data(), leader_.data(), 0};
        EXPECT_EQ(ndMatch(work_, fine_, kind, matching_), ldl::ok);
        EXPECT_EQ(ndContract(work_, fine_, matching_), ldl::ok);
    }

    void expectPairs() const {
        int32_t numLone = 0, numLoneLeft = 0;
        for (int32_t v = 0; v < fine_.numVertex; ++v) {
            const int32_t u = mate_[v];
            ASSERT_EQ(mate_[u], v);
            ASSERT_EQ(fine_.coarseMap[u], fine_.coarseMap[v]);
            numLone += isIsolated(v) ? 1 : 0;
            numLoneLeft += u == v && isIsolated(v) ? 1 : 0;
            if (u == v) continue;
            ASSERT_LE(fine_.vertexWeight[u] + fine_.vertexWeight[v], heaviest_);
            ASSERT_TRUE(isNeighbour(v, u) || isIsolated(u) || isIsolated(v));
        }
        // Visited first they find room, unless they are too heavy; among the others some come late.
        const bool allGo = kind_ == NdMatchingKind::heavyEdge && heaviest_ == 6;
        EXPECT_LE(numLoneLeft, allGo ? 0 : numLone / 2);
        for (int32_t c = 0; c < matching_.numCoarse; ++c) ASSERT_EQ(fine_.coarseMap[leader_[c]], c);
    }

    void expectSums() const {
        const NdGraph& coarse = *fine_.coarser;
        ASSERT_EQ(coarse.numVertex, matching_.numCoarse);
        std::vector<std::map<int32_t, int32_t>> edge(static_cast<std::size_t>(coarse.numVertex));
        Indices weight(coarse.numVertex);
        int32_t total = 0;
        for (int32_t v = 0; v < fine_.numVertex; ++v) {
            const int32_t c = fine_.coarseMap[v];
            weight[c] += fine_.vertexWeight[v];
            total += fine_.vertexWeight[v];
            for (int32_t e = fine_.vertexBegin[v]; e < fine_.vertexBegin[v + 1]; ++e) {
                const int32_t to = fine_.coarseMap[fine_.adjacency[e]];
                if (to != c) edge[static_cast<std::size_t>(c)][to] += fine_.edgeWeight[e];
            }
        }
        EXPECT_EQ(coarse.totalWeight, total);
        EXPECT_EQ(coarse.numEdge, coarse.vertexBegin[coarse.numVertex]);
        for (int32_t c = 0; c < coarse.numVertex; ++c) {
            ASSERT_EQ(coarse.vertexWeight[c], weight[c]);
            std::map<int32_t, int32_t> found;
            for (int32_t e = coarse.vertexBegin[c]; e < coarse.vertexBegin[c + 1]; ++e)
                ASSERT_TRUE(found.emplace(coarse.adjacency[e], coarse.edgeWeight[e]).second);
            ASSERT_EQ(found, edge[static_cast<std::size_t>(c)]) << c;
        }
    }

private:
    [[nodiscard]] bool isIsolated(int32_t v) const {
        return fine_.vertexBegin[v] == fine_.vertexBegin[v + 1];
    }

    [[nodiscard]] bool isNeighbour(int32_t v, int32_t u) const {
        const int32_t* const list = fine_.adjacency;
        const int32_t* const end = list + fine_.vertexBegin[v + 1];
        return std::find(list + fine_.vertexBegin[v], end, u) != end;
    }

    TestPool pool_;
    TestGraph graph_;
    NdMatchingKind kind_;
    int32_t heaviest_;
    NdControl control_;
    NdWork work_{pool_.get(), nullptr, NdRandom(4321), NdArena{}};
    NdGraph fine_;
    Indices mate_, leader_;
    NdMatching matching_{};
};

/// A ring in which each vertex knows `reach` ones ahead, one of many neighbours, and lone ones.
TestPattern ringPattern(int32_t n, int32_t reach, int32_t hubDegree, int32_t numLone) {
    std::vector<Edge> edges;
    for (int32_t v = 0; v < n; ++v)
        for (int32_t k = 1; k <= reach; ++k) edges.emplace_back(v, (v + k) % n);
    for (int32_t k = 1; k <= hubDegree; ++k) edges.emplace_back(0, k * (n / (hubDegree + 1)));
    return patternFromEdges("ring", n + numLone, edges);
}

// Few vertices have a table of their own, many share slots, and lists that could fill the slots go
// by the table again; a long edge list that shrinks gives room back.
TEST(Coarsening, MergesPairsAndAddsTheirEdges) {
    std::mt19937 random(12);
    const TestPattern patterns[] = {ringPattern(300, 3, 20, 0), ringPattern(300, 3, 20, 40),
                                    ringPattern(50000, 4, 3000, 100)};
    for (const TestPattern& pattern : patterns)
        for (const NdMatchingKind kind : {NdMatchingKind::random, NdMatchingKind::heavyEdge})
            for (const int32_t heaviest : {5, 6}) {
                SCOPED_TRACE(testing::Message() << pattern.n << ' ' << heaviest);
                const Level level(pattern, kind, heaviest, random);
                level.expectPairs();
                level.expectSums();
            }
}

}  // namespace
