#include "sparse/order/dissection/nd_order.hpp"

#include <algorithm>

#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_graph.hpp"
#include "sparse/order/dissection/nd_recurse.hpp"
#include "sparse/order/dissection/nd_reduce.hpp"

namespace ovrelin {
namespace {

// Clusters were numbered as they came up. Each is a run of the order, and gets the place of its
// run.
void finish(NdControl& control, std::int32_t n) {
    for (std::int32_t k = 0; k < n; ++k) control.inverseOrder[control.order[k]] = k;
    if (control.clusterOf == nullptr) return;
    std::int32_t run = -1;
    std::int32_t last = -1;
    for (std::int32_t k = 0; k < n; ++k) {
        std::int32_t& cluster = control.clusterOf[control.order[k]];
        if (cluster != last) ++run;
        last = cluster;
        cluster = run;
    }
}

}  // namespace

int ndOrder(MemoryPool* pool, NdControl& control, const NdGraphView& graph) {
    control.numDense = 0;
    control.numCluster = 0;
    if (control.context == nullptr) control.context = currentContext();
    if (graph.numVertex == 0) return ldl::ok;
    const std::int32_t n = graph.numVertex;
    NdWork work{pool, &control, NdRandom(control.seed), NdArena{}};
    if (!isOk(work.arena.make(pool, ndArenaWords(n)))) return ldl::noMemory;
    NdFrame frame(work.arena);
    NdReduction reduction{frame.take(n), frame.take(n)};
    if (frame.failed()) return ldl::mismatch;
    PoolArray<std::int8_t> waits;
    if (graph.waits != nullptr) {
        if (!isOk(waits.make(pool, static_cast<std::size_t>(n)))) return ldl::noMemory;
        reduction.waits = waits.data();
    }
    NdGraph kernel;
    LDL_TRY(ndReduce(work, graph, reduction, kernel));
    work.view = {kernel.numVertex, kernel.vertexBegin, kernel.adjacency, kernel.vertexWeight,
                 reduction.waits};
    work.place = frame.take(kernel.numVertex);
    if (frame.failed()) return ldl::mismatch;
    std::fill_n(work.place, kernel.numVertex, -1);
    LDL_TRY(ndRecurse(work, kernel));
    LDL_TRY(ndExpand(work, graph, reduction, kernel.numVertex));
    finish(control, n);
    return ldl::ok;
}

}  // namespace ovrelin
