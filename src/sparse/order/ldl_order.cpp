#include "sparse/order/ldl_order.hpp"

#include <numeric>

#include "frame/parameters/sparse_parameters.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_order.hpp"
#include "sparse/order/method_choice.hpp"
#include "sparse/order/minimum_degree.hpp"

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
    return {false, denseThreshold(n, sparsePlanning.denseRootFactor), 0.0};
}

// Leaves and separators keep their turns; who comes first within one is found with the fill of the
// whole graph in view.
void orderClusters(const NodeGraph& graph, const OrderControl& control, const NdControl& dissection,
                   std::int32_t* order, Scratch scratch) {
    MinimumDegreeOptions options{
        EliminationScore::fill, {false, dissection.denseDegree, 0.0}, control.matrixClass == 0};
    options.cluster = dissection.clusterOf;
    options.numCluster = dissection.numCluster;
    (void)minimumDegree(graph, options, order, scratch);
}

int dissect(MemoryPool* pool, const NodeGraph& graph, const OrderControl& control,
            double meanDegree, OrderResult& result, Scratch scratch) {
    const std::int32_t n = graph.numNode;
    NdControl dissection;
    dissection.seed = control.seed;
    dissection.denseFactor = control.denseFactor;
    dissection.balanceFactor =
        control.balanceFactor > 0.0 ? control.balanceFactor : chooseBalanceFactor(meanDegree);
    dissection.leafMode = control.postPass ? 1 : 0;
    dissection.context = control.context;
    dissection.order = result.order;
    dissection.inverseOrder = result.inverseOrder;
    if (control.postPass) dissection.clusterOf = scratch.take<std::int32_t>(n);
    const NdGraphView view{n, graph.nodeBegin, graph.nodeAdj, control.nodeWeight, control.waits};
    LDL_TRY(ndOrder(pool, dissection, view));
    result.numDense = dissection.numDense;
    if (control.postPass) orderClusters(graph, control, dissection, result.order, scratch);
    return ldl::ok;
}

void eliminateByScore(const NodeGraph& graph, const OrderControl& control, std::int32_t method,
                      const DenseRule& dense, OrderResult& result, Scratch scratch) {
    const MinimumDegreeOptions options{
        method == ldl::methodMinFill ? EliminationScore::fill : EliminationScore::degree, dense,
        control.matrixClass == 0};
    result.numDense = minimumDegree(graph, options, result.order, scratch);
}

}  // namespace

std::size_t orderScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(n) + minimumDegreeScratchBytes(n);
}

std::int64_t orderCapacity(std::int32_t n, std::int64_t numEntries) {
    return minimumDegreeCapacity(n, numEntries);
}

int ldlOrder(MemoryPool* pool, const NodeGraph& graph, const OrderControl& control,
             std::int32_t& method, OrderResult& result, Scratch scratch) {
    const std::int32_t n = graph.numNode;
    const OrderingQuestion question{n, graph.nodeBegin[n], control.matrixClass, method,
                                    control.useDensityRule};
    method = chooseOrdering(question);
    result.numDense = 0;
    if (method == ldl::methodNatural) {
        std::iota(result.order, result.order + n, 0);
    } else if (method == ldl::methodDissection) {
        const int code = dissect(pool, graph, control, meanDegree(question), result, scratch);
        if (code != ldl::ok && code != ndNoCoarsening) return code;
        if (code == ndNoCoarsening) {
            method = ldl::methodMinFill;
            eliminateByScore(graph, control, method,
                             {false, denseThreshold(n, sparsePlanning.denseRootFactor), 0.0},
                             result, scratch);
        }
    } else {
        eliminateByScore(graph, control, method, denseRuleFor(graph, control), result, scratch);
    }
    for (std::int32_t k = 0; k < n; ++k) result.inverseOrder[result.order[k]] = k;
    return ldl::ok;
}

}  // namespace ovrelin
