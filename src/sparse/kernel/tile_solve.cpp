#include "sparse/kernel/tile_solve.hpp"

#include <algorithm>

#include "linalg/blas.hpp"
#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/unit_solve.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Calls single(c) or pair(c) for every pivot.
template <class Single, class Pair>
void eachPivot(int32_t k, const int32_t* pivot, Single single, Pair pair) {
    for (int32_t c = 0; c < k; ++c) {
        if (!isPair(pivot[c])) {
            single(c);
        } else {
            pair(c);
            ++c;
        }
    }
}

/// Calls swap(first, second, row) for every interchange, in the order in which they were made:
/// pivot column `first` begins the pivot, `second` is the column that changed places with `row`.
template <class Swap>
void eachInterchange(int32_t k, const int32_t* pivot, Swap swap) {
    const auto visit = [&](int32_t first, int32_t second) {
        const int32_t row = pivotRow(pivot[second]);
        if (row != second) swap(first, second, row);
    };
    eachPivot(
        k, pivot, [&](int32_t c) { visit(c, c); }, [&](int32_t c) { visit(c, c + 1); });
}

OV_CLONES void multiply(int64_t count, double factor, double* __restrict x) {
    for (int64_t r = 0; r < count; ++r) x[r] *= factor;
}

OV_CLONES void scaleTo(int64_t count, double factor, const double* __restrict x,
                       double* __restrict out) {
    for (int64_t r = 0; r < count; ++r) out[r] = x[r] * factor;
}

OV_CLONES void dividePair(int64_t count, PairInverse inverse, double* __restrict left,
                          double* __restrict right) {
    for (int64_t r = 0; r < count; ++r) {
        const double w0 = left[r];
        const double w1 = right[r];
        inverse.apply(w0, w1, left[r], right[r]);
    }
}

OV_CLONES void scalePairTo(int64_t count, const double* d, double d22,
                           const double* __restrict left, const double* __restrict right,
                           double* __restrict outLeft, double* __restrict outRight) {
    const double d11 = d[0], d21 = d[1];
    for (int64_t r = 0; r < count; ++r) {
        outLeft[r] = left[r] * d11 + right[r] * d21;
        outRight[r] = left[r] * d21 + right[r] * d22;
    }
}

}  // namespace

void prepareDiagonal(int32_t k, ConstBlock diagonal, const int32_t* pivot, double* prepared) {
    const Block copy{prepared, k};
    for (int32_t c = 0; c < k; ++c)
        std::copy(diagonal.at(c + 1, c), diagonal.at(k, c), copy.at(c + 1, c));
    // The entry below the first diagonal of a pair belongs to D.
    eachPivot(
        k, pivot, [](int32_t) {}, [&](int32_t c) { *copy.at(c + 1, c) = 0; });
    eachInterchange(k, pivot, [&](int32_t first, int32_t second, int32_t row) {
        dswap_(&first, prepared + second, &k, prepared + row, &k);
    });
}

void solveTile(int32_t count, int32_t k, const double* prepared, ConstBlock diagonal,
               const int32_t* pivot, Block tile) {
    eachInterchange(k, pivot, [&](int32_t, int32_t second, int32_t row) {
        std::swap_ranges(tile.at(0, second), tile.at(count, second), tile.at(0, row));
    });
    solveUnitLower(count, k, {prepared, k}, tile);
    eachPivot(
        k, pivot, [&](int32_t c) { multiply(count, 1 / *diagonal.at(c, c), tile.at(0, c)); },
        [&](int32_t c) {
            const double* d = diagonal.at(c, c);
            dividePair(count, PairInverse(d[0], d[1], d[diagonal.ld + 1]), tile.at(0, c),
                       tile.at(0, c + 1));
        });
}

void scaleByPivots(int32_t count, int32_t k, ConstBlock lower, ConstBlock diagonal,
                   const int32_t* pivot, Block out) {
    eachPivot(
        k, pivot,
        [&](int32_t c) { scaleTo(count, *diagonal.at(c, c), lower.at(0, c), out.at(0, c)); },
        [&](int32_t c) {
            const double* d = diagonal.at(c, c);
            scalePairTo(count, d, d[diagonal.ld + 1], lower.at(0, c), lower.at(0, c + 1),
                        out.at(0, c), out.at(0, c + 1));
        });
}

}  // namespace ovrelin
