// Each coarse list is merged with the help of a table that says where in the list an edge to some
// vertex stands. Places only grow from list to list, so an entry below the start of the current
// list is an old one, and the table is never cleared.
#include "sparse/order/dissection/nd_contract.hpp"

#include <algorithm>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/ldl_try.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t slotMask = ndParameters.hashSlots - 1;
// With more edges than this a list could fill the slots.
constexpr std::int32_t hashListLimit = ndParameters.hashSlots * 3 / 4;

class Contraction {
public:
    Contraction(const NdGraph& fine, NdGraph& coarse, const NdMatching& matching,
                std::int32_t* table, std::int32_t* slots)
        : fine_(fine), coarse_(coarse), matching_(matching), table_(table), slots_(slots) {}

    void run() {
        std::fill_n(table_, matching_.numCoarse, -1);
        if (slots_ != nullptr) std::fill_n(slots_, ndParameters.hashSlots, -1);
        std::int32_t total = 0;
        for (std::int32_t c = 0; c < matching_.numCoarse; ++c) {
            coarse_.vertexBegin[c] = length_;
            coarse_.vertexWeight[c] = mergePair(c);
            total += coarse_.vertexWeight[c];
        }
        coarse_.vertexBegin[matching_.numCoarse] = length_;
        coarse_.totalWeight = total;
        closeEdgeList(coarse_, length_);
    }

private:
    [[nodiscard]] std::int32_t degree(std::int32_t v) const {
        return fine_.vertexBegin[v + 1] - fine_.vertexBegin[v];
    }

    // The weight of the pair.
    std::int32_t mergePair(std::int32_t c) {
        const std::int32_t v = matching_.leader[c];
        const std::int32_t u = matching_.mate[v];
        start_ = length_;
        if (slots_ != nullptr && degree(v) + degree(u) <= hashListLimit) {
            mergeHashed(v, c);
            if (u != v) mergeHashed(u, c);
        } else {
            mergeDirect(v, c);
            if (u != v) mergeDirect(u, c);
        }
        return fine_.vertexWeight[v] + (u != v ? fine_.vertexWeight[u] : 0);
    }

    void append(std::int32_t to, std::int32_t weight) {
        coarse_.adjacency[length_] = to;
        coarse_.edgeWeight[length_] = weight;
        ++length_;
    }

    void mergeDirect(std::int32_t v, std::int32_t c) {
        for (std::int32_t e = fine_.vertexBegin[v]; e < fine_.vertexBegin[v + 1]; ++e) {
            const std::int32_t to = fine_.coarseMap[fine_.adjacency[e]];
            if (to == c) continue;
            const std::int32_t place = table_[to];
            if (place >= start_) {
                coarse_.edgeWeight[place] += fine_.edgeWeight[e];
            } else {
                table_[to] = length_;
                append(to, fine_.edgeWeight[e]);
            }
        }
    }

    void mergeHashed(std::int32_t v, std::int32_t c) {
        for (std::int32_t e = fine_.vertexBegin[v]; e < fine_.vertexBegin[v + 1]; ++e) {
            const std::int32_t to = fine_.coarseMap[fine_.adjacency[e]];
            if (to == c) continue;
            std::int32_t slot = to & slotMask;
            while (slots_[slot] >= start_ && coarse_.adjacency[slots_[slot]] != to) {
                slot = (slot + 1) & slotMask;
            }
            if (slots_[slot] >= start_) {
                coarse_.edgeWeight[slots_[slot]] += fine_.edgeWeight[e];
            } else {
                slots_[slot] = length_;
                append(to, fine_.edgeWeight[e]);
            }
        }
    }

    const NdGraph& fine_;
    NdGraph& coarse_;
    const NdMatching& matching_;
    std::int32_t* table_;
    std::int32_t* slots_;
    std::int32_t start_ = 0;
    std::int32_t length_ = 0;
};

bool wantsHashing(const NdGraph& fine, std::int32_t numCoarse) {
    return numCoarse >= ndParameters.directTableBelow &&
           fine.numEdge / fine.numVertex <= ndParameters.directTableDegree;
}

}  // namespace

int ndContract(NdWork& work, NdGraph& fine, const NdMatching& matching) {
    if (!isOk(fine.coarser.make(work.pool))) return ldl::noMemory;
    NdGraph& coarse = *fine.coarser;
    LDL_TRY(makeNdGraph(work.pool, matching.numCoarse, fine.numEdge, NdLabels::none, coarse));
    coarse.finer = &fine;
    NdFrame frame(work.arena);
    std::int32_t* table = frame.take(matching.numCoarse);
    std::int32_t* slots =
        wantsHashing(fine, matching.numCoarse) ? frame.take(ndParameters.hashSlots) : nullptr;
    if (frame.failed()) return ldl::mismatch;
    Contraction(fine, coarse, matching, table, slots).run();
    return ldl::ok;
}

}  // namespace ovrelin
