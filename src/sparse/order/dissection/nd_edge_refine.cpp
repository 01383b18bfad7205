#include "sparse/order/dissection/nd_edge_refine.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numeric>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/order/dissection/nd_queue.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

std::int32_t gainOf(const NdGraph& graph, std::int32_t v) {
    return graph.externalDegree[v] - graph.internalDegree[v];
}

bool belongsToBoundary(const NdGraph& graph, std::int32_t v) {
    return graph.externalDegree[v] > 0 || graph.vertexBegin[v] == graph.vertexBegin[v + 1];
}

// The largest |gain| that any vertex can have.
std::int32_t largestGain(const NdGraph& graph) {
    std::int32_t largest = 0;
    for (std::int32_t v = 0; v < graph.numVertex; ++v) {
        largest = std::max(largest, graph.externalDegree[v] + graph.internalDegree[v]);
    }
    return largest;
}

// Moves v across and keeps degrees, cut, weights and boundary in step; tells `touched` about every
// neighbour whose gain changed.
template <class Touched>
void moveAcross(NdGraph& graph, std::int32_t v, Touched touched) {
    const std::int32_t from = graph.part[v];
    const std::int32_t to = 1 - from;
    graph.cutWeight -= gainOf(graph, v);
    graph.part[v] = to;
    graph.partWeight[from] -= graph.vertexWeight[v];
    graph.partWeight[to] += graph.vertexWeight[v];
    std::swap(graph.internalDegree[v], graph.externalDegree[v]);
    if (graph.boundaryIndex[v] >= 0 && !belongsToBoundary(graph, v)) removeFromBoundary(graph, v);
    if (graph.boundaryIndex[v] < 0 && belongsToBoundary(graph, v)) addToBoundary(graph, v);
    for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
        const std::int32_t u = graph.adjacency[e];
        const std::int32_t change =
            graph.part[u] == to ? graph.edgeWeight[e] : -graph.edgeWeight[e];
        graph.internalDegree[u] += change;
        graph.externalDegree[u] -= change;
        const bool was = graph.boundaryIndex[u] >= 0;
        const bool is = belongsToBoundary(graph, u);
        if (was && !is) removeFromBoundary(graph, u);
        if (!was && is) addToBoundary(graph, u);
        touched(u);
    }
}

std::int32_t imbalance(const NdWork& work, const NdGraph& graph) {
    return std::abs(work.target[0] - graph.partWeight[0]);
}

// One pass of moves, each from the side with more weight above its target.
class CutPass {
public:
    CutPass(NdWork& work, NdGraph& graph) : work_(work), graph_(graph), frame_(work.arena) {
        const std::int32_t n = graph.numVertex;
        const std::int32_t gain = largestGain(graph);
        queue_[0].make(frame_, n, gain);
        queue_[1].make(frame_, n, gain);
        visit_ = frame_.take(n);
        moved_ = frame_.take(n);
        locked_ = frame_.take(n);
        stall_ = std::clamp(n / 100, ndParameters.edgeStallLeast, ndParameters.edgeStallMost);
        if (!frame_.failed()) std::fill_n(locked_, n, 0);
    }

    [[nodiscard]] bool failed() const { return frame_.failed(); }

    // False when nothing got better.
    bool run() {
        fillQueues();
        const std::int32_t startCut = graph_.cutWeight;
        std::int32_t bestCut = startCut;
        std::int32_t bestImbalance = imbalance(work_, graph_);
        std::int32_t best = 0;
        std::int32_t count = 0;
        while (count < graph_.numVertex && count - best <= stall_) {
            const std::int32_t v = takeNext();
            if (v < 0) break;
            moved_[count++] = v;
            locked_[v] = 1;
            moveAcross(graph_, v, [this](std::int32_t u) { refile(u); });
            const std::int32_t off = imbalance(work_, graph_);
            if (graph_.cutWeight < bestCut ||
                (graph_.cutWeight == bestCut && off < bestImbalance)) {
                bestCut = graph_.cutWeight;
                bestImbalance = off;
                best = count;
            }
        }
        finish(count, best);
        return best > 0 && bestCut < startCut;
    }

private:
    void fillQueues() {
        std::copy_n(graph_.boundary, graph_.numBoundary, visit_);
        work_.random.shuffle(visit_, graph_.numBoundary);
        for (std::int32_t k = 0; k < graph_.numBoundary; ++k) {
            queue_[graph_.part[visit_[k]]].insert(visit_[k], gainOf(graph_, visit_[k]));
        }
    }

