// Vertices of so high a degree that they go straight to the end of an order. Taken out beforehand,
// they do not enter every element that the elimination forms.
#pragma once

#include <cstdint>

#include "sparse/order/graph.hpp"

namespace ovrelin {

/// How dense vertices are told from the others.
struct DenseRule {
    /// Remove from the highest degree downwards while the mean degree falls by enough; otherwise
    /// every vertex of degree >= `threshold` goes.
    bool byDensity;
    std::int32_t threshold;
    /// What one removal must bring to the mean degree, as a multiple of its logarithm over the
    /// number of vertices left.
    double densityGain;
};

/// The fixed threshold: max(16, factor sqrt(n)), capped by n.
[[nodiscard]] std::int32_t denseThreshold(std::int32_t n, double factor);

[[nodiscard]] std::size_t denseRowsScratchBytes(std::int32_t n);

/// Lists in `dense` [numNode] the vertices to be taken out and returns their number. Isolated
/// vertices are never dense. The density rule takes the vertex of highest degree among those left,
/// each time; O(edges of the vertices that it takes).
[[nodiscard]] std::int32_t findDenseRows(const NodeGraph& graph, const DenseRule& rule,
                                         std::int32_t* dense, Scratch scratch);

}  // namespace ovrelin
