// Graphs as the orderings take them, and more shapes of them.
#pragma once

#include <random>
#include <vector>

#include "sparse/order/graph.hpp"
#include "sparse/sparse_ldl.hpp"
#include "support/sparse_patterns.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

/// Adjacency lists of a pattern, without its diagonal.
class TestGraph {
public:
    explicit TestGraph(const TestPattern& pattern) {
        begin.resize(static_cast<std::size_t>(pattern.n) + 1);
        adj.resize(pattern.rowIndex.size() + 1);
        ovrelin::NodeGraph graph{pattern.n, begin.data(), adj.data(),
                                 static_cast<std::int64_t>(adj.size())};
        std::vector<std::byte> memory(ovrelin::nodeGraphScratchBytes(pattern.n));
        const int code =
            ovrelin::buildNodeGraph({pattern.n, pattern.colBegin.data(), pattern.rowIndex.data()},
                                    graph, ovrelin::Scratch(memory.data(), memory.size()));
        if (code != ovrelin::ldl::ok) begin.assign(1, 0);
        adj.resize(static_cast<std::size_t>(begin.back()));
    }
    TestGraph(std::int32_t n, std::vector<std::int32_t> listBegin, std::vector<std::int32_t> list)
        : begin(std::move(listBegin)), adj(std::move(list)) {
        begin.resize(static_cast<std::size_t>(n) + 1);
    }

    [[nodiscard]] std::int32_t n() const { return static_cast<std::int32_t>(begin.size()) - 1; }

    template <class Visit>
    void forNeighbours(std::int32_t v, Visit visit) const {
        const auto at = static_cast<std::size_t>(v);
        for (auto p = static_cast<std::size_t>(begin[at]);
             p < static_cast<std::size_t>(begin[at + 1]); ++p)
            visit(adj[p]);
    }

    std::vector<std::int32_t> begin, adj;
};

/// Seven-point stencil.
inline TestPattern cubePattern(std::int32_t width, std::int32_t height, std::int32_t depth) {
    std::vector<Edge> edges;
    for (std::int32_t z = 0; z < depth; ++z)
        for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = 0; x < width; ++x) {
                const std::int32_t v = (z * height + y) * width + x;
                if (x + 1 < width) edges.emplace_back(v, v + 1);
                if (y + 1 < height) edges.emplace_back(v, v + width);
                if (z + 1 < depth) edges.emplace_back(v, v + width * height);
            }
    return patternFromEdges("cube", width * height * depth, edges);
}

/// About `perVertex` random edges a vertex, among them a few vertices of high degree.
inline TestPattern randomGraph(std::mt19937& random, std::int32_t n, int perVertex) {
    std::uniform_int_distribution<std::int32_t> any(0, n - 1);
    std::uniform_int_distribution<std::int32_t> low(0, n / 50);
    std::vector<Edge> edges;
    for (std::int32_t v = 0; v < n; ++v)
        for (int k = 0; k < perVertex; ++k) {
            const std::int32_t u = k == 0 ? low(random) : any(random);
            if (u != v) edges.emplace_back(v, u);
        }
    return patternFromEdges("random", n, edges);
}

}  // namespace ovtest
