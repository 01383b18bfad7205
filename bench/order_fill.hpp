// What an order costs: entries and operations of the factor, from the column counts of L.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "sparse/symbolic/column_counts.hpp"
#include "sparse/symbolic/elimination_tree.hpp"

namespace bench {

struct OrderFill {
    double numEntries = 0;  // of L with its diagonal
    double operations = 0;  // sum of c (c - 1) over the column counts
};

/// `order` leads from position to vertex; the graph has no loops.
inline OrderFill measureOrder(const std::vector<std::int32_t>& begin,
                              const std::vector<std::int32_t>& adjacency,
                              std::vector<std::int32_t> order) {
    using namespace ovrelin;
    const auto n = static_cast<std::int32_t>(order.size());
    std::vector<std::int32_t> inverse(order.size()), parent(order.size()), post(order.size()),
        count(order.size());
    for (std::size_t k = 0; k < order.size(); ++k)
        inverse[static_cast<std::size_t>(order[k])] = static_cast<std::int32_t>(k);
    std::vector<std::byte> memory(std::max(
        {eliminationTreeScratchBytes(n), postorderScratchBytes(n), columnCountsScratchBytes(n)}));
    const Scratch scratch(memory.data(), memory.size());
    const PermutedPattern matrix{{n, begin.data(), adjacency.data()}, order.data(), inverse.data()};
    eliminationTree(matrix, parent.data(), scratch);
    postorderTree(n, parent.data(), post.data(), scratch);
    applyPostorder(n, post.data(), parent.data(), order.data(), inverse.data(), scratch);
    std::vector<std::int64_t> lowerBegin(order.size() + 1);
    static_cast<void>(
        columnCounts(matrix, parent.data(), count.data(), lowerBegin.data(), scratch));
    const CountSums sums = sumCounts(n, count.data());
    return {sums.lowerEntries + n, sums.flops};
}

}  // namespace bench
