// Vertices of so high a degree that they go straight to the end of an order. Taken out beforehand,
// they do not enter every element that the elimination forms.
#pragma once

#include <cstdint>

#include "sparse/order/scratch.hpp"

namespace ovrelin {

/// How dense vertices are told from the others.
struct DenseRule {
    /// Remove from the highest degree downwards while the mean degree falls by enough; otherwise
    /// every vertex of degree >= `threshold` goes.
    bool byDensity;
    std::int32_t threshold;
};

/// The fixed threshold: max(16, factor sqrt(n)), capped by n.
[[nodiscard]] std::int32_t denseThreshold(std::int32_t n, double factor);

[[nodiscard]] std::size_t denseRowsScratchBytes(std::int32_t n);

/// Lists in `dense` [n] the vertices to be taken out, from the highest degree down, and returns
/// their number. `degree` [n]; isolated vertices are not looked at.
[[nodiscard]] std::int32_t findDenseRows(std::int32_t n, const std::int32_t* degree,
                                         const DenseRule& rule, std::int32_t* dense,
                                         Scratch scratch);

}  // namespace ovrelin
