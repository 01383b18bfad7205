// Graphs as the orderings take them.
#pragma once

#include "sparse/order/graph.hpp"
#include "sparse/sparse_ldl.hpp"
#include "support/sparse_patterns.hpp"

namespace ovtest {

/// Scratch of a routine, for as long as the object lives.
class ScratchBlock {
public:
    explicit ScratchBlock(std::size_t bytes) : memory_(bytes) {}
    operator ovrelin::Scratch() { return {memory_.data(), memory_.size()}; }

private:
    std::vector<std::byte> memory_;
};

/// Adjacency lists of a pattern, without its diagonal. `code` tells whether there are any.
struct TestGraph {
    explicit TestGraph(const TestPattern& pattern)
        : begin(pattern.n + 1), adj(pattern.rowIndex.size() + 1) {
        const ovrelin::SparsePattern input{pattern.n, pattern.colBegin.data(),
                                           pattern.rowIndex.data()};
        ovrelin::NodeGraph graph{pattern.n, begin.data(), adj.data(),
                                 static_cast<std::int64_t>(adj.size())};
        code = ovrelin::buildNodeGraph(input, graph,
                                       ScratchBlock(ovrelin::nodeGraphScratchBytes(pattern.n)));
        if (code == ovrelin::ldl::ok) adj.resize(static_cast<std::size_t>(begin.back()));
    }

    [[nodiscard]] std::int32_t n() const { return static_cast<std::int32_t>(begin.size()) - 1; }

    template <class Visit>
    void forNeighbours(std::int32_t v, Visit visit) const {
        for (std::int32_t p = begin[v]; p < begin[v + 1]; ++p) visit(adj[p]);
    }

    Indices begin, adj;
    int code;
};

}  // namespace ovtest
