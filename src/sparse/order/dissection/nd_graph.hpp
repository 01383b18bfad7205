// The graph that dissection works on, one for each level of coarsening and each piece of the
// recursion, and the work record that its routines share.
#pragma once

#include <cstdint>

#include "frame/host_services.hpp"
#include "frame/parameters/dissection_parameters.hpp"
#include "frame/pool.hpp"
#include "sparse/order/dissection/nd_arena.hpp"
#include "sparse/order/dissection/nd_order.hpp"
#include "sparse/order/dissection/nd_random.hpp"

namespace ovrelin {

/// Part number of the separator; 0 and 1 are the two sides.
inline constexpr std::int32_t ndSeparator = 2;

/// A weighted graph and the bisection of it. The pointers lead into the blocks.
struct NdGraph {
    PoolArray<std::int32_t> block;      // vertexBegin, vertexWeight, label
    PoolArray<std::int32_t> edgeBlock;  // adjacency, edgeWeight
    PoolArray<std::int32_t> workBlock;  // the arrays of the bisection

    std::int32_t numVertex = 0;
    std::int32_t numEdge = 0;              // directed entries
    std::int32_t* vertexBegin = nullptr;   // [numVertex + 1]
    std::int32_t* vertexWeight = nullptr;  // [numVertex]
    std::int32_t* label = nullptr;         // [numVertex] number in the reduced graph; finest only
    std::int32_t* adjacency = nullptr;     // [numEdge]
    std::int32_t* edgeWeight = nullptr;    // [numEdge]
    std::int32_t totalWeight = 0;

    std::int32_t* part = nullptr;  // [numVertex] 0, 1 or ndSeparator
    std::int32_t partWeight[3] = {};
    std::int32_t cutWeight = 0;
    /// With a cut: vertices with an edge to the other side, or with no edge. With a separator: it.
    std::int32_t* boundary = nullptr;       // [numBoundary]
    std::int32_t* boundaryIndex = nullptr;  // [numVertex] place in boundary, -1 outside (cut only)
    std::int32_t numBoundary = 0;
    std::int32_t* internalDegree = nullptr;  // [numVertex] edge weight to the own side (cut only)
    std::int32_t* externalDegree = nullptr;  // [numVertex] edge weight to the other side
    std::int32_t* separatorDegree =
        nullptr;  // [2 numVertex] vertex weight in part 0, 1; separator only

    NdGraph* finer = nullptr;
    PoolObject<NdGraph> coarser;
    std::int32_t* coarseMap = nullptr;  // [numVertex] number in `coarser`

    PoolObject<NdGraph> nextPending;  // the recursion's list of pieces
    std::int32_t nextPosition = 0;    // the highest position of the order that the piece fills
};

/// What every routine of the dissection needs.
struct NdWork {
    MemoryPool* pool;
    NdControl* control;
    NdRandom random;
    NdArena arena;
    NdGraphView view{};             // the graph that labels are numbers of
    std::int32_t* place = nullptr;  // [view.numVertex], -1 between calls of the leaf order
    std::int32_t target[2] = {};    // weights that the two sides should have
    bool smallPiece = false;        // of the graph that is being bisected
    double penalty = ndParameters.imbalancePenalty;  // that leads the refinement

    [[nodiscard]] bool stopped() const { return stopRequested(control->context); }
};

/// Words of scratch for graphs of up to n vertices.
[[nodiscard]] std::size_t ndArenaWords(std::int32_t n);

enum class NdLabels { none, kept };

/// Makes room for a graph with `numEdge` directed edges at most; the arrays are raw.
/// Returns ldl::ok or ldl::noMemory.
[[nodiscard]] int makeNdGraph(MemoryPool* pool, std::int32_t numVertex, std::int32_t numEdge,
                              NdLabels labels, NdGraph& graph);

/// Sets numEdge and gives unused room back where the list is long and the room is large.
void closeEdgeList(NdGraph& graph, std::int32_t numEdge);

/// Makes room for coarseMap, and for a bisection of the graph.
[[nodiscard]] int makeNdWorkArrays(MemoryPool* pool, NdGraph& graph);

inline void addToBoundary(NdGraph& graph, std::int32_t v) {
    graph.boundaryIndex[v] = graph.numBoundary;
    graph.boundary[graph.numBoundary++] = v;
}

inline void removeFromBoundary(NdGraph& graph, std::int32_t v) {
    const std::int32_t place = graph.boundaryIndex[v];
    const std::int32_t last = graph.boundary[--graph.numBoundary];
    graph.boundary[place] = last;
    graph.boundaryIndex[last] = place;
    graph.boundaryIndex[v] = -1;
}

}  // namespace ovrelin
