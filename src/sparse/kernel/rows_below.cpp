#include "sparse/kernel/rows_below.hpp"

#include <algorithm>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/pivot_block.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Columns solved one after the other between two products.
constexpr int32_t leafColumns = 8;
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

/// X L' = B by columns: X_c = B_c - sum over p < c of X_p L(c, p). Recursive halving turns most of
/// it into products. X overwrites B in `front`.
void solveUnit(int32_t count, int32_t cols, ConstBlock lower, Block front) {
    if (cols <= leafColumns) {
        for (int32_t c = 1; c < cols; ++c)
            subtractColumns(count, c, {front.data, front.ld}, lower.data + c, lower.ld,
                            at(front, 0, c));
        return;
    }
    const int32_t half = (cols / 2 + leafColumns - 1) / leafColumns * leafColumns;
    const Block right{at(front, 0, half), front.ld};
    solveUnit(count, half, lower, front);
    subtractProduct(count, cols - half, half, {front.data, front.ld}, {lower.data + half, lower.ld},
                    right);
    solveUnit(count, cols - half, {lower.data + half + half * lower.ld, lower.ld}, right);
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
    solveUnit(count, cols, {diagonal.data, diagonal.ld}, front);
    exchangePairEntries(cols, diagonal, pivot, kept);
    divideByPivots(count, cols, diagonal, pivot, front, scaled);
}

}  // namespace ovrelin
