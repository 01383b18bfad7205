// Approximate minimum degree and approximate minimum fill, one engine on a quotient graph with two
// scores. After Amestoy, Davis and Duff, "An approximate minimum degree ordering algorithm", SIAM
// J. Matrix Anal. Appl. 17 (1996): approximate external degrees, aggressive absorption of elements,
// mass elimination, supervariables found by a hash of their adjacency.
#pragma once

#include <cstdint>

#include "sparse/order/dense_rows.hpp"
#include "sparse/order/graph.hpp"

namespace ovrelin {

enum class EliminationScore {
    degree,  // approximate external degree
    fill,    // fill beyond the pivot element's clique, a share for each merged vertex
};

struct MinimumDegreeOptions {
    EliminationScore score;
    DenseRule dense;
    /// Divide the fill score by the root of a supervariable's weight in place of the weight.
    bool rootWeight;
    /// [numNode] or null, of at most numNode clusters. Cluster 0 is eliminated first, then cluster
    /// 1, and so on to numCluster - 1; within a cluster the score decides. The order returned is a
    /// postorder of that elimination, with the same fill. Where `dense` takes vertices, these must
    /// be the last cluster.
    const std::int32_t* cluster = nullptr;
    std::int32_t numCluster = 0;
    /// [numNode] or null. A marked node has the worst of all scores until one of its neighbours has
    /// been eliminated.
    const std::int8_t* waits = nullptr;
};

/// Scratch bytes of minimumDegree, and the room that nodeAdj needs: all lists and one new element.
[[nodiscard]] std::size_t minimumDegreeScratchBytes(std::int32_t n);
[[nodiscard]] std::int64_t minimumDegreeCapacity(std::int32_t n, std::int64_t numEdgeEnds);

/// Orders the graph, whose nodeAdj is destroyed. Needs capacity >= minimumDegreeCapacity. `order`
/// [n] gets position to vertex. Returns the number of vertices that the dense rule put at the end.
/// Allocates nothing and cannot fail.
std::int32_t minimumDegree(const NodeGraph& graph, const MinimumDegreeOptions& options,
                           std::int32_t* order, Scratch scratch);

}  // namespace ovrelin
