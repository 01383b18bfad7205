#include "sparse/kernel/diagonal_run.hpp"

#include <algorithm>
#include <cmath>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/row_search.hpp"
#include "sparse/kernel/unit_solve.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

constexpr int32_t longestRun = RunPace::longestRun;
static_assert(longestRun == widestUnit);

/// The diagonal block of a run, and what the rule asks about each column.
struct Corner {
    UnitTriangle unit;            // L
    double diagonal[longestRun];  // what was found there
    double pivot[longestRun];     // what is taken
    double largest[longestRun];   // of the entries of L D below the diagonal
};

/// The columns of the run without what the columns before them take off.
void bringUpToDate(const Panel& panel, int32_t j, int32_t count) {
    const int32_t rows = panel.rows - j;
    for (int32_t c = 0; c < count; ++c)
        std::copy_n(panel.front.at(j + c, j + c), rows - c, panel.scaled.at(j + c, j + c));
    subtractProductLower(rows, count, j, panel.front.from(j, 0), panel.scaled.from(j, 0),
                         panel.scaled.from(j, j));
}

/// Eliminates the run's own rows; `x` holds L D afterwards.
void eliminateCorner(int32_t count, double tolerance, Block x, Corner& corner) {
    for (int32_t r = 0; r < count; ++r) {
        double* const unit = corner.unit.row[r];
        for (int32_t c = 0; c <= r; ++c) {
            double value = *x.at(r, c);
            for (int32_t p = 0; p < c; ++p) value -= *x.at(r, p) * corner.unit.row[c][p];
            *x.at(r, c) = value;
            if (c == r) break;
            unit[c] = value / corner.pivot[c];
            corner.largest[c] = std::max(corner.largest[c], std::fabs(value));
        }
        const double diagonal = *x.at(r, r);
        corner.diagonal[r] = std::fabs(diagonal);
        corner.largest[r] = 0;
        if (corner.diagonal[r] <= tolerance)
            *x.at(r, r) = std::copysign(tolerance, diagonal == 0 ? 1.0 : diagonal);
        corner.pivot[r] = *x.at(r, r);
    }
}

template <int width, int cols>
OV_INLINE void solveAllRows(int32_t rows, Corner& corner, Block x) {
    typename tile::VectorOf<width>::type largest[cols] = {};
    int32_t r = 0;
    for (; r + width <= rows; r += width)
        unit::solveRows<width, cols, true>(corner.unit, x.from(r, 0), largest);
    for (; r < rows; ++r) unit::solveRows<1, cols, true>(corner.unit, x.from(r, 0), corner.largest);
    for (int c = 0; c < cols; ++c)
        for (int i = 0; i < width; ++i)
            corner.largest[c] = std::max(corner.largest[c], largest[c][i]);
}

template <int width>
OV_INLINE void solveBelowBy(int32_t rows, int32_t count, Corner& corner, Block x) {
    switch (count) {
        case 1:
            return solveAllRows<width, 1>(rows, corner, x);
        case 2:
            return solveAllRows<width, 2>(rows, corner, x);
        case 4:
            return solveAllRows<width, 4>(rows, corner, x);
        case 8:
            return solveAllRows<width, 8>(rows, corner, x);
        default:
            return solveAllRows<width, longestRun>(rows, corner, x);
    }
}

/// The rows below the run's own.
OV_CLONES void solveBelow(int32_t rows, int32_t count, Corner& corner, Block x) {
    if (tile::hasWideRegisters())
        solveBelowBy<8>(rows, count, corner, x);
    else
        solveBelowBy<4>(rows, count, corner, x);
}

/// The largest power of two that is no more than the room.
int32_t runLength(int32_t room) {
    int32_t length = longestRun;
    while (length > room) length /= 2;
    return length;
}

/// A run on trial: all of its columns are eliminated, none of them stored.
struct Trial {
    const Panel& panel;
    int32_t begin, count;
    Corner corner;

    [[nodiscard]] int32_t end() const { return begin + count; }
};

/// The rule's second test: the largest entry of the row that holds column c's.
bool passesByRow(const Trial& trial, int32_t c, const PivotRule& rule) {
    const Panel& panel = trial.panel;
    const Corner& corner = trial.corner;
    const int32_t col = trial.begin + c;
    const double* const x = panel.scaled.at(0, col);
    int32_t row = col + 1;
    while (std::fabs(x[row]) != corner.largest[c]) ++row;
    double lower[mostPanelColumns];
    for (int32_t p = 0; p < trial.begin; ++p) lower[p] = *panel.front.at(row, p);
    for (int32_t p = trial.begin; p < col; ++p)
        lower[p] = *panel.scaled.at(row, p) / corner.pivot[p - trial.begin];
    const double largest = corner.largest[c];
    const double wanted = rule.alpha * largest * (largest / corner.diagonal[c]);
    return rowHasEntry(panel, {row, col, lower, wanted}, trial.end());
}

constexpr double worthwhile = 16;

/// Whether the rule takes column c as it stands.
bool passes(const Trial& trial, int32_t c, const PivotRule& rule, int32_t* numPerturbed) {
    const Corner& corner = trial.corner;
    const double diagonal = corner.diagonal[c], largest = corner.largest[c];
    if (diagonal <= rule.tolerance) {
        if (!(largest <= rule.tolerance)) return false;
        ++*numPerturbed;
        return true;
    }
    if (diagonal >= rule.alpha * largest) return true;
    // A much smaller one would need a row of much larger entries, which is not worth looking for.
    return diagonal * worthwhile >= largest && passesByRow(trial, c, rule);
}

OV_CLONES void divide(int64_t count, double inverse, const double* __restrict x,
                      double* __restrict out) {
    for (int64_t r = 0; r < count; ++r) out[r] = x[r] * inverse;
}

void store(const Trial& trial, int32_t c) {
    const int32_t col = trial.begin + c;
    double* const out = trial.panel.front.at(col, col);
    out[0] = trial.corner.pivot[c];
    divide(trial.panel.rows - col - 1, 1 / out[0], trial.panel.scaled.at(col + 1, col), out + 1);
}

}  // namespace

bool takeDiagonalRun(const Panel& panel, int32_t j, int32_t room, const PivotRule& rule,
                     RunPace& pace, int32_t* numPerturbed, int32_t* taken) {
    *taken = 0;
    const int32_t wanted = pace.next();
    if (wanted == 0) return false;
    Trial trial{panel, j, runLength(std::min(room, wanted)), {}};
    bringUpToDate(panel, j, trial.count);
    eliminateCorner(trial.count, rule.tolerance, panel.scaled.from(j, j), trial.corner);
    solveBelow(panel.rows - trial.end(), trial.count, trial.corner,
               panel.scaled.from(trial.end(), j));
    while (*taken < trial.count && passes(trial, *taken, rule, numPerturbed)) ++*taken;
    for (int32_t c = 0; c < *taken; ++c) store(trial, c);
    pace.report(trial.count, *taken);
    return *taken == trial.count;
}

}  // namespace ovrelin
