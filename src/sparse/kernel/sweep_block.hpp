// The triangular solves on one block column of the factor, m x k with its k own rows first: the
// forward one, w_own = D^-1 L1^-1 w_own and w_below -= L2 L1^-1 w_own, and the backward one,
// w_own = L1^-T (w_own - L2' w_below). Both replay the interchanges between the columns.
//
// Columns go eight or four at a time where their pivots are plain, so that each entry of the vector
// is loaded and stored once for all of them, and a column waits for the one before in registers
// (which is why the loops over a group are unrolled); the first eight rows below stay in a register
// all the while. The functions are made to be inlined into the loop over the block columns: most of
// these are so narrow that a call would cost more than the work.
#pragma once

#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin::sweep {

/// Entries beyond the last one that a whole vector may touch.
inline constexpr std::int32_t readAhead = 8;

typedef std::int64_t Mask __attribute__((vector_size(32)));

/// A block column and its part of the vector. Whole vectors are read beyond the ends of `factor`
/// and `own`, and what stands behind `own` is written back as it was; behind `below` they find
/// room.
struct Part {
    std::int32_t m, k;
    const double* factor;
    const std::int32_t* pivot;  // [k]
    double* own;                // [k] of the vector itself
    double* below;  // [m - k + 8] gathered; the first eight stand in the register instead

    [[nodiscard]] const double* column(std::int32_t c) const {
        return factor + static_cast<std::int64_t>(c) * m;
    }
};

/// Keeps the first `count` lanes and clears the others, whatever stands there.
OV_INLINE void keepFirst(Whole& value, std::int32_t count) {
    typedef std::int64_t Index __attribute__((vector_size(64)));
    const Index lane = {0, 1, 2, 3, 4, 5, 6, 7};
    value.all = lane < std::int64_t{count} ? value.all : tile::VectorOf<8>::type{};
}

/// The first `count` lanes of `value`, the others of `rest`.
OV_INLINE void replaceFirst(const Four& value, std::int32_t count, Four& rest) {
    const Mask lane = {0, 1, 2, 3};
    rest = lane < std::int64_t{count} ? value : rest;
}

OV_INLINE void keepFirst(Halves& value, std::int32_t count) {
    const Mask lane = {0, 1, 2, 3};
    value.low = lane < std::int64_t{count} ? value.low : Four{};
    value.high = lane < std::int64_t{count} - 4 ? value.high : Four{};
}

/// (x[at[0]], .. x[at[7]])
template <class V>
OV_INLINE V gathered(const double* x, const std::int32_t* at) {
    if constexpr (std::is_same_v<V, Whole>)
        return {tile::VectorOf<8>::type{x[at[0]], x[at[1]], x[at[2]], x[at[3]], x[at[4]], x[at[5]],
                                        x[at[6]], x[at[7]]}};
    else
        return {Four{x[at[0]], x[at[1]], x[at[2]], x[at[3]]},
                Four{x[at[4]], x[at[5]], x[at[6]], x[at[7]]}};
}

OV_INLINE void fold(const Whole& value, Four& sum) {
    sum = __builtin_shufflevector(value.all, value.all, 0, 1, 2, 3) +
          __builtin_shufflevector(value.all, value.all, 4, 5, 6, 7);
}

OV_INLINE void fold(const Halves& value, Four& sum) {
    sum = value.low + value.high;
}

OV_INLINE double sumOf(const Four& value) {
    return (value[0] + value[1]) + (value[2] + value[3]);
}

/// True when the pivots are single and stand in place.
OV_INLINE bool inPlace(const std::int32_t* pivot, std::int32_t count, std::int32_t first = 0) {
    std::int32_t moved = 0;
    for (std::int32_t i = 0; i < count; ++i) moved |= pivot[i] ^ (first + i);
    return moved == 0;
}

/// w = D^-1 x for a 2x2 pivot. The system is divided by its off-diagonal entry, which dominates it,
/// so that nothing cancels or overflows before the result does.
OV_INLINE void dividePair(const double* d, std::int64_t step, const double* x, double* w) {
    const double t = d[1];
    const double a = d[0] / t, b = d[step] / t;
    const double e0 = x[0] / t, e1 = x[1] / t;
    const double denominator = a * b - 1;
    w[1] = (a * e1 - e0) / denominator;
    w[0] = (b * e0 - e1) / denominator;
}

/// Solves for the columns c .. c + group - 1 and takes them off the rows behind. With `pair` the
/// entry between the two columns belongs to D.
template <int group, bool pair, class V>
OV_INLINE void forwardGroup(const Part& part, std::int32_t c, V& top) {
    const double* column[group];
    double x[group];
    double* const own = part.own;
#pragma GCC unroll 8
    for (int i = 0; i < group; ++i) {
        column[i] = part.column(c + i);
        x[i] = own[c + i];
#pragma GCC unroll 8
        for (int j = 0; j < i && !pair; ++j) x[i] -= column[j][c + i] * x[j];
    }
    for (std::int32_t r = c + group; r < part.k; r += 4) {
        Four w = four(own + r);
        for (int i = 0; i < group; ++i) w -= four(column[i] + r) * x[i];
        replaceFirst(w, part.k - r, four(own + r));
    }
    for (int i = 0; i < group; ++i) top -= vectorAt<V>(column[i] + part.k) * x[i];
    const std::int32_t count = part.m - part.k;
    for (std::int32_t r = 8; r < count; r += 8) {
        V w = vectorAt<V>(part.below + r);
        for (int i = 0; i < group; ++i) w -= vectorAt<V>(column[i] + part.k + r) * x[i];
        vectorAt<V>(part.below + r) = w;
    }
    if constexpr (pair) {
        dividePair(column[0] + c, std::int64_t{part.m} + 1, x, own + c);
    } else if constexpr (group % 4 == 0) {
        for (int i = 0; i < group; i += 4) {
            const double* const* const d = column + i;
            const std::int32_t row = c + i;
            const Four result = Four{x[i], x[i + 1], x[i + 2], x[i + 3]} /
                                Four{d[0][row], d[1][row + 1], d[2][row + 2], d[3][row + 3]};
            four(own + row) = result;
        }
    } else {
        for (int i = 0; i < group; ++i) {
            own[c + i] = x[i] / column[i][c + i];
        }
    }
}

