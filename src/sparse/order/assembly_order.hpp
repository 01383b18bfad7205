// From the forest that an elimination leaves behind to an order of the vertices.
#pragma once

#include <cstdint>

#include "sparse/order/scratch.hpp"

namespace ovrelin {

/// What became of each vertex of a quotient graph. A vertex with weight > 0 was a pivot and stands
/// for `weight` vertices in all; parent[i] is the pivot whose element absorbed its own, -1 at a
/// root. A vertex with weight 0 lies in a supervariable: parent[i] leads, over others of weight 0,
/// to the pivot that it was eliminated with; vertices with parent -1 and weight 0 stand in no tree.
struct AssemblyForest {
    std::int32_t n;
    std::int32_t* parent;           // [n]; paths are compressed
    const std::int32_t* weight;     // [n]
    const std::int32_t* frontSize;  // [n], pivots only
};

[[nodiscard]] std::size_t assemblyOrderScratchBytes(std::int32_t n);

/// Postorders the pivots, among siblings the largest front last, and numbers each pivot's vertices
/// together. `order` gets the vertices of the forest, in that order; returns their number.
std::int32_t assemblyOrder(const AssemblyForest& forest, std::int32_t* order, Scratch scratch);

}  // namespace ovrelin
