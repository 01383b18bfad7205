#include "sparse/order/dissection/nd_undivided.hpp"

#include <algorithm>

#include "sparse/order/minimum_degree.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

int ndOrderUndivided(MemoryPool* pool, const NdGraph& graph, std::int32_t* elimination) {
    const std::int32_t n = graph.numVertex;
    const std::int64_t capacity = minimumDegreeCapacity(n, graph.numEdge);
    const std::size_t bytes = minimumDegreeScratchBytes(n);
    PoolArray<std::int32_t> adjacency;
    PoolArray<std::byte> memory;
    if (!isOk(adjacency.make(pool, static_cast<std::size_t>(capacity)))) return ldl::noMemory;
    if (!isOk(memory.make(pool, bytes))) return ldl::noMemory;
    std::copy_n(graph.adjacency, graph.numEdge, adjacency.data());
    const NodeGraph nodes{n, graph.vertexBegin, adjacency.data(), capacity};
    const MinimumDegreeOptions options{EliminationScore::fill, {false, n, 0.0}, false};
    (void)minimumDegree(nodes, options, elimination, Scratch(memory.data(), bytes));
    return ldl::ok;
}

}  // namespace ovrelin
