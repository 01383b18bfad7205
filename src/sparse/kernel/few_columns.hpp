// The dense pivot step on fronts of three to seven columns. All that is decided is decided in the
// triangle, which is eliminated by itself, entry by entry; then the rows below follow in one go,
// all columns of a few rows in registers. few_columns.cpp picks the count.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/two_columns.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin::few {

/// Room for the most columns.
inline constexpr std::int32_t most = 8;

/// The triangle by rows, so that no loop over a column tempts the compiler into vectors of two or
/// three. Columns done hold L with all interchanges so far.
struct Triangle {
    std::int32_t k;
    double entry[most * most];
    double inverse[most];  // the diagonal of D^-1
    double above[most];    // D^-1's entry that goes with the next column, 0 but in pairs
    double below[most];    // and with the one before
    std::int32_t order[most];
    bool hasPairs;

    OV_INLINE double& at(std::int32_t r, std::int32_t c) { return entry[r * most + c]; }
};

OV_INLINE void load(Triangle& t, const double* front, std::int64_t m) {
    for (std::int32_t c = 0; c < t.k; ++c) {
        t.order[c] = c;
        t.above[c] = t.below[c] = 0;
        for (std::int32_t r = c; r < t.k; ++r) t.at(r, c) = front[c * m + r];
    }
}

/// Exchanges rows and columns p < q of the remainder, and the rows of what is done.
OV_INLINE void interchange(Triangle& t, std::int32_t p, std::int32_t q) {
    std::swap(t.order[p], t.order[q]);
    for (std::int32_t c = 0; c < p; ++c) std::swap(t.at(p, c), t.at(q, c));
    std::swap(t.at(p, p), t.at(q, q));
    for (std::int32_t r = p + 1; r < q; ++r) std::swap(t.at(r, p), t.at(q, r));
    for (std::int32_t r = q + 1; r < t.k; ++r) std::swap(t.at(r, p), t.at(r, q));
}

struct Choice {
    std::int32_t row;  // swapped with the last column of the pivot
    bool pair, small;
};

/// Bunch and Kaufman's choice at j.
OV_INLINE Choice choose(Triangle& t, std::int32_t j, const PivotRule& rule) {
    const double size = std::fabs(t.at(j, j));
    double colMax = 0, rowMax = 0;
    std::int32_t row = j;
    for (std::int32_t r = j + 1; r < t.k; ++r) {
        const double rival = std::fabs(t.at(r, j));
        row = rival > colMax ? r : row;
        colMax = std::max(colMax, rival);
    }
    if (std::max(size, colMax) <= rule.tolerance) return {j, false, true};
    if (!(size < rule.alpha * colMax)) return {j, false, false};
    for (std::int32_t r = j; r < row; ++r) rowMax = std::max(rowMax, std::fabs(t.at(row, r)));
    for (std::int32_t r = row + 1; r < t.k; ++r) rowMax = std::max(rowMax, std::fabs(t.at(r, row)));
    if (size >= rule.alpha * colMax * (colMax / rowMax)) return {j, false, false};
    const double least = std::max(rule.tolerance, rule.alpha * rowMax);
    return {row, !(std::fabs(t.at(row, row)) >= least), false};
}

/// Takes column j off the remainder and leaves L in its place, in the front too.
OV_INLINE void eliminate(Triangle& t, std::int32_t j, double d, double* front, std::int64_t m) {
    const double inverse = 1 / d;
    double* const out = front + j * m;
    out[j] = d;
    t.inverse[j] = inverse;
    for (std::int32_t c = j + 1; c < t.k; ++c) {
        const double l = t.at(c, j) * inverse;
        for (std::int32_t r = c; r < t.k; ++r) t.at(r, c) -= t.at(r, j) * l;
        out[c] = l;
    }
    for (std::int32_t r = j + 1; r < t.k; ++r) t.at(r, j) = out[r];
}

