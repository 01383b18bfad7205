#include "sparse/kernel/pivot_panel.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "linalg/blas.hpp"
#include "sparse/kernel/diagonal_run.hpp"
#include "sparse/kernel/pair_inverse.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

struct Candidate {
    double size;
    int32_t row;
};

/// The largest |x[r]| over first <= r < last; {0, first} when there is none.
Candidate largest(const double* x, int32_t first, int32_t last) {
    Candidate best{0, first};
    for (int32_t row = first; row < last; ++row) {
        const double size = std::fabs(x[row]);
        if (size > best.size) best = {size, row};
    }
    return best;
}

void swapRows(Block block, int32_t cols, int32_t first, int32_t second) {
    const auto ld = static_cast<int32_t>(block.ld);
    if (cols > 0) dswap_(&cols, block.data + first, &ld, block.data + second, &ld);
}

/// column (rows from `done` on) -= L(:, 0:done) * scaledRow', the elimination of the columns so
/// far. Not by DGEMV: see product.hpp for what a BLAS may share between threads.
void bringUpToDate(const Panel& panel, int32_t done, int32_t row, double* column) {
    subtractColumns(panel.rows - done, done, panel.front.from(done, 0), panel.scaled.data + row,
                    panel.scaled.ld, column + done);
}

/// Column `col` of the symmetric remainder, from row `first` on: its part left of the diagonal is a
/// row of the stored triangle.
void copySymmetricColumn(const Panel& panel, int32_t first, int32_t col, double* out) {
    for (int32_t r = first; r < col; ++r) out[r] = *panel.front.at(col, r);
    std::copy_n(panel.front.at(col, col), panel.rows - col, out + col);
}

struct Choice {
    int32_t row;  // swapped with the last column of the pivot
    bool pair;
};

/// Bunch and Kaufman's choice for column j, whose up-to-date value stands in `scaled`; may leave
/// the up-to-date column of the other candidate in column j + 1 of `scaled`.
Choice choosePivot(const Panel& panel, int32_t j, const PivotRule& rule, int32_t* numPerturbed) {
    double* current = panel.scaled.at(0, j);
    const double diagonal = std::fabs(current[j]);
    const Candidate best = largest(current, j + 1, panel.rows);
    if (std::max(diagonal, best.size) <= rule.tolerance) {
        current[j] = std::copysign(rule.tolerance, current[j] == 0 ? 1.0 : current[j]);
        ++*numPerturbed;
        return {j, false};
    }
    if (!(diagonal < rule.alpha * best.size)) return {j, false};
    double* other = panel.scaled.at(0, j + 1);
    copySymmetricColumn(panel, j, best.row, other);
    bringUpToDate(panel, j, best.row, other);
    const double rowMax =
        std::max(largest(other, j, best.row).size, largest(other, best.row + 1, panel.rows).size);
    const double limit = rowMax == 0 ? std::numeric_limits<double>::max()
                                     : rule.alpha * best.size * (best.size / rowMax);
    if (diagonal >= limit) return {j, false};
    const bool single = std::fabs(other[best.row]) >= std::max(rule.tolerance, rule.alpha * rowMax);
    if (single) std::copy(other + j, other + panel.rows, current + j);
    return {best.row, !single};
}

/// Exchanges rows and columns `from` < `to` of the remainder: in the triangle (where the values of
/// column `from` are still those before the panel), in the rows below, and in what is eliminated.
void interchange(const Panel& panel, int32_t j, int32_t from, int32_t to) {
    const Block front = panel.front;
    *front.at(to, to) = *front.at(from, from);
    for (int32_t r = from + 1; r < to; ++r) *front.at(to, r) = *front.at(r, from);
    std::copy(front.at(to + 1, from), front.at(panel.rows, from), front.at(to + 1, to));
    std::swap_ranges(front.at(panel.rows, from), front.at(panel.rows + panel.below, from),
                     front.at(panel.rows, to));
    swapRows(front, j, from, to);
    swapRows(panel.scaled, from + 1, from, to);
}

void storeSingle(const Panel& panel, int32_t j) {
    const double* value = panel.scaled.at(0, j);
    double* column = panel.front.at(0, j);
    const double inverse = 1 / value[j];
    column[j] = value[j];
    for (int32_t r = j + 1; r < panel.rows; ++r) column[r] = value[r] * inverse;
}

void storePair(const Panel& panel, int32_t j) {
    const double* first = panel.scaled.at(0, j);
    const double* second = panel.scaled.at(0, j + 1);
    double* left = panel.front.at(0, j);
    double* right = panel.front.at(0, j + 1);
    left[j] = first[j];
    left[j + 1] = first[j + 1];
    right[j + 1] = second[j + 1];
    const PairInverse inverse(first[j], first[j + 1], second[j + 1]);
    for (int32_t r = j + 2; r < panel.rows; ++r)
        inverse.apply(first[r], second[r], left[r], right[r]);
}

}  // namespace

void RunPace::report(int32_t tried, int32_t taken) {
    constexpr int32_t shortest = 2, longestPause = 63;
    if (taken == tried) {
        length_ = std::min(2 * tried, longestRun);
        pause_ = 0;
    } else if (2 * taken < tried) {
        if (tried <= 2 * shortest) pause_ = std::min(2 * pause_ + 1, longestPause);
        length_ = std::max(tried / 2, shortest);
    }
    wait_ = pause_;
}

int32_t eliminatePanel(const Panel& panel, int32_t limit, const PivotRule& rule, RunPace& pace,
                       int32_t* pivot, int32_t* numPerturbed) {
    int32_t j = 0;
    while (j < limit) {
        int32_t taken = 0;
        const bool whole = takeDiagonalRun(panel, j, limit - j, rule, pace, numPerturbed, &taken);
        for (; taken > 0; --taken, ++j) pivot[j] = j;
        if (whole) continue;
        if (panel.onlyDiagonal) return j;
        double* current = panel.scaled.at(0, j);
        std::copy(panel.front.at(j, j), panel.front.at(panel.rows, j), current + j);
        bringUpToDate(panel, j, j, current);
        const Choice choice = choosePivot(panel, j, rule, numPerturbed);
        const int32_t last = choice.pair ? j + 1 : j;
        if (choice.row != last) interchange(panel, j, last, choice.row);
        if (choice.pair) {
            storePair(panel, j);
            pivot[j] = pivot[j + 1] = ~choice.row;
        } else {
            storeSingle(panel, j);
            pivot[j] = choice.row;
        }
        j = last + 1;
    }
    return j;
}

void undoEarlierSwaps(Block front, int32_t cols, const int32_t* pivot) {
    for (int32_t last = cols - 1; last >= 0; --last) {
        const int32_t row = pivotRow(pivot[last]);
        const int32_t second = last;
        if (isPair(pivot[last])) --last;
        if (row != second) swapRows(front, last, row, second);
    }
}

}  // namespace ovrelin
