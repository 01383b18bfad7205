#include "sparse/order/dissection/nd_components.hpp"

#include <algorithm>

#include "sparse/ldl_try.hpp"

namespace ovrelin {

void ndFindComponents(const NdGraph& graph, NdComponents& components) {
    constexpr std::int32_t unseen = -2;
    const std::int32_t n = graph.numVertex;
    std::fill_n(components.local, n, unseen);
    for (std::int32_t k = 0; k < graph.numBoundary; ++k) components.local[graph.boundary[k]] = -1;
    std::int32_t* list = components.list;
    std::int32_t end = 0;
    components.count = 0;
    for (std::int32_t root = 0; root < n; ++root) {
        if (components.local[root] != unseen) continue;
        const std::int32_t start = end;
        components.begin[components.count++] = start;
        list[end++] = root;
        components.local[root] = 0;
        for (std::int32_t first = start; first < end; ++first) {
            const std::int32_t v = list[first];
            for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
                const std::int32_t u = graph.adjacency[e];
                if (components.local[u] != unseen) continue;
                components.local[u] = end - start;
                list[end++] = u;
            }
        }
    }
    components.begin[components.count] = end;
}

int ndExtract(MemoryPool* pool, const NdGraph& graph, const NdComponents& components,
              std::int32_t c, NdGraph& piece) {
    const std::int32_t* list = components.list + components.begin[c];
    const std::int32_t n = components.begin[c + 1] - components.begin[c];
    std::int32_t room = 0;
    for (std::int32_t k = 0; k < n; ++k) {
        room += graph.vertexBegin[list[k] + 1] - graph.vertexBegin[list[k]];
    }
    LDL_TRY(makeNdGraph(pool, n, room, NdLabels::kept, piece));
    std::int32_t length = 0;
    for (std::int32_t k = 0; k < n; ++k) {
        const std::int32_t v = list[k];
        piece.vertexBegin[k] = length;
        piece.vertexWeight[k] = graph.vertexWeight[v];
        piece.totalWeight += graph.vertexWeight[v];
        piece.label[k] = graph.label[v];
        for (std::int32_t e = graph.vertexBegin[v]; e < graph.vertexBegin[v + 1]; ++e) {
            const std::int32_t u = components.local[graph.adjacency[e]];
            if (u >= 0) piece.adjacency[length++] = u;
        }
    }
    piece.vertexBegin[n] = length;
    closeEdgeList(piece, length);
    std::fill_n(piece.edgeWeight, length, 1);
    return ldl::ok;
}

}  // namespace ovrelin
