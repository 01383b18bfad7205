// The elimination under constraints: the vertices come in clusters, one after the other, and only
// those of the cluster whose turn it is may be chosen. The others take part as neighbours, with
// their degrees kept, so that each cluster is ordered with its surroundings in view.
#include <algorithm>
#include <utility>

#include "sparse/order/elimination.hpp"

namespace ovrelin {

std::size_t Elimination::clusterScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1) +
           Scratch::bytesFor<std::int32_t>(n);
}

void Elimination::eliminateByClusters(Scratch scratch) {
    const std::int32_t numCluster = options_.numCluster;
    std::int32_t* clusterBegin = scratch.take<std::int32_t>(std::int64_t{numCluster} + 1);
    std::int32_t* member = scratch.take<std::int32_t>(n_);
    std::fill_n(clusterBegin, std::int64_t{numCluster} + 1, 0);
    for (std::int32_t i = 0; i < n_; ++i) ++clusterBegin[options_.cluster[i]];
    std::int32_t total = 0;
    for (std::int32_t c = 0; c <= numCluster; ++c) total += std::exchange(clusterBegin[c], total);
    for (std::int32_t i = 0; i < n_; ++i) member[clusterBegin[options_.cluster[i]]++] = i;
    // Dense vertices, the last cluster, wait for the others and for bringBackDense.
    const std::int32_t last = numDense_ > 0 ? numCluster - 1 : numCluster;
    std::int32_t first = 0;
    for (turn_ = 0; turn_ < last; ++turn_) {
        eliminateCluster(member + first, member + clusterBegin[turn_]);
        first = clusterBegin[turn_];
    }
}

// A vertex merged into another of its cluster is eliminated with it; one without neighbours has
// been numbered already.
void Elimination::eliminateCluster(const std::int32_t* member, const std::int32_t* end) {
    std::int32_t target = numEliminated_;
    for (; member != end; ++member) {
        const std::int32_t i = *member;
        if (mark_[i] == 0) continue;
        ++target;
        if (weight_[i] > 0) lists_.add(i, firstScore(degree_[i]));
    }
    while (numEliminated_ < target) eliminate(lists_.takeLowest());
}

}  // namespace ovrelin
