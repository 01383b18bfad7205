// The dense pivot step on fronts of one and of two columns, most fronts of a very sparse matrix:
// all that is decided is decided from scalars. few_columns.cpp picks the count.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

/// What stands for a pivot at or below the tolerance: the tolerance with the pivot's own sign.
OV_INLINE double replaceSmall(double pivot, const PivotRule& rule, std::int32_t* numPerturbed) {
    if (std::fabs(pivot) > rule.tolerance) return pivot;
    ++*numPerturbed;
    return std::copysign(rule.tolerance, pivot == 0 ? 1.0 : pivot);
}

/// One column.
OV_INLINE void factorColumn(std::int32_t m, double* front, double* scaled, const PivotRule& rule,
                            std::int32_t* pivot, std::int32_t* numPerturbed) {
    pivot[0] = 0;
    front[0] = replaceSmall(front[0], rule, numPerturbed);
    const double inverse = 1 / front[0];
    for (std::int32_t r = 1; r < m; ++r) {
        scaled[r] = front[r];
        front[r] *= inverse;
    }
}

/// D and L of two columns, the first of which takes `factor` times off the second before L = L D
/// D^-1: the inverse is (p 0; 0 s) for single pivots, (p q; q s) for a pair.
struct TwoPivots {
    double factor, p, q, s;
};

/// The rows below, first = column `left` and second = column `right` of the front.
template <int width>
OV_INLINE void divideTwo(const TwoPivots& by, const double* left, const double* right, double* out0,
                         double* out1, double* scaled0, double* scaled1) {
    using Vector = typename tile::VectorOf<width>::type;
    const Vector first = *reinterpret_cast<const Vector*>(left);
    const Vector second = *reinterpret_cast<const Vector*>(right) - first * by.factor;
    *reinterpret_cast<Vector*>(scaled0) = first;
    *reinterpret_cast<Vector*>(scaled1) = second;
    *reinterpret_cast<Vector*>(out0) = first * by.p + second * by.q;
    *reinterpret_cast<Vector*>(out1) = first * by.q + second * by.s;
}

/// Two columns; the whole choice is made from the three entries of their triangle.
OV_INLINE void factorTwoColumns(std::int32_t m, double* front, double* scaled, std::int64_t ld,
                                const PivotRule& rule, std::int32_t* pivot,
                                std::int32_t* numPerturbed) {
    double d = front[0], e = front[m + 1];
    const double off = front[1], rival = std::fabs(off);
    const bool small = std::max(std::fabs(d), rival) <= rule.tolerance;
    const bool swapped = !small && std::fabs(d) < rule.alpha * rival;
    const double* left = front;
    const double* right = front + m;
    if (swapped) std::swap(d, e), std::swap(left, right);
    TwoPivots by{};
    if (swapped && !(std::fabs(d) >= std::max(rule.tolerance, rule.alpha * rival))) {
        std::swap(d, e), std::swap(left, right);
        const PairInverse inverse(d, off, e);
        by = {0, inverse.scale * inverse.a, -inverse.scale, inverse.scale * inverse.b};
        pivot[0] = pivot[1] = ~1;
        front[1] = off;
    } else {
        d = small ? replaceSmall(d, rule, numPerturbed) : d;
        by.p = 1 / d;
        by.factor = off * by.p;
        e = replaceSmall(e - off * by.factor, rule, numPerturbed);
        by.s = 1 / e;
        pivot[0] = swapped ? 1 : 0;
        pivot[1] = 1;
        front[1] = by.factor;
    }
    front[0] = d;
    front[m + 1] = e;
    std::int32_t r = 2;
    const std::int32_t wide = tile::hasWideRegisters() ? m : 0;
    for (; r + 8 <= wide; r += 8)
        divideTwo<8>(by, left + r, right + r, front + r, front + m + r, scaled + r,
                     scaled + ld + r);
    for (; r + 4 <= m; r += 4)
        divideTwo<4>(by, left + r, right + r, front + r, front + m + r, scaled + r,
                     scaled + ld + r);
    for (; r < m; ++r)
        divideTwo<1>(by, left + r, right + r, front + r, front + m + r, scaled + r,
                     scaled + ld + r);
}

}  // namespace ovrelin
