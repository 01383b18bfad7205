#include "sparse/order/dissection/nd_separator.hpp"

#include <algorithm>
#include <cstdlib>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/order/dissection/nd_queue.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

void measureDegrees(NdGraph& graph, std::int32_t v) {
    std::int32_t weight[3] = {};
    for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
        const std::int32_t u = graph.adjacency[e];
        weight[graph.part[u]] += graph.vertexWeight[u];
    }
    graph.separatorDegree[2 * v] = weight[0];
    graph.separatorDegree[2 * v + 1] = weight[1];
}

// What the separator loses when v goes to part `to`.
std::int32_t gainOf(const NdGraph& graph, std::int32_t v, int to) {
    return graph.vertexWeight[v] - graph.separatorDegree[2 * v + (1 - to)];
}

// Bounds |gain| over the separator as it stands; a gain that grows beyond later is clipped.
std::int32_t largestGain(const NdGraph& graph) {
    std::int32_t largest = 0;
    for (std::int32_t k = 0; k < graph.numBoundary; ++k) {
        const std::int32_t v = graph.boundary[k];
        largest = std::max(largest, graph.separatorDegree[2 * v] +
                                        graph.separatorDegree[2 * v + 1] + graph.vertexWeight[v]);
    }
    return largest;
}

std::int32_t imbalance(const NdGraph& graph) {
    return std::abs(graph.partWeight[0] - graph.partWeight[1]);
}

std::int32_t sumOfParts(const NdGraph& graph) {
    return graph.partWeight[0] + graph.partWeight[1] + graph.partWeight[ndSeparator];
}

// Moves between separator and parts, with queue_[p] holding the vertices that may go to part p.
class SeparatorMoves {
public:
    SeparatorMoves(NdWork& work, NdGraph& graph) : work_(work), graph_(graph), frame_(work.arena) {
        const std::int32_t n = graph.numVertex;
        const std::int32_t gain = largestGain(graph);
        queue_[0].make(frame_, n, gain);
        queue_[1].make(frame_, n, gain);
        visit_ = frame_.take(n);
        locked_ = frame_.take(n);
        move_ = frame_.take(n);
        pulledBegin_ = frame_.take(std::int64_t{n} + 1);
        pulled_ = frame_.take(2 * std::int64_t{n});
        if (!frame_.failed()) std::fill_n(locked_, n, 0);
    }

    [[nodiscard]] bool failed() const { return frame_.failed(); }

    /// One pass of refinement; false when the separator did not get better.
    bool refine() {
        open(true, true);
        const std::int32_t limit = heaviestAllowed();
        const std::int32_t stall = longestStall();
        const double startCost = ndSeparatorCost(graph_, work_.penalty);
        double bestCost = startCost;
        std::int32_t bestImbalance = imbalance(graph_);
        std::int32_t best = 0;
        while (count_ - best <= stall && pickMove(limit)) {
            const double cost = ndSeparatorCost(graph_, work_.penalty);
            const std::int32_t off = imbalance(graph_);
            if (cost < bestCost || (cost == bestCost && off < bestImbalance)) {
                bestCost = cost;
                bestImbalance = off;
                best = count_;
            } else if (cost > ndParameters.hopelessCost * bestCost) {
                break;
            }
        }
        undoTo(best);
        close();
        return bestCost < startCost;
    }

    /// Moves into the lighter part, without hill-climbing.
    void balance() {
        const int to = graph_.partWeight[0] < graph_.partWeight[1] ? 0 : 1;
        const int from = 1 - to;
        open(to == 0, to == 1);
        const std::int32_t limit = heaviestAllowed();
        while (!queue_[to].empty() && graph_.partWeight[to] <= graph_.partWeight[from]) {
            const std::int32_t v = queue_[to].top();
            // Once the heavier part is within its limit, only what costs nothing still moves.
            if (graph_.partWeight[from] < limit && gainOf(graph_, v, to) < 0) break;
            queue_[to].remove(v);
            if (graph_.partWeight[to] + graph_.vertexWeight[v] <= limit) moveTo(v, to);
        }
        close();
    }

private:
    [[nodiscard]] std::int32_t longestStall() const {
        const NdParameters& p = ndParameters;
        return work_.smallPiece
                   ? std::min(p.smallStallMost, p.smallStallFactor * graph_.numBoundary)
                   : std::min(p.separatorStallMost, p.separatorStallFactor * graph_.numBoundary);
    }

