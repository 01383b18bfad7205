// The undirected graph of a symmetric pattern: what every ordering works on.
#pragma once

#include <cstdint>

#include "sparse/order/scratch.hpp"

namespace ovrelin {

/// Pattern of a symmetric matrix of order n, both triangles, zero-based compressed columns; rows of
/// a column in any order. Owned by the caller.
struct SparsePattern {
    std::int32_t n;
    const std::int32_t* colBegin;  // [n + 1]
    const std::int32_t* rowIndex;  // [colBegin[n]]
};

/// Adjacency lists without loops and without duplicates, each ascending. `capacity` is the length
/// of nodeAdj; what lies behind nodeBegin[numNode] is room in which an ordering may work. The
/// orderings destroy nodeAdj.
struct NodeGraph {
    std::int32_t numNode;
    std::int32_t* nodeBegin;  // [numNode + 1]
    std::int32_t* nodeAdj;    // [capacity]
    std::int64_t capacity;
};

/// Scratch bytes of buildNodeGraph.
[[nodiscard]] std::size_t nodeGraphScratchBytes(std::int32_t n);

/// Fills nodeBegin and nodeAdj, with one node a column. The diagonal is left out and repeated
/// entries count once. Needs capacity >= colBegin[n]. Returns ldl::ok, or ldl::mismatch for column
/// pointers that decrease, a row index outside 0..n-1, or a pattern that is not symmetric.
[[nodiscard]] int buildNodeGraph(const SparsePattern& pattern, NodeGraph& graph, Scratch scratch);

}  // namespace ovrelin
