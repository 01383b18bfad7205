// A narrow front in work: what its columns hold while they are eliminated, and how the next ones
// are brought up to date. The pivot step (narrow_block.cpp) decides what to do with them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "sparse/kernel/narrow_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin::narrow {

using std::int32_t;
using std::int64_t;

/// A front in work. Columns done stand in `scaled`, L D with the interchanges so far, and the own
/// rows of their L in `unit`. In the front itself L and D are stored once, when a column is
/// eliminated: later interchanges do not reach there.
///
/// Reading a vector soon after one of its entries was written by itself costs more than the whole
/// column: what is computed by entries therefore is kept apart from what is read in vectors, and
/// rows of `scaled` that belong to D may hold anything.
///
/// Nothing has been taken yet that reaches row `end`: what has been taken holds zeros from there
/// on, and so does the front in these columns.
template <class V>
struct Narrow {
    int32_t m, k;
    Block front, scaled;
    int32_t* pivot;
    const int32_t* reach;
    int32_t end;
    alignas(64) double unit[narrowColumns * narrowColumns];

    [[nodiscard]] double* given(int32_t c) const { return front.data + c * front.ld; }
    [[nodiscard]] double* column(int32_t c) const { return scaled.data + c * scaled.ld; }
    [[nodiscard]] double* unitColumn(int32_t c) { return unit + c * narrowColumns; }
    /// The rows that compete for a pivot.
    [[nodiscard]] int32_t ownEnd() const { return std::min(k, end); }
    /// Columns up to `last` come into play.
    void extend(int32_t last) {
        if (reach != nullptr) end = std::max(end, reach[last]);
    }
    /// Whether `following` columns of the front take what a whole vector holds beyond one's end.
    [[nodiscard]] bool hasRoom(int32_t following) const {
        return following * front.ld >= vectorWidth - 1;
    }
};

/// The columns of the remainder that are brought up to date together.
template <int count>
struct Target {
    const double* in[count];
    double* out[count];
    const double* coef[count];  // their rows of L
};

/// out = in - (L D)(:, 0:done) coef' in `vectors` whole vectors, the sums in registers. Two sums
/// for a single column keep the additions from waiting for one another.
template <int count, int vectors, class V>
OV_INLINE void reduceVectors(const Narrow<V>& work, int32_t done, const Target<count>& target,
                             int32_t start, int32_t begin) {
    V even[count][vectors], odd[count][vectors] = {};
    for (int i = 0; i < count; ++i)
        for (int v = 0; v < vectors; ++v)
            even[i][v] = vectorAt<V>(target.in[i] + begin + v * vectorWidth);
    const int64_t ld = work.scaled.ld;
    const double* left = work.column(start) + begin;
    int32_t c = start;
    int64_t at = start * narrowColumns;
    for (; c + 2 <= done; c += 2, at += 2 * narrowColumns, left += 2 * ld)
        for (int v = 0; v < vectors; ++v)
            for (int i = 0; i < count; ++i) {
                even[i][v] -= vectorAt<V>(left + v * vectorWidth) * target.coef[i][at];
                odd[i][v] -=
                    vectorAt<V>(left + ld + v * vectorWidth) * target.coef[i][at + narrowColumns];
            }
    if (c < done)
        for (int v = 0; v < vectors; ++v)
            for (int i = 0; i < count; ++i)
                even[i][v] -= vectorAt<V>(left + v * vectorWidth) * target.coef[i][at];
    for (int i = 0; i < count; ++i)
        for (int v = 0; v < vectors; ++v)
            vectorAt<V>(target.out[i] + begin + v * vectorWidth) = even[i][v] + odd[i][v];
}

/// The first of the columns done, in twos, where one of the rows that `coef` begin has an entry.
template <int count>
OV_INLINE int32_t firstActive(const double* const (&coef)[count], int32_t done) {
    int32_t c = 0;
    for (int64_t at = 0; c + 2 <= done; c += 2, at += 2 * narrowColumns) {
        int64_t bits = 0;
        for (int i = 0; i < count; ++i)
            bits |= std::bit_cast<int64_t>(coef[i][at]) |
                    std::bit_cast<int64_t>(coef[i][at + narrowColumns]);
        if (bits << 1 != 0) break;
    }
    return c;
}

/// From the vector of row `first` on.
template <int count, class V>
OV_INLINE void reduceColumns(const Narrow<V>& work, int32_t done, const Target<count>& target,
                             int32_t first) {
    const int32_t start = firstActive(target.coef, done);
    int32_t r = vectorBegin(first);
    for (; r + vectorWidth < work.end; r += 2 * vectorWidth)
        reduceVectors<count, 2>(work, done, target, start, r);
    if (r < work.end) reduceVectors<count, 1>(work, done, target, start, r);
    for (r = wholeVectors(work.end); r < work.m; r += vectorWidth)
        for (int i = 0; i < count; ++i) vectorAt<V>(target.out[i] + r) = V{};
}

/// Column j of the front, or a copy that whole vectors may be read from.
template <class V>
OV_INLINE const double* readable(const Narrow<V>& work, int32_t j) {
    const double* const in = work.given(j);
    if (work.hasRoom(work.k - 1 - j)) return in;
    double* const out = work.column(j);
    int32_t r = vectorBegin(j);
    for (; r + vectorWidth <= work.m; r += vectorWidth) vectorAt<V>(out + r) = vectorAt<V>(in + r);
    for (; r < work.m; ++r) out[r] = in[r];
    return out;
}

/// Brings the columns j .. j + count - 1 up to date but for one another.
template <int count, class V>
OV_INLINE void takeColumns(Narrow<V>& work, int32_t j) {
    work.extend(j + count - 1);
    Target<count> target;
    for (int i = 0; i < count; ++i)
        target.in[i] = readable(work, j + i), target.out[i] = work.column(j + i),
        target.coef[i] = work.unit + j + i;
    reduceColumns<count>(work, j, target, j);
}

}  // namespace ovrelin::narrow
