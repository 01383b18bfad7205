#include "sparse/order/dissection/nd_edge_bisection.hpp"

#include <algorithm>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_edge_refine.hpp"

namespace ovrelin {
namespace {

// Part 0 grows breadth first from a random vertex while part 1 is too heavy.
class Growth {
public:
    Growth(NdWork& work, NdGraph& graph, std::int32_t* queue, std::int32_t* reached)
        : work_(work), graph_(graph), queue_(queue), reached_(reached) {}

    void run() {
        const std::int32_t n = graph_.numVertex;
        std::fill_n(graph_.part, n, 1);
        std::fill_n(reached_, n, 0);
        weight_[0] = 0;
        weight_[1] = graph_.totalWeight;
        const double least = work_.target[1] / work_.control->balanceFactor;
        std::int32_t first = 0;
        numReached_ = 0;
        while (weight_[1] > least) {
            if (first == numReached_ && !reachRandom()) break;
            const std::int32_t v = queue_[first++];
            // Passing over a heavy vertex leaves lighter ones to try; nothing is reached through
            // it.
            if (weight_[0] > 0 && weight_[1] - graph_.vertexWeight[v] < least) continue;
            shift(v, 0);
            reachNeighbours(v);
        }
        if (weight_[1] == 0) shift(work_.random.below(n), 1);
    }

private:
    void shift(std::int32_t v, int to) {
        graph_.part[v] = to;
        weight_[to] += graph_.vertexWeight[v];
        weight_[1 - to] -= graph_.vertexWeight[v];
    }

    void reach(std::int32_t v) {
        reached_[v] = 1;
        queue_[numReached_++] = v;
    }

    // The first one not yet reached from a random vertex on: a graph of many parts is asked for as
    // many vertices, and a fair choice would look at all of them each time.
    bool reachRandom() {
        const std::int32_t n = graph_.numVertex;
        if (numReached_ == n) return false;
        std::int32_t v = work_.random.below(n);
        while (reached_[v] != 0) v = v + 1 < n ? v + 1 : 0;
        reach(v);
        return true;
    }

    void reachNeighbours(std::int32_t v) {
        for (std::int32_t e = graph_.vertexBegin[v]; e < graph_.vertexBegin[v + 1]; ++e) {
            if (reached_[graph_.adjacency[e]] == 0) reach(graph_.adjacency[e]);
        }
    }

    NdWork& work_;
    NdGraph& graph_;
    std::int32_t* queue_;
    std::int32_t* reached_;
    std::int32_t numReached_ = 0;
    std::int32_t weight_[2] = {};
};

}  // namespace

int ndEdgeBisect(NdWork& work, NdGraph& graph) {
    const std::int32_t n = graph.numVertex;
    NdFrame frame(work.arena);
    std::int32_t* best = frame.take(n);
    std::int32_t* queue = frame.take(n);
    std::int32_t* reached = frame.take(n);
    if (frame.failed()) return ldl::mismatch;
    const std::int32_t numTries =
        n > work.control->coarsenTo ? ndParameters.numTriesLarge : ndParameters.numTries;
    std::int32_t bestCut = -1;
    for (std::int32_t k = 0; k < numTries && bestCut != 0; ++k) {
        Growth(work, graph, queue, reached).run();
        ndMeasureCut(graph);
        LDL_TRY(ndBalanceCut(work, graph));
        LDL_TRY(ndRefineCut(work, graph, ndParameters.edgePasses));
        if (bestCut >= 0 && graph.cutWeight >= bestCut) continue;
        bestCut = graph.cutWeight;
        std::copy_n(graph.part, n, best);
    }
    std::copy_n(best, n, graph.part);
    ndMeasureCut(graph);
    return ldl::ok;
}

}  // namespace ovrelin
