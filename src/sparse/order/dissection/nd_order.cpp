#include "sparse/order/dissection/nd_order.hpp"

#include <algorithm>

#include "sparse/order/dissection/nd_graph.hpp"
#include "sparse/order/dissection/nd_recurse.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

std::int32_t degreeOf(const NdGraphView& view, std::int32_t v) {
    return view.vertexBegin[v + 1] - view.vertexBegin[v];
}

// The mean counts as an integer, and not at all when that is 0.
double denseDegree(const NdControl& control, const NdGraphView& view) {
    const std::int32_t mean = view.vertexBegin[view.numVertex] / view.numVertex;
    return control.denseFactor * (mean > 0 ? mean : 1);
}

// Gives dense vertices the last positions, the first of them the very last, and numbers the others
// in newNumber, -1 for dense ones. Returns the sum of the degrees of the others.
std::int64_t setAsideDense(NdControl& control, const NdGraphView& view, std::int32_t* newNumber) {
    const std::int32_t n = view.numVertex;
    const double dense = denseDegree(control, view);
    std::int64_t keptDegrees = 0;
    std::int32_t numKept = 0;
    for (std::int32_t v = 0; v < n; ++v) {
        if (degreeOf(view, v) >= dense) {
            newNumber[v] = -1;
            control.order[n - 1 - control.numDense++] = v;
            if (control.clusterOf != nullptr) control.clusterOf[v] = 0;
        } else {
            newNumber[v] = numKept++;
            keptDegrees += degreeOf(view, v);
        }
    }
    control.numCluster = control.numDense > 0 ? 1 : 0;
    return keptDegrees;
}

// Edge entries between kept vertices: all, less those at dense ones, with those between two dense
// ones taken off once too often. A symmetric graph cannot have more.
std::int32_t edgeBound(const NdControl& control, const NdGraphView& view,
                       std::int64_t keptDegrees) {
    const std::int64_t all = view.vertexBegin[view.numVertex];
    const std::int64_t numDense = control.numDense;
    const std::int64_t kept = (numDense - 1) * numDense + 2 * keptDegrees - all;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(kept, 0, all));
}

int makeTop(NdWork& work, const NdGraphView& view, const std::int32_t* newNumber,
            std::int64_t keptDegrees, NdGraph& top) {
    const std::int32_t room = edgeBound(*work.control, view, keptDegrees);
    const int code =
        makeNdGraph(work.pool, view.numVertex - work.control->numDense, room, NdLabels::kept, top);
    if (code != ldl::ok) return code;
    std::int32_t length = 0;
    std::int32_t k = 0;
    for (std::int32_t v = 0; v < view.numVertex; ++v) {
        if (newNumber[v] < 0) continue;
        top.vertexBegin[k] = length;
        top.vertexWeight[k] = view.weight(v);
        top.totalWeight += top.vertexWeight[k];
        top.label[k++] = v;
        for (std::int32_t e = view.vertexBegin[v]; e < view.vertexBegin[v + 1]; ++e) {
            const std::int32_t u = newNumber[view.adjacency[e]];
            if (u < 0) continue;
            if (length == room) return ldl::mismatch;
            top.adjacency[length++] = u;
        }
    }
    top.vertexBegin[k] = length;
    closeEdgeList(top, length);
    std::fill_n(top.edgeWeight, length, 1);
    top.nextPosition = k - 1;
    return ldl::ok;
}

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
    NdWork work{pool, &control, NdRandom(control.seed), NdArena{}, &graph};
    if (!isOk(work.arena.make(pool, ndArenaWords(graph.numVertex)))) return ldl::noMemory;
    NdFrame frame(work.arena);
    work.place = frame.take(graph.numVertex);
    if (frame.failed()) return ldl::mismatch;
    PoolObject<NdGraph> top;
    if (!isOk(top.make(pool))) return ldl::noMemory;
    const std::int64_t keptDegrees = setAsideDense(control, graph, work.place);
    if (const int code = makeTop(work, graph, work.place, keptDegrees, *top); code != ldl::ok) {
        return code;
    }
    std::fill_n(work.place, graph.numVertex, -1);
    const int code = ndRecurse(work, std::move(top));
    if (code == ldl::ok) finish(control, graph.numVertex);
    return code;
}

}  // namespace ovrelin
