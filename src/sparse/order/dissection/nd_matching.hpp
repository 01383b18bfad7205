// Matchings: which vertices of a graph merge into one of the next coarser graph.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Coarse vertex c is made of leader[c] and mate[leader[c]], which are the same for a vertex that
/// stays single. Coarse vertices are numbered in the order in which the matching visits.
struct NdMatching {
    std::int32_t* mate;    // [numVertex]
    std::int32_t* leader;  // [numCoarse]
    std::int32_t numCoarse;
};

enum class NdMatchingKind {
    random,     // visits at random, takes the first neighbour that is free
    heavyEdge,  // visits by ascending degree, takes the free neighbour behind the heaviest edge
};

/// Fills `matching`, whose arrays the caller provides, and graph.coarseMap. No pair weighs more
/// than control.maxVertexWeight. Returns ldl::ok or ldl::mismatch.
[[nodiscard]] int ndMatch(NdWork& work, NdGraph& graph, NdMatchingKind kind, NdMatching& matching);

}  // namespace ovrelin
