// The order of a piece that cannot be divided.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Fills elimination [numVertex] with vertices of the graph, by approximate minimum fill: a piece
/// that matchings do not shrink is one in which separators do not help. Returns ldl::ok or
/// ldl::noMemory.
[[nodiscard]] int ndOrderUndivided(MemoryPool* pool, const NdGraph& graph,
                                   std::int32_t* elimination);

}  // namespace ovrelin
