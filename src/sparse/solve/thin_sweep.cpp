// What a column sends to the next one, or takes from it, passes in a register: in a chain every
// other way would wait for memory.
#include "sparse/solve/thin_sweep.hpp"

#include <utility>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/sweep_block.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

/// y -= x times the entries of column c behind its next row.
OV_INLINE void sendEntries(const ThinSweep& thin, int32_t c, double x) {
    const int32_t end = thin.column[c + 1].begin;
    for (int32_t e = thin.column[c].begin; e < end; ++e) thin.y[thin.row[e]] -= thin.value[e] * x;
}

/// Those entries times y.
OV_INLINE double receiveEntries(const ThinSweep& thin, int32_t c) {
    const int32_t end = thin.column[c + 1].begin;
    double sum = 0;
    for (int32_t e = thin.column[c].begin; e < end; ++e) sum += thin.value[e] * thin.y[thin.row[e]];
    return sum;
}

/// A pair at c, c + 1, whose first entry has not been stored yet.
OV_INLINE void forwardPair(const ThinSweep& thin, int32_t c, double first) {
    double* const y = thin.y;
    const ThinColumn& left = thin.column[c];
    const ThinColumn& right = thin.column[c + 1];
    y[c] = first;
    std::swap(y[c + 1], y[c + 1 + ~left.move]);
    const double x[2] = {y[c], y[c + 1]};
    sendEntries(thin, c, x[0]);
    sendEntries(thin, c + 1, x[1]);
    if (c + 2 < thin.n) y[c + 2] -= right.next * x[1];
    const double d[3] = {left.diagonal, left.next, right.diagonal};
    sweep::dividePair(d, 2, x, y + c);
}

/// The pair that ends at c.
OV_INLINE void backwardPair(const ThinSweep& thin, int32_t c, double later) {
    double* const y = thin.y;
    const ThinColumn& right = thin.column[c];
    y[c - 1] -= receiveEntries(thin, c - 1);
    y[c] -= receiveEntries(thin, c) + right.next * later;
    std::swap(y[c], y[c + ~right.move]);
}

}  // namespace

OV_CLONES void forwardThin(const ThinSweep& thin, int32_t begin, int32_t end) {
    double* const y = thin.y;
    const int32_t last = thin.n - 1;
    double x = begin < end ? y[begin] : 0;
    for (int32_t c = begin; c < end;) {
        const ThinColumn& column = thin.column[c];
        if (column.move < 0) {
            forwardPair(thin, c, x);
            c += 2;
            x = c <= last ? y[c] : 0;
            continue;
        }
        if (column.move > 0) {
            y[c] = x;
            std::swap(y[c], y[c + column.move]);
            x = y[c];
        }
        const double next = c < last ? y[c + 1] - column.next * x : 0;
        sendEntries(thin, c, x);
        y[c] = x / column.diagonal;
        x = next;
        ++c;
    }
    if (begin < end && end <= last) y[end] = x;
}

OV_CLONES void backwardThin(const ThinSweep& thin, int32_t begin, int32_t end) {
    double* const y = thin.y;
    double later = end < thin.n ? y[end] : 0;
    for (int32_t c = end - 1; c >= begin;) {
        const ThinColumn& column = thin.column[c];
        if (column.move < 0) {
            backwardPair(thin, c, later);
            later = y[c - 1];
            c -= 2;
            continue;
        }
        later = (y[c] - receiveEntries(thin, c)) - column.next * later;
        y[c] = later;
        if (column.move > 0) {
            std::swap(y[c], y[c + column.move]);
            later = y[c];
        }
        --c;
    }
}

}  // namespace ovrelin
