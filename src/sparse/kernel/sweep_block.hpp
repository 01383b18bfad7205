// The triangular solves on one block column of the factor, m x k with its k own rows first: the
// forward one, w_own = L1^-1 w_own and w_below -= L2 w_own, and the backward one,
// w_own = L1^-T (w_own - L2' w_below). Both replay the interchanges between the columns.
//
// Columns go four at a time where their pivots are plain, so that each entry of the vector is
// loaded and stored once for four columns. The functions are made to be inlined into the loop over
// the block columns: most of these are so narrow that a call would cost more than the work.
#pragma once

#include <cstdint>
#include <utility>

#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin::sweep {

/// Entries beyond the last one of a factor, and of `below`, that a whole vector may still touch.
inline constexpr std::int32_t readAhead = 8;

/// A block column and its part of the vector. Both parts of the vector are gathered with room at
/// their ends, for whole vectors: `own` for k + 4 entries, `below` for m - k + 8. What stands there
/// is overwritten and never used.
struct Part {
    std::int32_t m, k;
    const double* factor;
    const std::int32_t* pivot;  // [k]
    double* own;
    double* below;
};

/// Keeps the first `count` lanes and clears the others, whatever stands there.
OV_INLINE void keepFirst(Eight& value, std::int32_t count) {
    typedef std::int64_t Index __attribute__((vector_size(64)));
    const Index lane = {0, 1, 2, 3, 4, 5, 6, 7};
    value = lane < std::int64_t{count} ? value : Eight{};
}

OV_INLINE void keepFirst(Four& value, std::int32_t count) {
    typedef std::int64_t Index __attribute__((vector_size(32)));
    const Index lane = {0, 1, 2, 3};
    value = lane < std::int64_t{count} ? value : Four{};
}

OV_INLINE void fold(const Eight& value, Four& sum) {
    sum = __builtin_shufflevector(value, value, 0, 1, 2, 3) +
          __builtin_shufflevector(value, value, 4, 5, 6, 7);
}

OV_INLINE double sumOf(const Four& value) {
    return (value[0] + value[1]) + (value[2] + value[3]);
}

/// True when the pivots are single and stand in place; at most four of them.
OV_INLINE bool inPlace(const std::int32_t* pivot, std::int32_t count, std::int32_t first = 0) {
    std::int32_t moved = 0;
    for (std::int32_t i = 0; i < count; ++i) moved |= pivot[i] ^ (first + i);
    return moved == 0;
}

/// Solves for the columns c .. c + group - 1 and takes them off the rows behind. With `pair` the
/// entry between the two columns belongs to D.
template <int group, bool pair>
OV_INLINE void forwardGroup(const Part& part, std::int32_t c) {
    const double* column[group];
    double x[group];
    for (int i = 0; i < group; ++i) {
        column[i] = part.factor + static_cast<std::int64_t>(c + i) * part.m;
        x[i] = part.own[c + i];
        for (int j = 0; j < i && !pair; ++j) x[i] -= column[j][c + i] * x[j];
        part.own[c + i] = x[i];
    }
    for (std::int32_t r = c + group; r < part.k; r += 4) {
        Four w = four(part.own + r);
        for (int i = 0; i < group; ++i) w -= four(column[i] + r) * x[i];
        four(part.own + r) = w;
    }
    const std::int32_t count = part.m - part.k;
    for (std::int32_t r = 0; r < count; r += 8) {
        Eight w = eight(part.below + r);
        for (int i = 0; i < group; ++i) w -= eight(column[i] + part.k + r) * x[i];
        eight(part.below + r) = w;
    }
}

