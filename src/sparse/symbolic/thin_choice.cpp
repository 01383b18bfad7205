#include "sparse/symbolic/thin_choice.hpp"

#include <algorithm>
#include <limits>

namespace ovrelin {

namespace {

using std::int64_t;

/// What a sweep pays, in units of an entry that it takes one by one: on the dense way a fifth of
/// that an entry, but something for each column, for each row that is gathered and for the block.
constexpr double denseEntryCost = 0.2;
constexpr double denseColumnCost = 2;
constexpr double denseRowCost = 1.5;
constexpr double denseBlockCost = 15;

/// Interchanges fill a block up; beyond so much more than its columns had, further blocks stay
/// dense.
constexpr double spare = 1.25;

}  // namespace

int64_t chooseThinBlocks(const SupernodePartition& partition, const std::int32_t* count,
                         std::int8_t* candidate) {
    int64_t entries = 0, largest = 0;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        const std::int32_t first = partition.firstCol[s], end = partition.firstCol[s + 1];
        const int64_t k = end - first, m = partition.numRows[s];
        int64_t own = 0;
        for (std::int32_t j = first; j < end; ++j) own += count[j] - 1;
        const int64_t trapezoid = k * m - k * (k + 1) / 2;
        const double dense = denseBlockCost + denseRowCost * static_cast<double>(m) +
                             denseColumnCost * static_cast<double>(k) +
                             denseEntryCost * static_cast<double>(trapezoid);
        candidate[s] = static_cast<double>(own) < dense ? 1 : 0;
        if (candidate[s] == 0) continue;
        entries += own;
        largest = std::max(largest, k * m);
    }
    if (largest == 0) return 0;
    const double room = spare * static_cast<double>(entries) + static_cast<double>(largest);
    return room < std::numeric_limits<std::int32_t>::max() ? static_cast<int64_t>(room) : 0;
}

}  // namespace ovrelin
