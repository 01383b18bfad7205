// The order of small pieces.
#pragma once

#include <cstdint>

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// The vertices list[0 .. count-1] of `graph`, fewer than 200.
struct NdLeaf {
    const NdGraph& graph;
    const std::int32_t* list;
    std::int32_t count;

    /// Number in the reduced graph.
    [[nodiscard]] std::int32_t vertex(std::int32_t i) const { return graph.label[list[i]]; }
};

/// Fills elimination [count] with places in the list. Exact multiple minimum degree: each round
/// eliminates an independent set of vertices of lowest external degree. All edges of the reduced
/// graph count: a neighbour outside the leaf, in a separator, is there for as long as the leaf is.
void ndLeafOrder(const NdWork& work, const NdLeaf& leaf, std::int32_t* elimination);

}  // namespace ovrelin
