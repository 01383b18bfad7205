#include "sparse/kernel/rows_below.hpp"

#include <algorithm>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/unit_solve.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Widest panel.
constexpr int32_t maxColumns = 128;

double* at(Block block, int32_t row, int32_t col) {
    return block.data + row + col * block.ld;
}

/// The entry below the first diagonal of a pair belongs to D; for L it counts as zero.
void exchangePairEntries(int32_t cols, Block diagonal, const int32_t* pivot, double* kept) {
    for (int32_t c = 0; c + 1 < cols; ++c) {
        if (!isPair(pivot[c])) continue;
        std::swap(*at(diagonal, c + 1, c), kept[c]);
        ++c;
    }
}

OV_CLONES void divideColumn(int64_t count, double inverse, double* front,
                            double* __restrict scaled) {
    for (int64_t r = 0; r < count; ++r) {
        scaled[r] = front[r];
        front[r] *= inverse;
    }
}

OV_CLONES void dividePair(int64_t count, PairInverse inverse, double* __restrict left,
                          double* __restrict right, double* __restrict scaledLeft,
                          double* __restrict scaledRight) {
    for (int64_t r = 0; r < count; ++r) {
        const double w0 = left[r];
        const double w1 = right[r];
        scaledLeft[r] = w0;
        scaledRight[r] = w1;
        inverse.apply(w0, w1, left[r], right[r]);
    }
}

void divideByPivots(int32_t count, int32_t cols, Block diagonal, const int32_t* pivot, Block front,
                    Block scaled) {
    for (int32_t c = 0; c < cols; ++c) {
        const double d = *at(diagonal, c, c);
        if (!isPair(pivot[c])) {
            divideColumn(count, 1 / d, at(front, 0, c), at(scaled, 0, c));
            continue;
        }
        const PairInverse inverse(d, *at(diagonal, c + 1, c), *at(diagonal, c + 1, c + 1));
        dividePair(count, inverse, at(front, 0, c), at(front, 0, c + 1), at(scaled, 0, c),
                   at(scaled, 0, c + 1));
        ++c;
    }
}

}  // namespace

void solveRowsBelow(int32_t count, int32_t cols, Block diagonal, const int32_t* pivot, Block front,
                    Block scaled) {
    double kept[maxColumns] = {};
    exchangePairEntries(cols, diagonal, pivot, kept);
    solveUnitLower(count, cols, {diagonal.data, diagonal.ld}, front);
    exchangePairEntries(cols, diagonal, pivot, kept);
    divideByPivots(count, cols, diagonal, pivot, front, scaled);
}

}  // namespace ovrelin
