// What a column sends to the next one, or takes from it, passes in a register: in a chain every
// other way would wait for memory. Columns are short: what is done once for each of them counts.
#include "sparse/solve/thin_sweep.hpp"

#include <utility>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/sweep_block.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// y -= x times the entries from `e` on that column c has behind its next row; returns their end.
OV_INLINE int64_t sendEntries(const ThinSweep& thin, int32_t c, int64_t e, double x) {
    for (const int64_t end = thin.column[c + 1].begin; e < end; ++e)
        thin.y[thin.row[e]] -= thin.value[e] * x;
    return e;
}

/// `sum` minus those entries of column c, up to `end`, times y.
OV_INLINE double lessEntries(const ThinSweep& thin, int32_t c, int64_t end, double sum) {
    constexpr int64_t longColumn = 8;
    const int64_t begin = thin.column[c].begin;
    if (end - begin >= longColumn) [[unlikely]] {
        // Four sums, which do not wait for each other.
        double part[4] = {};
        for (; end - begin >= 4; end -= 4)
            for (int i = 0; i < 4; ++i)
                part[i] += thin.value[end - 1 - i] * thin.y[thin.row[end - 1 - i]];
        sum -= (part[0] + part[1]) + (part[2] + part[3]);
    }
    for (; end > begin; --end) sum -= thin.value[end - 1] * thin.y[thin.row[end - 1]];
    return sum;
}

/// A pair at c, c + 1, whose first entry has not been stored yet; returns the end of its entries.
OV_INLINE int64_t forwardPair(const ThinSweep& thin, int32_t c, int64_t e, double first) {
    double* const y = thin.y;
    const ThinColumn& left = thin.column[c];
    const ThinColumn& right = thin.column[c + 1];
    y[c] = first;
    std::swap(y[c + 1], y[c + 1 + ~left.move]);
    const double x[2] = {y[c], y[c + 1]};
    e = sendEntries(thin, c, e, x[0]);
    e = sendEntries(thin, c + 1, e, x[1]);
    if (c + 2 < thin.n) y[c + 2] -= right.next * x[1];
    const double d[3] = {left.diagonal, left.next, right.diagonal};
    sweep::dividePair(d, 2, x, y + c);
    return e;
}

/// The pair that ends at c, with its entries up to `end`.
OV_INLINE void backwardPair(const ThinSweep& thin, int32_t c, int64_t end, double later) {
    double* const y = thin.y;
    const ThinColumn& right = thin.column[c];
    y[c - 1] = lessEntries(thin, c - 1, right.begin, y[c - 1]);
    y[c] = lessEntries(thin, c, end, y[c]) - right.next * later;
    std::swap(y[c], y[c + ~right.move]);
}

}  // namespace

OV_CLONES void forwardThin(const ThinSweep& thin, int32_t begin, int32_t end) {
    if (begin == end) return;
    double* const y = thin.y;
    double x = y[begin];
    int64_t e = thin.column[begin].begin;
    for (int32_t c = begin; c < end; ++c) {
        const ThinColumn& column = thin.column[c];
        if (column.move != 0) [[unlikely]] {
            if (column.move < 0) {
                e = forwardPair(thin, c, e, x);
                ++c;
                x = y[c + 1];
                continue;
            }
            y[c] = x;
            std::swap(y[c], y[c + column.move]);
            x = y[c];
        }
        const double next = y[c + 1] - column.next * x;
        e = sendEntries(thin, c, e, x);
        y[c] = x / column.diagonal;
        x = next;
    }
    if (end < thin.n) y[end] = x;
}

OV_CLONES void backwardThin(const ThinSweep& thin, int32_t begin, int32_t end) {
    double* const y = thin.y;
    double later = end < thin.n ? y[end] : 0;
    int64_t e = thin.column[end].begin;
    for (int32_t c = end - 1; c >= begin; --c) {
        const ThinColumn& column = thin.column[c];
        if (column.move < 0) [[unlikely]] {
            backwardPair(thin, c, e, later);
            later = y[--c];
        } else {
            later = lessEntries(thin, c, e, y[c]) - column.next * later;
            y[c] = later;
            if (column.move > 0) [[unlikely]] {
                std::swap(y[c], y[c + column.move]);
                later = y[c];
            }
        }
        e = thin.column[c].begin;
    }
}

}  // namespace ovrelin
