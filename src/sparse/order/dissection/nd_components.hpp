// What a separator leaves: the connected components of the rest, as lists and as graphs.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Component c has the vertices list[begin[c] .. begin[c+1]-1], in the order of a breadth-first
/// search, which keeps neighbours close together; local[v] is the place of v in its component.
struct NdComponents {
    std::int32_t* list;   // [numVertex]
    std::int32_t* begin;  // [numVertex + 1]
    std::int32_t* local;  // [numVertex], separator: -1
    std::int32_t count;
};

/// Fills `components`, whose arrays the caller provides.
void ndFindComponents(const NdGraph& graph, NdComponents& components);

/// Makes the graph of component c. Returns ldl::ok or ldl::noMemory.
[[nodiscard]] int ndExtract(MemoryPool* pool, const NdGraph& graph, const NdComponents& components,
                            std::int32_t c, NdGraph& piece);

}  // namespace ovrelin
