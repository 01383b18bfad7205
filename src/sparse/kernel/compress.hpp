// Takes what is not zero out of a column of a dense block.
#pragma once

#include <bit>
#include <cstdint>

namespace ovrelin {

/// The entries column[begin .. end) that are not zero, in order; `number` tells what stands for a
/// row in outIndex. Returns their count. Both outputs need room for all and for one more.
inline std::int32_t compressColumn(std::int32_t begin, std::int32_t end, const double* column,
                                   const std::int32_t* number, double* outValue,
                                   std::int32_t* outIndex) {
    std::int32_t count = 0;
    // Every entry is written, and the next one takes the place of a zero, of either sign.
    for (std::int32_t r = begin; r < end; ++r) {
        outIndex[count] = number[r];
        outValue[count] = column[r];
        count += (std::bit_cast<std::int64_t>(column[r]) << 1) != 0 ? 1 : 0;
    }
    return count;
}

}  // namespace ovrelin