/// The same from the other side: the rows behind are taken off the columns c .. c + group - 1.
/// `top` is zero in the lanes that the rows below do not fill.
template <int group, bool pair, class V>
OV_INLINE void backwardGroup(const Part& part, std::int32_t c, const V& top) {
    const double* column[group];
    V wide[group];
    Four sum[group];
    double* const own = part.own;
    const std::int32_t count = part.m - part.k;
    for (int i = 0; i < group; ++i) {
        column[i] = part.column(c + i);
        wide[i] = vectorAt<V>(column[i] + part.k) * top;
        keepFirst(wide[i], count);
    }
    std::int32_t r = 8;
    for (; r + 8 <= count; r += 8)
        for (int i = 0; i < group; ++i)
            wide[i] += vectorAt<V>(column[i] + part.k + r) * vectorAt<V>(part.below + r);
    for (int i = 0; i < group && r < count; ++i) {
        V product = vectorAt<V>(column[i] + part.k + r) * vectorAt<V>(part.below + r);
        keepFirst(product, count - r);
        wide[i] += product;
    }
    for (int i = 0; i < group; ++i) fold(wide[i], sum[i]);
    // From the end, so that what waits for the columns just done comes last, here and below.
    r = c + group + ((part.k - c - group) & ~3);
    for (int i = 0; i < group && r < part.k; ++i) {
        Four product = {};
        replaceFirst(four(column[i] + r) * four(own + r), part.k - r, product);
        sum[i] += product;
    }
    for (r -= 4; r >= c + group; r -= 4)
        for (int i = 0; i < group; ++i) sum[i] += four(column[i] + r) * four(own + r);
    double x[group];
#pragma GCC unroll 8
    for (int i = group - 1; i >= 0; --i) {
        x[i] = own[c + i] - sumOf(sum[i]);
#pragma GCC unroll 8
        for (int j = group - 1; j > i && !pair; --j) x[i] -= column[i][c + j] * x[j];
    }
    if constexpr (group % 4 == 0) {
        // Stores of four, as the next group loads them together.
        for (int i = 0; i < group; i += 4) {
            const Four result = {x[i], x[i + 1], x[i + 2], x[i + 3]};
            four(own + c + i) = result;
        }
    } else {
        for (int i = 0; i < group; ++i) {
            own[c + i] = x[i];
        }
    }
}

template <class V>
OV_INLINE void forwardAny(const Part& part, std::int32_t& c, V& top) {
    const std::int32_t row = pivotRow(part.pivot[c]);
    if (isPair(part.pivot[c])) {
        std::swap(part.own[c + 1], part.own[row]);
        forwardGroup<2, true>(part, c, top);
        c += 2;
    } else {
        std::swap(part.own[c], part.own[row]);
        forwardGroup<1, false>(part, c, top);
        ++c;
    }
}

/// `top` holds the first eight rows below.
template <class V>
OV_INLINE void forward(const Part& part, V& top) {
    std::int32_t c = 0;
    while (c < part.k) {
        const std::int32_t left = part.k - c;
        if (left >= 8 && inPlace(part.pivot + c, 8, c)) {
            forwardGroup<8, false>(part, c, top);
            c += 8;
        } else if (left >= 4 && inPlace(part.pivot + c, 4, c)) {
            forwardGroup<4, false>(part, c, top);
            c += 4;
        } else if (left == 3 && inPlace(part.pivot + c, 3, c)) {
            return forwardGroup<3, false>(part, c, top);
        } else if (left == 2 && inPlace(part.pivot + c, 2, c)) {
            return forwardGroup<2, false>(part, c, top);
        } else {
            forwardAny(part, c, top);
        }
    }
}

template <class V>
OV_INLINE void backwardAny(const Part& part, std::int32_t& c, const V& top) {
    const std::int32_t last = c - 1;
    const std::int32_t row = pivotRow(part.pivot[last]);
    if (isPair(part.pivot[last])) {
        c -= 2;
        backwardGroup<2, true>(part, c, top);
    } else {
        --c;
        backwardGroup<1, false>(part, c, top);
    }
    std::swap(part.own[last], part.own[row]);
}

template <class V>
OV_INLINE void backward(const Part& part, const V& top) {
    std::int32_t c = part.k;
    while (c > 0) {
        if (c >= 8 && inPlace(part.pivot + c - 8, 8, c - 8)) {
            c -= 8;
            backwardGroup<8, false>(part, c, top);
        } else if (c >= 4 && inPlace(part.pivot + c - 4, 4, c - 4)) {
            c -= 4;
            backwardGroup<4, false>(part, c, top);
        } else if (c == 3 && inPlace(part.pivot, 3)) {
            return backwardGroup<3, false>(part, 0, top);
        } else if (c == 2 && inPlace(part.pivot, 2)) {
            return backwardGroup<2, false>(part, 0, top);
        } else {
            backwardAny(part, c, top);
        }
    }
}

}  // namespace ovrelin::sweep