    [[nodiscard]] std::int32_t heaviestAllowed() const {
        return static_cast<std::int32_t>(work_.control->balanceFactor * 0.5 * sumOfParts(graph_));
    }

    void open(bool to0, bool to1) {
        const std::int32_t count = graph_.numBoundary;
        std::copy_n(graph_.boundary, count, visit_);
        work_.random.shuffle(visit_, count);
        for (std::int32_t k = 0; k < count; ++k) {
            const std::int32_t v = visit_[k];
            if (to0) queue_[0].insert(v, gainOf(graph_, v, 0));
            if (to1) queue_[1].insert(v, gainOf(graph_, v, 1));
        }
        count_ = 0;
        numPulled_ = 0;
    }

    void close() {
        for (std::int32_t k = 0; k < numMoved_; ++k) locked_[move_[k]] = 0;
        numMoved_ = 0;
        queue_[0].clear();
        queue_[1].clear();
    }

    // Makes the better of the two best moves that keeps the limit; false when there is none.
    bool pickMove(std::int32_t limit) {
        for (;;) {
            const bool may0 = !queue_[0].empty();
            const bool may1 = !queue_[1].empty();
            if (!may0 && !may1) return false;
            const int to = may0 && may1 ? preferredSide() : (may0 ? 0 : 1);
            const std::int32_t v = queue_[to].top();
            if (graph_.partWeight[to] + graph_.vertexWeight[v] <= limit) {
                queue_[to].remove(v);
                if (queue_[1 - to].contains(v)) queue_[1 - to].remove(v);
                moveTo(v, to);
                return true;
            }
            queue_[to].remove(v);
        }
    }

    int preferredSide() {
        const std::int32_t gain0 = gainOf(graph_, queue_[0].top(), 0);
        const std::int32_t gain1 = gainOf(graph_, queue_[1].top(), 1);
        if (gain0 != gain1) return gain0 > gain1 ? 0 : 1;
        return graph_.partWeight[0] <= graph_.partWeight[1] ? 0 : 1;
    }

    void moveTo(std::int32_t v, int to) {
        const int other = 1 - to;
        const std::int32_t w = graph_.vertexWeight[v];
        removeFromBoundary(graph_, v);
        graph_.part[v] = to;
        graph_.partWeight[to] += w;
        graph_.partWeight[ndSeparator] -= w;
        locked_[v] = 1;
        move_[count_] = v;
        pulledBegin_[count_] = numPulled_;
        numMoved_ = std::max(numMoved_, ++count_);
        for (std::int32_t e = graph_.vertexBegin[v]; e < graph_.vertexBegin[v + 1]; ++e) {
            const std::int32_t u = graph_.adjacency[e];
            if (graph_.part[u] == ndSeparator) {
                graph_.separatorDegree[2 * u + to] += w;
                if (queue_[other].contains(u)) queue_[other].update(u, gainOf(graph_, u, other));
            } else if (graph_.part[u] == other) {
                pullIn(u, to);
            }
        }
    }

    // A vertex that comes in from the other part may go on to part `to` in this pass, but not back.
    void pullIn(std::int32_t u, int to) {
        const int other = 1 - to;
        const std::int32_t w = graph_.vertexWeight[u];
        pulled_[numPulled_++] = u;
        addToBoundary(graph_, u);
        graph_.part[u] = ndSeparator;
        graph_.partWeight[other] -= w;
        graph_.partWeight[ndSeparator] += w;
        std::int32_t weight[3] = {};
        for (std::int32_t e = graph_.vertexBegin[u]; e < graph_.vertexBegin[u + 1]; ++e) {
            const std::int32_t x = graph_.adjacency[e];
            weight[graph_.part[x]] += graph_.vertexWeight[x];
            if (graph_.part[x] != ndSeparator) continue;
            graph_.separatorDegree[2 * x + other] -= w;
            if (queue_[to].contains(x)) queue_[to].update(x, gainOf(graph_, x, to));
        }
        graph_.separatorDegree[2 * u] = weight[0];
        graph_.separatorDegree[2 * u + 1] = weight[1];
        if (locked_[u] == 0) queue_[to].insert(u, gainOf(graph_, u, to));
    }

