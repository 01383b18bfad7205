#include "sparse/order/dissection/nd_matching.hpp"

#include <algorithm>
#include <numeric>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t none = -1;

// Counting sort by degree, stable, with all degrees from `cap` on taken for equal.
void sortByDegree(const NdGraph& graph, const std::int32_t* visit, std::int32_t cap,
                  std::int32_t* begin, std::int32_t* sorted) {
    const std::int32_t n = graph.numVertex;
    const auto bucket = [&](std::int32_t v) {
        return std::min(graph.vertexBegin[v + 1] - graph.vertexBegin[v], cap);
    };
    std::fill_n(begin, cap + 2, 0);
    for (std::int32_t v = 0; v < n; ++v) ++begin[bucket(v) + 1];
    std::partial_sum(begin, begin + cap + 2, begin);
    for (std::int32_t k = 0; k < n; ++k) sorted[begin[bucket(visit[k])]++] = visit[k];
}

class Matcher {
public:
    Matcher(const NdGraph& graph, std::int32_t weightLimit, const std::int32_t* visit,
            NdMatching& matching)
        : graph_(graph),
          weightLimit_(weightLimit),
          visit_(visit),
          matching_(matching),
          farEnd_(graph.numVertex - 1) {
        std::fill_n(matching.mate, graph.numVertex, none);
        matching.numCoarse = 0;
    }

    template <NdMatchingKind kind>
    void run() {
        for (std::int32_t k = 0; k < graph_.numVertex; ++k) {
            const std::int32_t v = visit_[k];
            if (matching_.mate[v] != none) continue;
            if (graph_.vertexBegin[v] == graph_.vertexBegin[v + 1]) {
                join(v, partnerOfIsolated(v));
            } else {
                join(v, kind == NdMatchingKind::random ? firstFree(v) : heaviestFree(v));
            }
        }
    }

private:
    void join(std::int32_t v, std::int32_t u) {
        const std::int32_t c = matching_.numCoarse++;
        matching_.leader[c] = v;
        matching_.mate[v] = u;
        matching_.mate[u] = v;
        graph_.coarseMap[v] = c;
        graph_.coarseMap[u] = c;
    }

    [[nodiscard]] std::int32_t firstFree(std::int32_t v) const {
        const std::int32_t room = weightLimit_ - graph_.vertexWeight[v];
        for (std::int32_t e = graph_.vertexBegin[v]; e < graph_.vertexBegin[v + 1]; ++e) {
            const std::int32_t u = graph_.adjacency[e];
            if (matching_.mate[u] == none && graph_.vertexWeight[u] <= room) return u;
        }
        return v;
    }

    [[nodiscard]] std::int32_t heaviestFree(std::int32_t v) const {
        const std::int32_t room = weightLimit_ - graph_.vertexWeight[v];
        std::int32_t best = v;
        std::int32_t bestWeight = 0;
        for (std::int32_t e = graph_.vertexBegin[v]; e < graph_.vertexBegin[v + 1]; ++e) {
            if (graph_.edgeWeight[e] <= bestWeight) continue;
            const std::int32_t u = graph_.adjacency[e];
            if (matching_.mate[u] != none || graph_.vertexWeight[u] > room) continue;
            best = u;
            bestWeight = graph_.edgeWeight[e];
        }
        return best;
    }

    // Isolated vertices would stay as they are on every level; joined to a vertex that has
    // neighbours, the one that would be visited last, they disappear.
    std::int32_t partnerOfIsolated(std::int32_t v) {
        const auto useless = [&](std::int32_t u) {
            return matching_.mate[u] != none || graph_.vertexBegin[u] == graph_.vertexBegin[u + 1];
        };
        while (farEnd_ >= 0 && useless(visit_[farEnd_])) --farEnd_;
        if (farEnd_ < 0) return v;
        const std::int32_t u = visit_[farEnd_];
        return graph_.vertexWeight[v] + graph_.vertexWeight[u] <= weightLimit_ ? u : v;
    }

    const NdGraph& graph_;
    std::int32_t weightLimit_;
    const std::int32_t* visit_;
    NdMatching& matching_;
    std::int32_t farEnd_;
};

}  // namespace

int ndMatch(NdWork& work, NdGraph& graph, NdMatchingKind kind, NdMatching& matching) {
    const std::int32_t n = graph.numVertex;
    const auto cap = static_cast<std::int32_t>(ndParameters.degreeCapShare * graph.numEdge / n);
    NdFrame frame(work.arena);
    std::int32_t* visit = frame.take(n);
    std::int32_t* scratch = frame.take(std::int64_t{n} + cap + 2);
    if (frame.failed()) return ldl::mismatch;
    const std::int32_t limit = work.control->maxVertexWeight;
    std::iota(visit, visit + n, 0);
    work.random.shuffleLocally(visit, n, scratch);
    if (kind == NdMatchingKind::random) {
        Matcher(graph, limit, visit, matching).run<NdMatchingKind::random>();
    } else {
        sortByDegree(graph, visit, cap, scratch + n, scratch);
        Matcher(graph, limit, scratch, matching).run<NdMatchingKind::heavyEdge>();
    }
    return ldl::ok;
}

}  // namespace ovrelin
