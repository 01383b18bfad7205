// One level of coarsening: the pairs of a matching, and the graph that they make.
#include <map>

#include "order/nd_fixture.hpp"
#include "sparse/order/dissection/nd_contract.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;
using std::int32_t;

/// A graph with drawn weights, matched and contracted.
class Level : NdFixture {
public:
    Level(const TestPattern& pattern, NdMatchingKind kind, int32_t heaviest, std::mt19937& random)
        : NdFixture(pattern, random),
          kind_(kind),
          heaviest_(heaviest),
          mate_(pattern.n),
          leader_(pattern.n) {
        control.maxVertexWeight = heaviest;
        matching_ = {mate_.data(), leader_.data(), 0};
        EXPECT_EQ(ndMatch(work, graph, kind, matching_), ldl::ok);
        EXPECT_EQ(ndContract(work, graph, matching_), ldl::ok);
    }

    void expectPairs() const {
        int32_t numLone = 0, numLoneLeft = 0;
        for (int32_t v = 0; v < graph.numVertex; ++v) {
            const int32_t u = mate_[v];
            ASSERT_EQ(mate_[u], v);
            ASSERT_EQ(graph.coarseMap[u], graph.coarseMap[v]);
            numLone += isIsolated(v) ? 1 : 0;
            numLoneLeft += u == v && isIsolated(v) ? 1 : 0;
            if (u == v) continue;
            ASSERT_LE(graph.vertexWeight[u] + graph.vertexWeight[v], heaviest_);
            ASSERT_TRUE(isNeighbour(v, u) || isIsolated(u) || isIsolated(v));
        }
        // Visited first they find room, unless they are too heavy; among the others some come late.
        const bool allGo = kind_ == NdMatchingKind::heavyEdge && heaviest_ == 6;
        EXPECT_LE(numLoneLeft, allGo ? 0 : numLone / 2);
        for (int32_t c = 0; c < matching_.numCoarse; ++c) ASSERT_EQ(graph.coarseMap[leader_[c]], c);
    }

    void expectSums() const {
        const NdGraph& coarse = *graph.coarser;
        ASSERT_EQ(coarse.numVertex, matching_.numCoarse);
        std::vector<std::map<int32_t, int32_t>> edge(static_cast<std::size_t>(coarse.numVertex));
        Indices weight(coarse.numVertex);
        int32_t total = 0;
        for (int32_t v = 0; v < graph.numVertex; ++v) {
            const int32_t c = graph.coarseMap[v];
            weight[c] += graph.vertexWeight[v];
            total += graph.vertexWeight[v];
            for (int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
                const int32_t to = graph.coarseMap[graph.adjacency[e]];
                if (to != c) edge[static_cast<std::size_t>(c)][to] += graph.edgeWeight[e];
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
        return graph.vertexBegin[v] == graph.vertexBegin[v + 1];
    }

    [[nodiscard]] bool isNeighbour(int32_t v, int32_t u) const {
        const int32_t* const list = graph.adjacency;
        const int32_t* const end = list + graph.vertexBegin[v + 1];
        return std::find(list + graph.vertexBegin[v], end, u) != end;
    }

    NdMatchingKind kind_;
    int32_t heaviest_;
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
