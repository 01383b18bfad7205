// Multilevel bisection of a graph by a vertex separator.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Fills part, partWeight and the boundary (the separator) of `graph`, which has at least one
/// vertex: no edge joins parts 0 and 1. Returns ldl::ok, ldl::noMemory, ldl::mismatch, ldl::stopped
/// or ndNoCoarsening.
[[nodiscard]] int ndBisect(NdWork& work, NdGraph& graph);

}  // namespace ovrelin