    std::int32_t takeNext() {
        const std::int32_t over0 = graph_.partWeight[0] - work_.target[0];
        const std::int32_t over1 = graph_.partWeight[1] - work_.target[1];
        NdQueue& queue = queue_[over0 > over1 ? 0 : 1];
        return queue.empty() ? -1 : queue.pop();
    }

    void refile(std::int32_t u) {
        if (locked_[u] != 0) return;
        NdQueue& queue = queue_[graph_.part[u]];
        const bool inside = graph_.boundaryIndex[u] >= 0;
        if (!queue.contains(u)) {
            if (inside) queue.insert(u, gainOf(graph_, u));
        } else if (inside) {
            queue.update(u, gainOf(graph_, u));
        } else {
            queue.remove(u);
        }
    }

    void finish(std::int32_t count, std::int32_t best) {
        for (std::int32_t k = 0; k < count; ++k) locked_[moved_[k]] = 0;
        while (count > best) moveAcross(graph_, moved_[--count], [](std::int32_t) {});
        queue_[0].clear();
        queue_[1].clear();
    }

    NdWork& work_;
    NdGraph& graph_;
    NdFrame frame_;
    NdQueue queue_[2];
    std::int32_t* visit_;
    std::int32_t* moved_;
    std::int32_t* locked_;
    std::int32_t stall_;
};

bool needsBalance(const NdWork& work, const NdGraph& graph) {
    const std::int32_t weight = graph.partWeight[0] + graph.partWeight[1];
    if (imbalance(work, graph) < 3.0 * weight / graph.numVertex) return false;
    for (int side = 0; side < 2; ++side) {
        const std::int32_t has = graph.partWeight[side];
        const std::int32_t target = work.target[side];
        // Slightly too heavy is for the refinement to repair.
        if (has > target && has < target * work.control->balanceFactor) return false;
    }
    return true;
}

}  // namespace

void ndMeasureCut(NdGraph& graph) {
    graph.cutWeight = 0;
    graph.partWeight[0] = graph.partWeight[1] = graph.partWeight[ndSeparator] = 0;
    graph.numBoundary = 0;
    for (std::int32_t v = 0; v < graph.numVertex; ++v) {
        std::int32_t internal = 0;
        std::int32_t external = 0;
        for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
            const bool same = graph.part[graph.adjacency[e]] == graph.part[v];
            (same ? internal : external) += graph.edgeWeight[e];
        }
        graph.internalDegree[v] = internal;
        graph.externalDegree[v] = external;
        graph.cutWeight += external;
        graph.partWeight[graph.part[v]] += graph.vertexWeight[v];
        graph.boundaryIndex[v] = -1;
        if (belongsToBoundary(graph, v)) addToBoundary(graph, v);
    }
    graph.cutWeight /= 2;
}

int ndBalanceCut(NdWork& work, NdGraph& graph) {
    if (!needsBalance(work, graph)) return ldl::ok;
    const std::int32_t n = graph.numVertex;
    const int from = graph.partWeight[0] > work.target[0] ? 0 : 1;
    const int to = 1 - from;
    NdFrame frame(work.arena);
    NdQueue queue;
    queue.make(frame, n, largestGain(graph));
    std::int32_t* visit = frame.take(n);
    if (frame.failed()) return ldl::mismatch;
    const bool wholeSide = graph.numBoundary == 0;
    const std::int32_t count = wholeSide ? n : graph.numBoundary;
    if (wholeSide) {
        std::iota(visit, visit + n, 0);
    } else {
        std::copy_n(graph.boundary, count, visit);
    }
    work.random.shuffle(visit, count);
    for (std::int32_t k = 0; k < count; ++k) {
        const std::int32_t v = visit[k];
        if (graph.part[v] == from) queue.insert(v, gainOf(graph, v));
    }
    while (!queue.empty()) {
        const std::int32_t v = queue.pop();
        if (graph.partWeight[to] + graph.vertexWeight[v] > work.target[to]) break;
        moveAcross(graph, v, [&](std::int32_t u) {
            if (queue.contains(u)) {
                if (wholeSide || graph.boundaryIndex[u] >= 0) {
                    queue.update(u, gainOf(graph, u));
                } else {
                    queue.remove(u);
                }
            } else if (graph.part[u] == from && graph.boundaryIndex[u] >= 0) {
                queue.insert(u, gainOf(graph, u));
            }
        });
    }
    return ldl::ok;
}

int ndRefineCut(NdWork& work, NdGraph& graph, std::int32_t numPasses) {
    CutPass pass(work, graph);
    if (pass.failed()) return ldl::mismatch;
    for (std::int32_t k = 0; k < numPasses; ++k) {
        if (!pass.run()) break;
    }
    return ldl::ok;
}

}  // namespace ovrelin
