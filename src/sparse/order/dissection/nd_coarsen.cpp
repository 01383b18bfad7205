#include "sparse/order/dissection/nd_coarsen.hpp"

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/order/dissection/nd_contract.hpp"
#include "sparse/order/dissection/nd_matching.hpp"

namespace ovrelin {
namespace {

int addLevel(NdWork& work, NdGraph& fine, NdMatchingKind kind) {
    if (fine.part == nullptr) {
        LDL_TRY(makeNdWorkArrays(work.pool, fine));
    }
    NdFrame frame(work.arena);
    NdMatching matching{};
    matching.mate = frame.take(fine.numVertex);
    matching.leader = frame.take(fine.numVertex);
    if (frame.failed()) return ldl::mismatch;
    LDL_TRY(ndMatch(work, fine, kind, matching));
    return ndContract(work, fine, matching);
}

bool shrankEnough(const NdGraph& fine, const NdGraph& coarse) {
    return coarse.numVertex < ndParameters.leastShrink * fine.numVertex;
}

bool worthAnotherLevel(const NdGraph& graph, std::int32_t goal) {
    if (graph.finer == nullptr) return true;
    return graph.numVertex > goal && shrankEnough(*graph.finer, graph) &&
           graph.numVertex / 2 < graph.numEdge;
}

bool stalls(const NdGraph& top) {
    return top.finer == nullptr && !shrankEnough(top, *top.coarser) &&
           top.numEdge / top.numVertex < ndParameters.stallDegree;
}

}  // namespace

int ndCoarsen(NdWork& work, NdGraph& start, std::int32_t goal, NdGraph** coarsest) {
    NdGraph* graph = &start;
    while (worthAnotherLevel(*graph, goal)) {
        if (work.stopped()) return ldl::stopped;
        const bool isTop = graph->finer == nullptr;
        LDL_TRY(addLevel(work, *graph, isTop ? NdMatchingKind::random : NdMatchingKind::heavyEdge));
        if (stalls(*graph)) {
            graph->coarser.reset();
            return ndNoCoarsening;
        }
        graph = graph->coarser.get();
    }
    *coarsest = graph;
    return graph->part != nullptr ? ldl::ok : makeNdWorkArrays(work.pool, *graph);
}

}  // namespace ovrelin