/// The same from the other side: the rows behind are taken off the columns c .. c + group - 1.
template <int group, bool pair>
OV_INLINE void backwardGroup(const Part& part, std::int32_t c) {
    const double* column[group];
    Eight wide[group] = {};
    Four sum[group];
    for (int i = 0; i < group; ++i)
        column[i] = part.factor + static_cast<std::int64_t>(c + i) * part.m;
    const std::int32_t count = part.m - part.k;
    std::int32_t r = 0;
    for (; r + 8 <= count; r += 8)
        for (int i = 0; i < group; ++i)
            wide[i] += eight(column[i] + part.k + r) * eight(part.below + r);
    for (int i = 0; i < group && r < count; ++i) {
        Eight product = eight(column[i] + part.k + r) * eight(part.below + r);
        keepFirst(product, count - r);
        wide[i] += product;
    }
    for (int i = 0; i < group; ++i) fold(wide[i], sum[i]);
    for (r = c + group; r + 4 <= part.k; r += 4)
        for (int i = 0; i < group; ++i) sum[i] += four(column[i] + r) * four(part.own + r);
    for (int i = 0; i < group && r < part.k; ++i) {
        Four product = four(column[i] + r) * four(part.own + r);
        keepFirst(product, part.k - r);
        sum[i] += product;
    }
    double x[group];
    for (int i = group - 1; i >= 0; --i) {
        x[i] = part.own[c + i] - sumOf(sum[i]);
        for (int j = i + 1; j < group && !pair; ++j) x[i] -= column[i][c + j] * x[j];
    }
    if constexpr (group == 4) {
        // One store, as the next group loads the four together.
        four(part.own + c) = Four{x[0], x[1], x[2], x[3]};
    } else {
        for (int i = 0; i < group; ++i) part.own[c + i] = x[i];
    }
}

OV_INLINE void forwardAny(const Part& part, std::int32_t& c) {
    const std::int32_t row = pivotRow(part.pivot[c]);
    if (isPair(part.pivot[c])) {
        std::swap(part.own[c + 1], part.own[row]);
        forwardGroup<2, true>(part, c);
        c += 2;
    } else {
        std::swap(part.own[c], part.own[row]);
        forwardGroup<1, false>(part, c);
        ++c;
    }
}

OV_INLINE void forward(const Part& part) {
    std::int32_t c = 0;
    while (c < part.k) {
        const std::int32_t left = part.k - c;
        if (left >= 4 && inPlace(part.pivot + c, 4, c)) {
            forwardGroup<4, false>(part, c);
            c += 4;
        } else if (left == 3 && inPlace(part.pivot + c, 3, c)) {
            return forwardGroup<3, false>(part, c);
        } else if (left == 2 && inPlace(part.pivot + c, 2, c)) {
            return forwardGroup<2, false>(part, c);
        } else {
            forwardAny(part, c);
        }
    }
}

OV_INLINE void backwardAny(const Part& part, std::int32_t& c) {
    const std::int32_t last = c - 1;
    const std::int32_t row = pivotRow(part.pivot[last]);
    if (isPair(part.pivot[last])) {
        c -= 2;
        backwardGroup<2, true>(part, c);
    } else {
        --c;
        backwardGroup<1, false>(part, c);
    }
    std::swap(part.own[last], part.own[row]);
}

OV_INLINE void backward(const Part& part) {
    std::int32_t c = part.k;
    while (c > 0) {
        if (c >= 4 && inPlace(part.pivot + c - 4, 4, c - 4)) {
            c -= 4;
            backwardGroup<4, false>(part, c);
        } else if (c == 3 && inPlace(part.pivot, 3)) {
            return backwardGroup<3, false>(part, 0);
        } else if (c == 2 && inPlace(part.pivot, 2)) {
            return backwardGroup<2, false>(part, 0);
        } else {
            backwardAny(part, c);
        }
    }
}

/// Solves with D in place. The 2x2 systems are divided by their off-diagonal entry, which dominates
/// them, so that nothing cancels or overflows before the result does.
OV_INLINE void divideByPivots(const Part& part) {
    const std::int64_t step = std::int64_t{part.m} + 1;
    double* const w = part.own;
    for (std::int32_t c = 0; c < part.k; ++c) {
        const double* d = part.factor + c * step;
        if (!isPair(part.pivot[c])) {
            w[c] /= d[0];
            continue;
        }
        const double t = d[1];
        const double a = d[0] / t, b = d[step] / t;
        const double e0 = w[c] / t, e1 = w[c + 1] / t;
        const double denominator = a * b - 1;
        w[c + 1] = (a * e1 - e0) / denominator;
        w[c] = (b * e0 - e1) / denominator;
        ++c;
    }
}

}  // namespace ovrelin::sweep
