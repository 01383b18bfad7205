#include "sparse/order/dissection/nd_recurse.hpp"

#include <algorithm>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_bisect.hpp"
#include "sparse/order/dissection/nd_components.hpp"
#include "sparse/order/dissection/nd_leaf.hpp"
#include "sparse/order/dissection/nd_undivided.hpp"

namespace ovrelin {
namespace {

// Graphs that wait for their dissection. A list in place of recursive calls: a graph from which
// each separator cuts off little may be deep.
class Pending {
public:
    Pending() = default;
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;
    ~Pending() {
        while (!empty()) (void)pop();
    }

    [[nodiscard]] bool empty() const { return !first_; }
    void push(PoolObject<NdGraph> graph) {
        graph->nextPending = std::move(first_);
        first_ = std::move(graph);
    }
    PoolObject<NdGraph> pop() {
        PoolObject<NdGraph> graph = std::move(first_);
        first_ = std::move(graph->nextPending);
        return graph;
    }

private:
    PoolObject<NdGraph> first_;
};

class Recursion {
public:
    explicit Recursion(NdWork& work) : work_(work), control_(*work.control) {}

    // The whole graph, where it does not shrink, is for the caller to order; what is done of it
    // would be lost for the sake of a piece, so that a piece is ordered here.
    int run(NdGraph& top) {
        int code = top.numVertex < ndParameters.leafBelow ? splitWhole(top) : dissect(top);
        top.workBlock.reset();
        while (code == ldl::ok && !pending_.empty()) {
            PoolObject<NdGraph> graph = pending_.pop();
            code = dissect(*graph);
            if (code == ndNoCoarsening) code = placeUndivided(*graph);
        }
        return code;
    }

private:
    int dissect(NdGraph& graph) {
        if (work_.stopped()) return ldl::stopped;
        LDL_TRY(ndBisect(work_, graph));
        const std::int32_t cutOff = std::min(graph.partWeight[0], graph.partWeight[1]);
        const bool useless = cutOff < ndParameters.leastCut * graph.partWeight[ndSeparator];
        return useless ? placeUndivided(graph) : split(graph);
    }

    // No separator was taken from it: everything is in part 0.
    int splitWhole(NdGraph& top) {
        LDL_TRY(makeNdWorkArrays(work_.pool, top));
        std::fill_n(top.part, top.numVertex, 0);
        return split(top);
    }

    // Numbers the separator and the small components; the others go to the list.
    int split(NdGraph& graph) {
        const std::int32_t n = graph.numVertex;
        NdFrame frame(work_.arena);
        NdComponents components{};
        components.list = frame.take(n);
        components.begin = frame.take(std::int64_t{n} + 1);
        components.local = frame.take(n);
        if (frame.failed()) return ldl::mismatch;
        ndFindComponents(graph, components);
        // Only a balance factor of 2 or more lets one side have everything.
        if (components.count == 1 && components.begin[1] == n && n >= ndParameters.leafBelow) {
            return ndNoCoarsening;
        }
        if (graph.numBoundary > 0) {
            placeCluster(graph, graph.boundary, graph.numBoundary);
        }
        for (std::int32_t c = 0; c < components.count; ++c) {
            LDL_TRY(placeComponent(graph, components, c));
        }
        return ldl::ok;
    }

    int placeComponent(NdGraph& graph, const NdComponents& components, std::int32_t c) {
        const std::int32_t* list = components.list + components.begin[c];
        const std::int32_t count = components.begin[c + 1] - components.begin[c];
        if (count < ndParameters.leafBelow) {
            if (control_.leafMode != 0 || count == 1) {
                placeCluster(graph, list, count);
            } else {
                placeLeaf(graph, components, c);
            }
            return ldl::ok;
        }
        PoolObject<NdGraph> piece;
        if (!isOk(piece.make(work_.pool))) return ldl::noMemory;
        LDL_TRY(ndExtract(work_.pool, graph, components, c, *piece));
        piece->nextPosition = graph.nextPosition;
        graph.nextPosition -= count;
        pending_.push(std::move(piece));
        return ldl::ok;
    }

    void place(const NdGraph& graph, std::int32_t position, std::int32_t v) {
        const std::int32_t label = graph.label[v];
        control_.order[position] = label;
        if (control_.clusterOf != nullptr) control_.clusterOf[label] = control_.numCluster;
    }

    // Takes the highest positions that are left.
    void placeCluster(NdGraph& graph, const std::int32_t* list, std::int32_t count) {
        for (std::int32_t k = 0; k < count; ++k) place(graph, graph.nextPosition--, list[k]);
        ++control_.numCluster;
    }

    void placeLeaf(NdGraph& graph, const NdComponents& components, std::int32_t c) {
        const std::int32_t* list = components.list + components.begin[c];
        const std::int32_t count = components.begin[c + 1] - components.begin[c];
        std::int32_t elimination[ndParameters.leafBelow];
        ndLeafOrder(work_, {graph, list, count}, elimination);
        for (std::int32_t k = 0; k < count; ++k) elimination[k] = list[elimination[k]];
        placeOrdered(graph, elimination, count);
    }

    int placeUndivided(NdGraph& graph) {
        const std::int32_t n = graph.numVertex;
        NdFrame frame(work_.arena);
        std::int32_t* elimination = frame.take(n);
        if (frame.failed()) return ldl::mismatch;
        const int code = ndOrderUndivided(work_.pool, graph, elimination);
        if (code == ldl::ok) placeOrdered(graph, elimination, n);
        return code;
    }

    // The first of the list is eliminated first.
    void placeOrdered(NdGraph& graph, const std::int32_t* list, std::int32_t count) {
        graph.nextPosition -= count;
        for (std::int32_t k = 0; k < count; ++k) place(graph, graph.nextPosition + 1 + k, list[k]);
        ++control_.numCluster;
    }

    NdWork& work_;
    NdControl& control_;
    Pending pending_;
};

}  // namespace

int ndRecurse(NdWork& work, NdGraph& top) {
    return Recursion(work).run(top);
}

}  // namespace ovrelin
