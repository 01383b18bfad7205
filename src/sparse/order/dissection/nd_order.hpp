// Multilevel nested dissection: an order of the vertices of a graph in which separators come after
// what they separate, so that elimination fills little. The graph is coarsened by matchings,
// bisected where it is small, and the bisection is refined on the way back; the separator takes the
// last positions and each component of the rest is treated the same way. Pieces of fewer than 200
// vertices get a minimum degree order. Ahead of it all vertices of low degree are eliminated.
// Vertices whose diagonal is empty come after a neighbour where the order is by degree.
//
// After Karypis and Kumar, "A fast and high quality multilevel scheme for partitioning irregular
// graphs", SIAM J. Sci. Comput. 20 (1998), and Fiduccia and Mattheyses, DAC 1982.
#pragma once

#include <cstdint>

#include "frame/parameters/dissection_parameters.hpp"
#include "frame/pool.hpp"
#include "ovrelin/host.h"

namespace ovrelin {

/// Returned when the graph does not shrink under matching: minimum fill suits it better.
inline constexpr int ndNoCoarsening = 3;

/// A graph as the orderings see it: symmetric, zero-based, without loops and without repeated
/// edges.
struct NdGraphView {
    std::int32_t numVertex;
    const std::int32_t* vertexBegin;  // [numVertex + 1]
    const std::int32_t* adjacency;    // [vertexBegin[numVertex]]
    /// [numVertex], 1 for a column and 2 for a pair of columns that stay together; null: all 1.
    const std::int32_t* vertexWeight = nullptr;
    /// [numVertex] or null. A marked vertex is not to be the first of its surroundings: the matrix
    /// has nothing on its diagonal before a neighbour has been eliminated.
    const std::int8_t* waits = nullptr;

    [[nodiscard]] std::int32_t weight(std::int32_t v) const {
        return vertexWeight == nullptr ? 1 : vertexWeight[v];
    }
};

struct NdControl {
    // ---- set by the caller ----
    std::int32_t seed = 4321;
    /// How much a part may weigh beyond one half of what is bisected, at least 1 and below 2.
    double balanceFactor = 1.4;
    /// A vertex of this many times the mean degree goes to the end of the order.
    double denseFactor = 50.0;
    /// Vertices are eliminated by minimum degree ahead of the first bisection while one has at most
    /// this degree; below 0: isolated ones only.
    std::int32_t reduceUpTo = ndParameters.reduceUpTo;
    /// 1: pieces below 200 vertices and separators stay clusters, for a constrained pass to order.
    std::int32_t leafMode = 0;
    /// The context whose stop flag is polled; null: that of the calling thread.
    const HostContext* context = nullptr;

    // ---- results ----
    std::int32_t* order = nullptr;         // [numVertex] position to vertex
    std::int32_t* inverseOrder = nullptr;  // [numVertex] vertex to position
    /// [numVertex] or null. Number of the separator or leaf of each vertex, ascending along
    /// `order`: whoever reorders must eliminate cluster 0 first, then cluster 1, and so on; a
    /// cluster's vertices stand together. Dense vertices form the last one.
    std::int32_t* clusterOf = nullptr;
    std::int32_t numCluster = 0;
    std::int32_t numDense = 0;
    std::int32_t denseDegree = 0;  // from which on a vertex is dense

    // ---- state of the bisection that runs ----
    std::int32_t coarsenTo = 0;
    std::int32_t maxVertexWeight = 0;
};

/// Fills control.order and control.inverseOrder, in leafMode 1 with the vertices of a leaf or
/// separator in no particular order. Returns ldl::ok, ldl::noMemory, ldl::mismatch (a graph that is
/// not symmetric), ndNoCoarsening or ldl::stopped; the arrays hold nothing of use after a failure.
[[nodiscard]] int ndOrder(MemoryPool* pool, NdControl& control, const NdGraphView& graph);

}  // namespace ovrelin
