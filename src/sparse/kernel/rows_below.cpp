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

/// The entry below the first diagonal of a pair belongs to D; for L it counts as zero.
void exchangePairEntries(int32_t cols, Block diagonal, const int32_t* pivot, double* kept) {
    for (int32_t c = 0; c + 1 < cols; ++c) {
        if (!isPair(pivot[c])) continue;
        std::swap(*diagonal.at(c + 1, c), kept[c]);
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
        const double d = *diagonal.at(c, c);
        if (!isPair(pivot[c])) {
            divideColumn(count, 1 / d, front.at(0, c), scaled.at(0, c));
            continue;
        }
        const PairInverse inverse(d, *diagonal.at(c + 1, c), *diagonal.at(c + 1, c + 1));
        dividePair(count, inverse, front.at(0, c), front.at(0, c + 1), scaled.at(0, c),
                   scaled.at(0, c + 1));
        ++c;
    }
}

}  // namespace

void solveRowsBelow(int32_t count, int32_t cols, Block diagonal, const int32_t* pivot, Block front,
                    Block scaled) {
    double kept[mostPanelColumns] = {};
    exchangePairEntries(cols, diagonal, pivot, kept);
    solveUnitLower(count, cols, diagonal, front);
    exchangePairEntries(cols, diagonal, pivot, kept);
    divideByPivots(count, cols, diagonal, pivot, front, scaled);
}

}  // namespace ovrelin
