#include "sparse/order/dissection/nd_bisect.hpp"

#include <algorithm>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_coarsen.hpp"
#include "sparse/order/dissection/nd_edge_bisection.hpp"
#include "sparse/order/dissection/nd_separator.hpp"

namespace ovrelin {
namespace {

void setTargets(NdWork& work, const NdGraph& graph) {
    NdControl& control = *work.control;
    work.smallPiece = graph.numVertex < ndParameters.smallBelow;
    work.penalty = ndParameters.imbalancePenalty;
    work.target[0] = graph.totalWeight / 2;
    work.target[1] = graph.totalWeight - work.target[0];
    control.coarsenTo = std::clamp(graph.numVertex / ndParameters.coarsestShare,
                                   ndParameters.coarsestLeast, ndParameters.coarsestMost);
    control.maxVertexWeight = static_cast<std::int32_t>(ndParameters.vertexWeightSlack *
                                                        graph.totalWeight / control.coarsenTo);
}

// Makes `count` attempts and leaves `graph` with the cheapest separator met.
template <class Attempt>
int keepBest(NdWork& work, NdGraph& graph, std::int32_t count, Attempt attempt) {
    if (count == 1) return attempt(0);
    NdFrame frame(work.arena);
    std::int32_t* best = frame.take(graph.numVertex);
    if (frame.failed()) return ldl::mismatch;
    double bestCost = 0.0;
    for (std::int32_t k = 0; k < count; ++k) {
        LDL_TRY(attempt(k));
        const double cost = ndSeparatorCost(graph, work.penalty);
        if (k > 0 && cost >= bestCost) continue;
        bestCost = cost;
        std::copy_n(graph.part, graph.numVertex, best);
    }
    std::copy_n(best, graph.numVertex, graph.part);
    ndMeasureSeparator(graph);
    return ldl::ok;
}

int separate(NdWork& work, NdGraph& coarsest) {
    LDL_TRY(ndEdgeBisect(work, coarsest));
    ndSeparatorFromCut(coarsest);
    return ndRefineSeparator(work, coarsest, ndParameters.firstSeparatorPasses);
}

int improve(NdWork& work, NdGraph& graph) {
    if (work.stopped()) return ldl::stopped;
    LDL_TRY(ndBalance(work, graph));
    return ndRefineSeparator(work, graph, ndParameters.separatorPasses);
}

// From `level` back up to `start`, improving on each level and dropping the coarser ones.
int climb(NdWork& work, NdGraph* level, const NdGraph& start) {
    for (;;) {
        LDL_TRY(improve(work, *level));
        if (level == &start) return ldl::ok;
        ndProject(*level);
        level = level->finer;
        level->coarser.reset();
    }
}

int separateBelow(NdWork& work, NdGraph& start, std::int32_t numTries) {
    NdGraph* coarsest = nullptr;
    LDL_TRY(ndCoarsen(work, start, work.control->coarsenTo, &coarsest));
    LDL_TRY(keepBest(work, *coarsest, numTries,
                     [&](std::int32_t) { return separate(work, *coarsest); }));
    return climb(work, coarsest, start);
}

const NdPenalties& penaltiesFor(const NdGraph& graph) {
    const NdPenalties* kind = ndParameters.penalties;
    while (kind->upTo < 1.0 && graph.partWeight[ndSeparator] > kind->upTo * graph.totalWeight) {
        ++kind;
    }
    return *kind;
}

// The level in the middle has few vertices: trying there costs a small part of what the finest
// levels cost, and shows what the coarsest graph hides. Leaves the penalty for the way up from
// there.
int separateMiddle(NdWork& work, NdGraph& middle, std::int32_t numTries) {
    const NdPenalties* penalties = nullptr;
    const int code = keepBest(work, middle, numTries, [&](std::int32_t k) {
        work.penalty = k == 0 ? ndParameters.imbalancePenalty : penalties->second;
        const int outcome = separateBelow(work, middle, numTries);
        if (k == 0) penalties = &penaltiesFor(middle);
        work.penalty = penalties->choice;
        return outcome;
    });
    work.penalty = penalties->refinement;
    return code;
}

}  // namespace

int ndBisect(NdWork& work, NdGraph& graph) {
    setTargets(work, graph);
    const std::int32_t n = graph.numVertex;
    NdGraph* middle = nullptr;
    const std::int32_t goal = std::max(work.control->coarsenTo, n / ndParameters.middleShare);
    LDL_TRY(ndCoarsen(work, graph, goal, &middle));
    LDL_TRY(separateMiddle(work, *middle, n >= ndParameters.twiceFrom ? 2 : 1));
    if (middle == &graph) return ldl::ok;
    ndProject(*middle);
    NdGraph* next = middle->finer;
    next->coarser.reset();
    return climb(work, next, graph);
}

}  // namespace ovrelin
