// The ordering stage: chooses a method for a graph and runs it.
#pragma once

#include <cstdint>

#include "sparse/order/graph.hpp"

namespace ovrelin {

/// What steers the ordering; the defaults are those of the analysis.
struct OrderControl {
    std::int32_t matrixClass = 1;
    bool useDensityRule = true;
    double densityGain = 40.0;  // of the density rule
    double denseFactor = 50.0;  // of the fixed threshold, when the density rule is off
};

struct OrderResult {
    std::int32_t* order;         // [numNode] position to vertex
    std::int32_t* inverseOrder;  // [numNode] vertex to position
    std::int32_t numDense;       // vertices put at the end for their degree
};

[[nodiscard]] std::size_t orderScratchBytes(std::int32_t n);
/// Room that nodeAdj needs for a graph of n vertices from a matrix of `numEntries` entries.
[[nodiscard]] std::int64_t orderCapacity(std::int32_t n, std::int64_t numEntries);

/// method: on entry the wish (-1 automatic, 0, 1, 2..4), on return the method that ran. Destroys
/// graph.nodeAdj. Returns ldl::ok; allocates nothing.
[[nodiscard]] int ldlOrder(const NodeGraph& graph, const OrderControl& control,
                           std::int32_t& method, OrderResult& result, Scratch scratch);

}  // namespace ovrelin
