// Bisection of a small graph by an edge cut.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Splits the graph into parts 0 and 1 of about the weights work.target with few edges between
/// them: several tries of breadth-first growth from a random vertex, each refined; the smallest cut
/// stays. Fills part, partWeight, cutWeight, the degrees and the boundary. Returns ldl::ok or
/// ldl::mismatch.
[[nodiscard]] int ndEdgeBisect(NdWork& work, NdGraph& graph);

}  // namespace ovrelin
