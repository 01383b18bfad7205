#include "sparse/order/dissection/nd_graph.hpp"

#include <algorithm>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

std::size_t ndArenaWords(std::int32_t n) {
    const auto count = static_cast<std::size_t>(n);
    return std::max<std::size_t>(1400, 17 * count + 6216) + 17 + (count + 7) / 8 * 8;
}

int makeNdGraph(MemoryPool* pool, std::int32_t numVertex, std::int32_t numEdge, NdLabels labels,
                NdGraph& graph) {
    const auto n = static_cast<std::size_t>(numVertex);
    const std::size_t vertexWords = 2 * n + 1 + (labels == NdLabels::kept ? n : 0);
    if (!isOk(graph.block.make(pool, vertexWords))) return ldl::noMemory;
    if (!isOk(graph.edgeBlock.make(pool, 2 * static_cast<std::size_t>(numEdge)))) {
        return ldl::noMemory;
    }
    graph.numVertex = numVertex;
    graph.numEdge = numEdge;
    graph.vertexBegin = graph.block.data();
    graph.vertexWeight = graph.vertexBegin + n + 1;
    graph.label = labels == NdLabels::kept ? graph.vertexWeight + n : nullptr;
    graph.adjacency = graph.edgeBlock.data();
    graph.edgeWeight = graph.adjacency + numEdge;
    return ldl::ok;
}

void closeEdgeList(NdGraph& graph, std::int32_t numEdge) {
    const double room = graph.numEdge;
    graph.numEdge = numEdge;
    if (numEdge < ndParameters.shrinkFrom || numEdge >= ndParameters.shrinkShare * room) return;
    std::copy_n(graph.edgeWeight, numEdge, graph.adjacency + numEdge);
    // A pool that cannot shrink leaves the block as it is, which is as good.
    (void)graph.edgeBlock.resize(nullptr, 2 * static_cast<std::size_t>(numEdge));
    graph.adjacency = graph.edgeBlock.data();
    graph.edgeWeight = graph.adjacency + numEdge;
}

int makeNdWorkArrays(MemoryPool* pool, NdGraph& graph) {
    const auto n = static_cast<std::size_t>(graph.numVertex);
    if (!isOk(graph.workBlock.make(pool, 6 * n))) return ldl::noMemory;
    graph.coarseMap = graph.workBlock.data();
    graph.part = graph.coarseMap + n;
    graph.boundary = graph.part + n;
    graph.boundaryIndex = graph.boundary + n;
    graph.separatorDegree = graph.boundaryIndex + n;
    // A level has a cut or a separator, never both.
    graph.internalDegree = graph.separatorDegree;
    graph.externalDegree = graph.separatorDegree + n;
    return ldl::ok;
}

}  // namespace ovrelin