OV_INLINE void eliminatePair(Triangle& t, std::int32_t j, double* front, std::int64_t m) {
    const double d11 = t.at(j, j), d21 = t.at(j + 1, j), d22 = t.at(j + 1, j + 1);
    const PairInverse inverse(d11, d21, d22);
    double* const left = front + j * m;
    double* const right = left + m;
    left[j] = d11, left[j + 1] = d21, right[j + 1] = d22;
    t.at(j + 1, j) = 0;
    t.inverse[j] = inverse.scale * inverse.a;
    t.inverse[j + 1] = inverse.scale * inverse.b;
    t.above[j] = t.below[j + 1] = -inverse.scale;
    t.hasPairs = true;
    for (std::int32_t c = j + 2; c < t.k; ++c) {
        double l0, l1;
        inverse.apply(t.at(c, j), t.at(c, j + 1), l0, l1);
        for (std::int32_t r = c; r < t.k; ++r) t.at(r, c) -= t.at(r, j) * l0 + t.at(r, j + 1) * l1;
        left[c] = l0, right[c] = l1;
    }
    for (std::int32_t r = j + 2; r < t.k; ++r) t.at(r, j) = left[r], t.at(r, j + 1) = right[r];
}

OV_INLINE void factorTriangle(Triangle& t, double* front, std::int64_t m, const PivotRule& rule,
                              std::int32_t* pivot, std::int32_t* numPerturbed) {
    for (std::int32_t j = 0; j < t.k;) {
        const Choice choice = choose(t, j, rule);
        const std::int32_t last = choice.pair ? j + 1 : j;
        if (choice.row != last) interchange(t, last, choice.row);
        if (choice.pair) {
            pivot[j] = pivot[j + 1] = ~choice.row;
            eliminatePair(t, j, front, m);
        } else {
            pivot[j] = choice.row;
            const double d = t.at(j, j);
            eliminate(t, j, choice.small ? replaceSmall(d, rule, numPerturbed) : d, front, m);
        }
        j = last + 1;
    }
}

/// Row r and those behind it, as many as a vector has entries.
template <int k, int width>
OV_INLINE void followRows(Triangle& t, std::int32_t r, double* front, std::int64_t m,
                          double* scaled, std::int64_t ld) {
    using Vector = typename tile::VectorOf<width>::type;
    Vector x[k];
    for (int c = 0; c < k; ++c) x[c] = *reinterpret_cast<Vector*>(front + t.order[c] * m + r);
    for (int c = 0; c < k; ++c) {
        for (int i = c + 1; i < k; ++i) x[i] -= x[c] * t.at(i, c);
        *reinterpret_cast<Vector*>(scaled + c * ld + r) = x[c];
    }
    if (!t.hasPairs) {
        for (int c = 0; c < k; ++c)
            *reinterpret_cast<Vector*>(front + c * m + r) = x[c] * t.inverse[c];
        return;
    }
    for (int c = 0; c < k; ++c) {
        Vector out = x[c] * t.inverse[c];
        if (c + 1 < k) out += x[c + 1] * t.above[c];
        if (c > 0) out += x[c - 1] * t.below[c];
        *reinterpret_cast<Vector*>(front + c * m + r) = out;
    }
}

template <int k>
OV_INLINE void factor(std::int32_t m, double* front, double* scaled, std::int64_t ld,
                      const PivotRule& rule, std::int32_t* pivot, std::int32_t* numPerturbed) {
    Triangle t;
    t.k = k;
    t.hasPairs = false;
    load(t, front, m);
    factorTriangle(t, front, m, rule, pivot, numPerturbed);
    std::int32_t r = k;
    if (tile::hasWideRegisters())
        for (; r + 8 <= m; r += 8) followRows<k, 8>(t, r, front, m, scaled, ld);
    for (; r + 4 <= m; r += 4) followRows<k, 4>(t, r, front, m, scaled, ld);
    const std::int32_t left = m - r;
    if ((left & 2) != 0) followRows<k, 2>(t, r, front, m, scaled, ld), r += 2;
    if ((left & 1) != 0) followRows<k, 1>(t, r, front, m, scaled, ld);
}

}  // namespace ovrelin::few
