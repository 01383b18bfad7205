// Improving an edge cut: balance first, then moves after Fiduccia and Mattheyses.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Computes internalDegree, externalDegree, cutWeight, partWeight and the boundary from `part`.
void ndMeasureCut(NdGraph& graph);

/// Moves vertices from the side above its target to the other when the split is off balance.
/// Returns ldl::ok or ldl::mismatch.
[[nodiscard]] int ndBalanceCut(NdWork& work, NdGraph& graph);

/// Moves vertices across the cut, best gain first, and keeps the best state met. A pass may go
/// through worse states. Returns ldl::ok or ldl::mismatch.
[[nodiscard]] int ndRefineCut(NdWork& work, NdGraph& graph, std::int32_t numPasses);

}  // namespace ovrelin
