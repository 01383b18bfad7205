// The ordering stage: chooses a method for a graph and runs it.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "sparse/order/graph.hpp"

namespace ovrelin {

/// What steers the ordering; the defaults are those of the analysis.
struct OrderControl {
    std::int32_t matrixClass = 1;
    bool useDensityRule = true;
    double densityGain = 80.0;   // of the density rule
    double denseFactor = 50.0;   // of the fixed threshold, and of dissection
    double balanceFactor = 0.0;  // of dissection; 0: chosen by the mean degree
    std::int32_t seed = 4321;    // of dissection
    /// After dissection, order its leaves and separators anew with the whole graph in view.
    bool postPass = false;
    /// [numNode] columns that each node stands for; null: 1.
    const std::int32_t* nodeWeight = nullptr;
    /// [numNode] or null: nodes that dissection lets wait for a neighbour's elimination, as their
    /// diagonal is nothing without it.
    const std::int8_t* waits = nullptr;
    /// Whose stop flag dissection polls; null: that of the calling thread.
    const HostContext* context = nullptr;
};

struct OrderResult {
    std::int32_t* order;         // [numNode] position to vertex
    std::int32_t* inverseOrder;  // [numNode] vertex to position
    std::int32_t numDense;       // vertices put at the end for their degree
};

[[nodiscard]] std::size_t orderScratchBytes(std::int32_t n);
/// Room that nodeAdj needs for a graph of n vertices from a matrix of `numEntries` entries.
[[nodiscard]] std::int64_t orderCapacity(std::int32_t n, std::int64_t numEntries);

/// method: on entry the wish (-1 automatic, 0, 1, 2..4), on return the method that ran: a graph
/// that dissection cannot coarsen gets minimum fill. Destroys graph.nodeAdj. Only dissection asks
/// the pool. Returns ldl::ok, ldl::noMemory, ldl::mismatch or ldl::stopped.
[[nodiscard]] int ldlOrder(MemoryPool* pool, const NodeGraph& graph, const OrderControl& control,
                           std::int32_t& method, OrderResult& result, Scratch scratch);

}  // namespace ovrelin
