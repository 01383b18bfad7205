// Where each supernode's block lies, and how much scratch the sequential factorisation needs.
#pragma once

#include <cstdint>

#include "sparse/symbolic/supernodes.hpp"

namespace ovrelin {

/// Running sums over the supernodes: rowBegin of the rows, valueBegin of columns times rows, both
/// [numSuper + 1].
void layOutBlocks(const SupernodePartition& partition, std::int64_t* rowBegin,
                  std::int64_t* valueBegin);

/// Rounded up to whole cache lines of the largest kind.
[[nodiscard]] constexpr std::int64_t wholeLines(std::int64_t doubles) {
    return (doubles + 31) / 32 * 32;
}

/// Doubles of the update matrix and of the copy of a block scaled by D.
struct UpdateSizes {
    std::int64_t update;
    std::int64_t scaledCopy;
};

/// Widens the sizes for a block of k columns and m rows. The update is formed in strips of up to
/// `panelWidth` columns, and of L D no more columns are kept: the whole matrices would double the
/// memory of a factor whose root is large.
void coverFront(std::int64_t k, std::int64_t m, std::int64_t panelWidth, UpdateSizes& sizes);

/// What the largest of all blocks needs.
[[nodiscard]] UpdateSizes sequentialUpdateSizes(const SupernodePartition& partition,
                                                std::int32_t panelWidth);

/// True when `count` items of `size` bytes are beyond 64-bit sizes.
[[nodiscard]] inline bool exceedsAddressing(double count, double size) {
    return count * size >= 18446744073709551616.0;
}

}  // namespace ovrelin
