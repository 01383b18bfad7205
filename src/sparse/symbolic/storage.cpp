#include "sparse/symbolic/storage.hpp"

#include <algorithm>

namespace ovrelin {

void layOutBlocks(const SupernodePartition& partition, std::int64_t* rowBegin,
                  std::int64_t* valueBegin) {
    rowBegin[0] = 0;
    valueBegin[0] = 0;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        const std::int64_t k = partition.firstCol[s + 1] - partition.firstCol[s];
        const std::int64_t r = partition.numRows[s];
        rowBegin[s + 1] = rowBegin[s] + r;
        valueBegin[s + 1] = valueBegin[s] + k * r;
    }
}

UpdateSizes sequentialUpdateSizes(const SupernodePartition& partition, std::int32_t panelWidth) {
    std::int64_t widestUpdate = 0;
    UpdateSizes sizes{0, 0};
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        const std::int64_t k = partition.firstCol[s + 1] - partition.firstCol[s];
        const std::int64_t r = partition.numRows[s];
        widestUpdate = std::max(widestUpdate, r - k);
        sizes.scaledCopy = std::max(sizes.scaledCopy, r == k ? panelWidth * k : k * r);
    }
    sizes.update = wholeLines(widestUpdate * widestUpdate);
    return sizes;
}

}  // namespace ovrelin
