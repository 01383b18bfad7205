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

/// The update matrix of a block with b rows below its diagonal block is b x b. A block without rows
/// below still scales panels of up to `panelWidth` columns.
[[nodiscard]] UpdateSizes sequentialUpdateSizes(const SupernodePartition& partition,
                                                std::int32_t panelWidth);

/// True when `count` items of `size` bytes are beyond 64-bit sizes.
[[nodiscard]] inline bool exceedsAddressing(double count, double size) {
    return count * size >= 18446744073709551616.0;
}

}  // namespace ovrelin
