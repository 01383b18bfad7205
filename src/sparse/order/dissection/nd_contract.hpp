// Contraction: the coarse graph that a matching gives.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"
#include "sparse/order/dissection/nd_matching.hpp"

namespace ovrelin {

/// Makes fine.coarser from fine.coarseMap and the matching. Vertex weights add up, parallel edges
/// merge and add their weights, edges inside a pair vanish. Returns ldl::ok, ldl::noMemory or
/// ldl::mismatch.
[[nodiscard]] int ndContract(NdWork& work, NdGraph& fine, const NdMatching& matching);

}  // namespace ovrelin