    void undoTo(std::int32_t count) {
        while (count_ > count) {
            const std::int32_t v = move_[--count_];
            const int from = graph_.part[v];
            takeBack(v, from);
            while (numPulled_ > pulledBegin_[count_]) pushOut(pulled_[--numPulled_], 1 - from);
        }
    }

    void takeBack(std::int32_t v, int from) {
        const std::int32_t w = graph_.vertexWeight[v];
        graph_.part[v] = ndSeparator;
        graph_.partWeight[from] -= w;
        graph_.partWeight[ndSeparator] += w;
        addToBoundary(graph_, v);
        std::int32_t weight[3] = {};
        for (std::int32_t e = graph_.vertexBegin[v]; e < graph_.vertexBegin[v + 1]; ++e) {
            const std::int32_t u = graph_.adjacency[e];
            weight[graph_.part[u]] += graph_.vertexWeight[u];
            if (graph_.part[u] == ndSeparator) graph_.separatorDegree[2 * u + from] -= w;
        }
        graph_.separatorDegree[2 * v] = weight[0];
        graph_.separatorDegree[2 * v + 1] = weight[1];
    }

    void pushOut(std::int32_t u, int to) {
        const std::int32_t w = graph_.vertexWeight[u];
        removeFromBoundary(graph_, u);
        graph_.part[u] = to;
        graph_.partWeight[to] += w;
        graph_.partWeight[ndSeparator] -= w;
        for (std::int32_t e = graph_.vertexBegin[u]; e < graph_.vertexBegin[u + 1]; ++e) {
            const std::int32_t x = graph_.adjacency[e];
            if (graph_.part[x] == ndSeparator) graph_.separatorDegree[2 * x + to] += w;
        }
    }

    NdWork& work_;
    NdGraph& graph_;
    NdFrame frame_;
    NdQueue queue_[2];
    std::int32_t* visit_;
    std::int32_t* locked_;       // [n] 1: moved in this pass
    std::int32_t* move_;         // [n] moved vertices
    std::int32_t* pulledBegin_;  // [n + 1] where the vertices that move k pulled in begin
    std::int32_t* pulled_;       // [2 n]
    std::int32_t count_ = 0;
    std::int32_t numPulled_ = 0;
    std::int32_t numMoved_ = 0;
};

}  // namespace

double ndSeparatorCost(const NdGraph& graph, double penalty) {
    const double off = imbalance(graph) / static_cast<double>(sumOfParts(graph));
    return graph.partWeight[ndSeparator] * (1.0 + penalty * off * off);
}

void ndSeparatorFromCut(NdGraph& graph) {
    for (std::int32_t k = 0; k < graph.numBoundary; ++k) {
        const std::int32_t v = graph.boundary[k];
        if (graph.vertexBegin[v] < graph.vertexBegin[v + 1]) graph.part[v] = ndSeparator;
    }
    ndMeasureSeparator(graph);
}

void ndMeasureSeparator(NdGraph& graph) {
    std::fill_n(graph.partWeight, 3, 0);
    graph.numBoundary = 0;
    for (std::int32_t v = 0; v < graph.numVertex; ++v) {
        graph.partWeight[graph.part[v]] += graph.vertexWeight[v];
        if (graph.part[v] != ndSeparator) continue;
        addToBoundary(graph, v);
        measureDegrees(graph, v);
    }
}

int ndBalance(NdWork& work, NdGraph& graph) {
    const double weight = sumOfParts(graph);
    const double off = imbalance(graph);
    if (off < (work.control->balanceFactor - 1.0) * weight) return ldl::ok;
    if (off < 3.0 * weight / graph.numVertex) return ldl::ok;
    SeparatorMoves moves(work, graph);
    if (moves.failed()) return ldl::mismatch;
    moves.balance();
    return ldl::ok;
}

int ndRefineSeparator(NdWork& work, NdGraph& graph, std::int32_t numPasses) {
    SeparatorMoves moves(work, graph);
    if (moves.failed()) return ldl::mismatch;
    for (std::int32_t k = 0; k < numPasses; ++k) {
        if (!moves.refine()) break;
    }
    return ldl::ok;
}

void ndProject(const NdGraph& graph) {
    NdGraph& finer = *graph.finer;
    for (std::int32_t v = 0; v < finer.numVertex; ++v) {
        finer.part[v] = graph.part[finer.coarseMap[v]];
    }
    ndMeasureSeparator(finer);
}

}  // namespace ovrelin
