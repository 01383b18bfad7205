#include "sparse/kernel/compress.hpp"

#include <bit>

namespace ovrelin {

using std::int32_t;
using std::int64_t;

void compressBelow(int32_t m, int32_t k, ConstBlock block, const int32_t* number, int32_t count,
                   int32_t* begin, int64_t stride, double* outValue, int32_t* outIndex) {
    for (int32_t c = 0; c < k; ++c) {
        begin[c * stride] = count;
        const double* const column = block.data + c * block.ld;
        // Every entry is written, and the next one takes the place of a zero, of either sign.
        for (int32_t r = c + 2; r < m; ++r) {
            outIndex[count] = number[r];
            outValue[count] = column[r];
            count += (std::bit_cast<int64_t>(column[r]) << 1) != 0 ? 1 : 0;
        }
    }
    begin[k * stride] = count;
}

}  // namespace ovrelin
