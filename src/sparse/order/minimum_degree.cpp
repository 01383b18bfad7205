#include "sparse/order/minimum_degree.hpp"

#include <algorithm>

#include "sparse/order/assembly_order.hpp"
#include "sparse/order/elimination.hpp"

namespace ovrelin {

std::size_t minimumDegreeScratchBytes(std::int32_t n) {
    return Elimination::scratchBytes(n) +
           std::max({assemblyOrderScratchBytes(n), denseRowsScratchBytes(n),
                     Elimination::clusterScratchBytes(n)});
}

std::int64_t minimumDegreeCapacity(std::int32_t n, std::int64_t numEdgeEnds) {
    return n + numEdgeEnds + numEdgeEnds / 5;
}

std::int32_t minimumDegree(const NodeGraph& graph, const MinimumDegreeOptions& options,
                           std::int32_t* order, Scratch scratch) {
    Elimination elimination(graph, options, scratch);
    return elimination.run(graph, order, scratch);
}

}  // namespace ovrelin
