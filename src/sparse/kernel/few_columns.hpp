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
    double entry[most * most];
    double inverse[most];  // the diagonal of D^-1
    double above[most];    // D^-1's entry that goes with the next column, 0 but in pairs
    double below[most];    // and with the one before
    std::int32_t order[most];
    bool hasPairs;

    OV_INLINE double& at(std::int32_t r, std::int32_t c) { return entry[r * most + c]; }
};

template <int k>
OV_INLINE void load(Triangle& t, const double* front, std::int64_t m) {
    t.hasPairs = false;
    for (int c = 0; c < k; ++c) {
        t.order[c] = c;
        t.above[c] = t.below[c] = 0;
        for (int r = c; r < k; ++r) t.at(r, c) = front[c * m + r];
    }
}

struct Choice {
    std::int32_t row;  // swapped with the last column of the pivot
    bool pair;
};

/// Exchanges rows and columns p < q of the remainder, and the rows of what is done.
template <int k>
OV_INLINE void interchange(Triangle& t, std::int32_t p, std::int32_t q) {
    std::swap(t.order[p], t.order[q]);
    for (std::int32_t c = 0; c < p; ++c) std::swap(t.at(p, c), t.at(q, c));
    std::swap(t.at(p, p), t.at(q, q));
    for (std::int32_t r = p + 1; r < q; ++r) std::swap(t.at(r, p), t.at(q, r));
    for (std::int32_t r = q + 1; r < k; ++r) std::swap(t.at(r, p), t.at(r, q));
}

/// Bunch and Kaufman's choice at j, when the diagonal entry does not dominate its column.
template <int k, int j>
OV_INLINE Choice chooseRival(Triangle& t, double size, double colMax, const PivotRule& rule) {
    std::int32_t row = j + 1;
    while (row < k - 1 && std::fabs(t.at(row, j)) != colMax) ++row;
    double rowMax = 0;
    for (std::int32_t r = j; r < row; ++r) rowMax = std::max(rowMax, std::fabs(t.at(row, r)));
    for (std::int32_t r = row + 1; r < k; ++r) rowMax = std::max(rowMax, std::fabs(t.at(r, row)));
    if (size >= rule.alpha * colMax * (colMax / rowMax)) return {j, false};
    const double least = std::max(rule.tolerance, rule.alpha * rowMax);
    return {row, !(std::fabs(t.at(row, row)) >= least)};
}

/// Takes column j off the remainder and leaves L in its place, in the front too.
template <int k, int j>
OV_INLINE void eliminate(Triangle& t, double d, double* front, std::int64_t m) {
    const double inverse = 1 / d;
    double* const out = front + j * m;
    out[j] = d;
    t.inverse[j] = inverse;
    double l[most];
    for (int c = j + 1; c < k; ++c) {
        l[c] = t.at(c, j) * inverse;
        for (int r = c; r < k; ++r) t.at(r, c) -= t.at(r, j) * l[c];
        out[c] = l[c];
    }
    for (int r = j + 1; r < k; ++r) t.at(r, j) = l[r];
}

template <int k, int j>
OV_INLINE void eliminatePair(Triangle& t, double* front, std::int64_t m) {
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
    for (int c = j + 2; c < k; ++c) {
        double l0, l1;
        inverse.apply(t.at(c, j), t.at(c, j + 1), l0, l1);
        for (int r = c; r < k; ++r) t.at(r, c) -= t.at(r, j) * l0 + t.at(r, j + 1) * l1;
        left[c] = l0, right[c] = l1;
    }
    for (int r = j + 2; r < k; ++r) t.at(r, j) = left[r], t.at(r, j + 1) = right[r];
}

/// The pivot at j; returns its columns.
template <int k, int j>
OV_INLINE int step(Triangle& t, double* front, std::int64_t m, const PivotRule& rule,
                   std::int32_t* pivot, std::int32_t* numPerturbed) {
    const double size = std::fabs(t.at(j, j));
    double colMax = 0;
    for (int r = j + 1; r < k; ++r) colMax = std::max(colMax, std::fabs(t.at(r, j)));
    pivot[j] = j;
    if constexpr (j + 1 < k) {
        if (size < rule.alpha * colMax && colMax > rule.tolerance) {
            const Choice choice = chooseRival<k, j>(t, size, colMax, rule);
            if (choice.pair) {
                if (choice.row != j + 1) interchange<k>(t, j + 1, choice.row);
                pivot[j] = pivot[j + 1] = ~choice.row;
                eliminatePair<k, j>(t, front, m);
                return 2;
            }
            if (choice.row != j) interchange<k>(t, j, choice.row);
            pivot[j] = choice.row;
        }
    }
    double d = t.at(j, j);
    if (std::max(size, colMax) <= rule.tolerance) d = replaceSmall(d, rule, numPerturbed);
    eliminate<k, j>(t, d, front, m);
    return 1;
}

template <int k, int... j>
OV_INLINE void factorTriangle(std::integer_sequence<int, j...>, Triangle& t, double* front,
                              std::int64_t m, const PivotRule& rule, std::int32_t* pivot,
                              std::int32_t* numPerturbed) {
    int next = 0;
    ((next == j ? static_cast<void>(next += step<k, j>(t, front, m, rule, pivot, numPerturbed))
                : void()),
     ...);
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
    load<k>(t, front, m);
    factorTriangle<k>(std::make_integer_sequence<int, k>(), t, front, m, rule, pivot, numPerturbed);
    std::int32_t r = k;
    if (tile::hasWideRegisters())
        for (; r + 8 <= m; r += 8) followRows<k, 8>(t, r, front, m, scaled, ld);
    for (; r + 4 <= m; r += 4) followRows<k, 4>(t, r, front, m, scaled, ld);
    const std::int32_t left = m - r;
    if ((left & 2) != 0) followRows<k, 2>(t, r, front, m, scaled, ld), r += 2;
    if ((left & 1) != 0) followRows<k, 1>(t, r, front, m, scaled, ld);
}

}  // namespace ovrelin::few
