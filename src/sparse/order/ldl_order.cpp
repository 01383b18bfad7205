#include "sparse/order/ldl_order.hpp"

#include <numeric>

#include "sparse/order/method_choice.hpp"
#include "sparse/order/minimum_degree.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

// Classes 1 and 2 count a vertex as dense by a multiple of the mean degree, the others by the root
// of the order.
DenseRule denseRuleFor(const NodeGraph& graph, const OrderControl& control) {
    if (control.useDensityRule) return {true, 0, control.densityGain};
    const std::int32_t n = graph.numNode;
    if (control.matrixClass == 1 || control.matrixClass == 2) {
        const std::int64_t mean = graph.nodeBegin[n] / n;
        const std::int64_t threshold =
            static_cast<std::int64_t>(static_cast<double>(mean) * control.denseFactor);
        return {false, static_cast<std::int32_t>(threshold < n ? threshold : n), 0.0};
    }
    return {false, denseThreshold(n, 10.0), 0.0};
}

}  // namespace

std::size_t orderScratchBytes(std::int32_t n) {
    return minimumDegreeScratchBytes(n);
}

std::int64_t orderCapacity(std::int32_t n, std::int64_t numEntries) {
    return minimumDegreeCapacity(n, numEntries);
}

int ldlOrder(const NodeGraph& graph, const OrderControl& control, std::int32_t& method,
             OrderResult& result, Scratch scratch) {
    const std::int32_t n = graph.numNode;
    method = chooseOrdering(
        {n, graph.nodeBegin[n], control.matrixClass, method, control.useDensityRule});
    // Nested dissection is not built yet: minimum fill stands in for it, and is what gets reported.
    if (method == ldl::methodDissection) method = ldl::methodMinFill;
    result.numDense = 0;
    if (method == ldl::methodNatural) {
        std::iota(result.order, result.order + n, 0);
    } else {
        const MinimumDegreeOptions options{
            method == ldl::methodMinFill ? EliminationScore::fill : EliminationScore::degree,
            denseRuleFor(graph, control), control.matrixClass == 0};
        result.numDense = minimumDegree(graph, options, result.order, scratch);
    }
    for (std::int32_t k = 0; k < n; ++k) result.inverseOrder[result.order[k]] = k;
    return ldl::ok;
}

}  // namespace ovrelin
