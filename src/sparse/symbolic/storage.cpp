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

void coverFront(std::int64_t k, std::int64_t m, std::int64_t panelWidth, UpdateSizes& sizes) {
    const std::int64_t below = m - k;
    const auto vectors = [](std::int64_t rows) { return (rows + 7) / 8 * 8; };
    sizes.update = std::max(sizes.update, wholeLines(vectors(below) * std::min(below, panelWidth)));
    sizes.scaledCopy =
        std::max(sizes.scaledCopy, wholeLines(vectors(m) * std::min(k, panelWidth) + 8));
    // Of wider blocks a strip of the update has its own rows of all columns.
    sizes.scaledCopy =
        std::max(sizes.scaledCopy, wholeLines(vectors(std::min(below, panelWidth)) * k + 8));
}

UpdateSizes sequentialUpdateSizes(const SupernodePartition& partition, std::int32_t panelWidth) {
    UpdateSizes sizes{0, 0};
    for (std::int32_t s = 0; s < partition.numSuper; ++s)
        coverFront(partition.firstCol[s + 1] - partition.firstCol[s], partition.numRows[s],
                   panelWidth, sizes);
    return sizes;
}

}  // namespace ovrelin
