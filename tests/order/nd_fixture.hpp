// One graph as the parts of a dissection work on it, with drawn weights.
#pragma once

#include <gtest/gtest.h>

#include "sparse/order/dissection/nd_graph.hpp"
#include "support/order_fixture.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

struct NdFixture {
    NdFixture(const TestPattern& pattern, std::mt19937& random) {
        const TestGraph drawn(pattern);
        const std::int32_t n = pattern.n, numEdge = drawn.begin[n];
        work.control = &control;
        EXPECT_TRUE(isOk(work.arena.make(pool.get(), ovrelin::ndArenaWords(n))));
        EXPECT_EQ(ovrelin::makeNdGraph(pool.get(), n, numEdge, ovrelin::NdLabels::none, graph), 0);
        EXPECT_EQ(ovrelin::makeNdWorkArrays(pool.get(), graph), 0);
        std::copy_n(drawn.begin.data(), n + 1, graph.vertexBegin);
        std::copy_n(drawn.adj.data(), numEdge, graph.adjacency);
        for (std::int32_t v = 0; v < n; ++v) {
            graph.vertexWeight[v] = 1 + static_cast<std::int32_t>(random() % 3);
            graph.totalWeight += graph.vertexWeight[v];
            // The same in both directions.
            forEdges(
                v, [&](std::int32_t u, std::int32_t e) { graph.edgeWeight[e] = 1 + (v ^ u) % 7; });
        }
    }

    /// visit(neighbour, edge) for the edges of v.
    template <class Visit>
    void forEdges(std::int32_t v, Visit visit) const {
        for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e)
            visit(graph.adjacency[e], e);
    }

    TestPool pool;
    ovrelin::NdControl control;
    ovrelin::NdWork work{pool.get(), nullptr, ovrelin::NdRandom(4321), ovrelin::NdArena{}};
    ovrelin::NdGraph graph;
};

}  // namespace ovtest
