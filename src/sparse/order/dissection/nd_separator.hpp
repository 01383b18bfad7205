// Vertex separators: making one from an edge cut, balancing and refining it, carrying it to the
// next finer graph.
//
// The separator's vertices are listed in `boundary`, and separatorDegree[2 v + p] is the weight of
// the neighbours of v in part p, kept for vertices of the separator only.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Every vertex at the cut, on both sides, becomes part of the separator; the refinement gives most
/// of them back.
void ndSeparatorFromCut(NdGraph& graph);

/// What the refinement makes small: w (1 + penalty d^2) for a separator of weight w whose sides
/// differ by the share d of the whole.
[[nodiscard]] double ndSeparatorCost(const NdGraph& graph, double penalty);

/// Computes boundary, separatorDegree and partWeight from `part`.
void ndMeasureSeparator(NdGraph& graph);

/// Moves vertices out of the separator into the lighter part, which pulls neighbours in from the
/// heavier one, until that one is light enough. Returns ldl::ok or ldl::mismatch.
[[nodiscard]] int ndBalance(NdWork& work, NdGraph& graph);

/// Passes of moves out of the separator, best gain first, through worse states too; the best state
/// met stays. Ends after a pass without gain. Returns ldl::ok or ldl::mismatch.
[[nodiscard]] int ndRefineSeparator(NdWork& work, NdGraph& graph, std::int32_t numPasses);

/// Gives graph.finer the separator of `graph`.
void ndProject(const NdGraph& graph);

}  // namespace ovrelin
