// Takes what is not zero out of the columns of a dense block.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// Of each column c < k of a block of m rows the entries of the rows from c + 2 on that are not
/// zero, in order, column after column. `number` [m] tells what stands for a row in outIndex.
///
///   count   entries that stand in the outputs already
///   begin   [k + 1] at a distance of `stride`: where each column begins
///
/// Both outputs need room for count + m k entries.
void compressBelow(std::int32_t m, std::int32_t k, ConstBlock block, const std::int32_t* number,
                   std::int32_t count, std::int32_t* begin, std::int64_t stride, double* outValue,
                   std::int32_t* outIndex);

}  // namespace ovrelin
