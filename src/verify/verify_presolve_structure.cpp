// The invariants of the presolver's record, each recomputed from the lists and the caller's model.
#include <cmath>

#include "presolve/reductions.hpp"
#include "verify/check.hpp"
#include "verify/verify_presolve.hpp"
#include "verify/verify_sparse.hpp"

namespace ovrelin {
namespace {

/// What the checks of one record share; the three arrays [numRow] are gathered from the columns.
struct Audit {
    Check& check;
    const SolveOptions& options;
    const Model& model;
    const Presolver& presolver;
    bool complete;                                  // the passes were not cut off
    PoolArray<int32_t> definedLower, definedUpper;  // bounds of columns not fixed that name the row
    PoolArray<int32_t> unfixed;  // its columns, in the caller's matrix, not fixed
    /// What passes as equal among bounds: a value may be a primalTol off, and its limit another.
    [[nodiscard]] double slack() const { return 2 * options.primalTol; }
};

const char* const routine = "VerifyPresolveStructure";

int32_t countRemoved(const PoolArray<int32_t>& map) {
    int32_t removed = 0;
    for (std::size_t k = 0; k < map.size(); ++k) removed += map[k] < 0 ? 1 : 0;
    return removed;
}

/// Live elements of the live lists whose other index is live too.
int32_t countLive(const LiveLists& lists, const PoolArray<int32_t>& major,
                  const PoolArray<int32_t>& minor) {
    int32_t live = 0;
    for (std::size_t j = 0; j < major.size(); ++j)
        for (int32_t k = lists.begin[j]; major[j] >= 0 && k < lists.begin[j] + lists.length[j]; ++k)
            live += minor[lists.index[k]] >= 0 ? 1 : 0;
    return live;
}

void checkCounts(Audit& a) {
    const Presolver& p = a.presolver;
    const int32_t rows = countRemoved(p.rowMap), cols = countRemoved(p.colMap);
    a.check.require(rows == p.numRemovedRow, "Error %s: numRemovedRow = %d should be %d", routine,
                    p.numRemovedRow, rows);
    a.check.require(cols == p.numRemovedCol, "Error %s: numRemovedCol = %d should be %d", routine,
                    p.numRemovedCol, cols);
    const int32_t byColumn = a.model.numCoef - countLive(p.columns, p.colMap, p.rowMap);
    const int32_t byRow = a.model.numCoef - countLive(p.rows, p.rowMap, p.colMap);
    a.check.require(byColumn == p.numRemovedElement && byRow == p.numRemovedElement,
                    "Error %s: numRemovedElement = %d should be %d by columns and %d by rows",
                    routine, p.numRemovedElement, byColumn, byRow);
    if (!p.quadColumns.isSet()) return;
    const int32_t quad = a.model.numQuadCoef - countLive(p.quadColumns, p.colMap, p.colMap);
    a.check.require(quad == p.numRemovedQuadElement,
                    "Error %s: numRemovedQuadElement = %d should be %d", routine,
                    p.numRemovedQuadElement, quad);
}

bool columnHolds(const Model& model, int32_t col, int32_t row) {
    const int32_t first = model.colBegin[col];
    for (int32_t k = first; k < first + model.colLength[col]; ++k)
        if (model.rowIndex[k] == row) return true;
    return false;
}

/// Where one bound of column j claims to come from.
void checkOrigin(Audit& a, const char* map, int32_t j, int32_t row, int32_t ownState, double bound,
                 double callerBound) {
    if (row < 0) {
        // A range that has almost closed is closed exactly, across an untouched bound.
        const double infinity = a.options.infinity;
        const bool absent = std::fabs(bound) >= infinity && std::fabs(callerBound) >= infinity;
        a.check.require(absent || std::fabs(bound - callerBound) <= a.slack(),
                        "Error %s: bound of column %d = %15.7g should be %15.7g", routine, j, bound,
                        callerBound);
        return;
    }
    if (row >= a.model.numRow || !columnHolds(a.model, j, row)) {
        a.check.fault("Error %s: %s(%d) = %d does not hold the column", routine, map, j, row);
        return;
    }
    const int32_t state = a.presolver.rowMap[row];
    const bool fixed = a.presolver.colMap[j] == COLMAP_FIXED;
    // A redundant row may be named still: it implied the bound while it stood, and takes its dual.
    const bool good =
        state >= 0 || fixed || state == ROWMAP_RANGE || state == ownState || state == ROWMAP_FREE;
    a.check.require(good, "Error %s: %s(%d) = %d names a row in state %d", routine, map, j, row,
                    state);
}

void checkColumn(Audit& a, int32_t j) {
    const Presolver& p = a.presolver;
    const double lower = p.lower[j], upper = p.upper[j];
    const double closed = fixedTolerance(a.options);
    const int32_t state = p.colMap[j];
    a.check.require(p.colProcessed[j] != 0 || !a.complete, "Error %s: column %d is not processed",
                    routine, j);
    const double infinity = a.options.infinity;
    const bool tighter = (lower >= a.model.lower[j] - a.slack() || a.model.lower[j] <= -infinity) &&
                         (upper <= a.model.upper[j] + a.slack() || a.model.upper[j] >= infinity);
    a.check.require(tighter, "Error %s: bounds of column %d are wider than the model's", routine,
                    j);
    if (state == COLMAP_FIXED)
        a.check.require(lower + closed >= upper, "Error %s: column %d is not fixed: %15.7g %15.7g",
                        routine, j, lower, upper);
    if (state == COLMAP_EMPTY)
        a.check.require(p.columns.length[j] == 0, "Error %s: length of column %d = %d should be 0",
                        routine, j, p.columns.length[j]);
    if (state >= 0 && a.complete) {
        const bool coupled =
            p.quadColumns.isSet() && (p.quadColumns.length[j] > 0 || p.quadRows.length[j] > 0);
        a.check.require(p.columns.length[j] > 0 || coupled,
                        "Error %s: column %d is empty but not removed.", routine, j);
        a.check.require(upper > lower + closed, "Error %s: column %d is fixed but not removed.",
                        routine, j);
    }
    checkOrigin(a, "lbMap", j, p.lbMap[j], ROWMAP_LOWER, lower, a.model.lower[j]);
    checkOrigin(a, "ubMap", j, p.ubMap[j], ROWMAP_UPPER, upper, a.model.upper[j]);
}

void checkLiveRow(Audit& a, int32_t i) {
    const Presolver& p = a.presolver;
    const char sense = p.rowSense[i];
    const int32_t length = p.rows.length[i];
    for (int32_t k = p.rows.begin[i]; k < p.rows.begin[i] + length; ++k)
        a.check.require(p.colMap[p.rows.index[k]] >= 0 || !a.complete,
                        "Error %s: removed column %d appears in row %d", routine, p.rows.index[k],
                        i);
    a.check.require(length > 0 || !a.complete, "Error %s: row %d is empty but not removed.",
                    routine, i);
    a.check.require(length != 1 || !a.complete || p.doSingletonRow == 0,
                    "Error %s: row %d is singleton but not removed.", routine, i);
    a.check.require(sense == OVRELIN_ROW_EQUAL || sense == OVRELIN_ROW_LESS ||
                        sense == OVRELIN_ROW_GREATER || sense == OVRELIN_ROW_RANGE,
                    "Error %s: row %d is not accepted but not removed.", routine, i);
}

/// A singleton row that became a bound: of the one column in its list, on the sides of its state.
/// What it implied before for columns that have gone since does not count.
void checkDefiningRow(Audit& a, int32_t i, bool ownLower, bool ownUpper) {
    const Presolver& p = a.presolver;
    const int32_t col = p.rows.index[p.rows.begin[i]];
    const bool namedLower = p.lbMap[col] == i, namedUpper = p.ubMap[col] == i;
    // A range row that became one-sided may have defined the side that it lost.
    const bool range = upperCaseSense(a.model.rowSense[i]) == OVRELIN_ROW_RANGE;
    const bool sides = (namedLower == ownLower || (range && !ownLower)) &&
                       (namedUpper == ownUpper || (range && !ownUpper));
    const int32_t own = p.colMap[col] == COLMAP_FIXED ? 0 : namedLower + namedUpper;
    a.check.require(p.rows.length[i] == 1 && sides,
                    "Error %s: row %d of state %d has length %d and defines %d and %d bounds",
                    routine, i, p.rowMap[i], p.rows.length[i], namedLower ? 1 : 0,
                    namedUpper ? 1 : 0);
    a.check.require(a.definedLower[i] + a.definedUpper[i] == own,
                    "Error %s: row %d of state %d defines bounds of other columns", routine, i,
                    p.rowMap[i]);
}

void checkRow(Audit& a, int32_t i) {
    const Presolver& p = a.presolver;
    const int32_t state = p.rowMap[i], defined = a.definedLower[i] + a.definedUpper[i];
    a.check.require(p.rowProcessed[i] != 0 || !a.complete, "Error %s: row %d is not processed",
                    routine, i);
    if (state >= 0) return checkLiveRow(a, i);
    switch (state) {
        case ROWMAP_LOWER:
            return checkDefiningRow(a, i, true, false);
        case ROWMAP_UPPER:
            return checkDefiningRow(a, i, false, true);
        case ROWMAP_RANGE:
            a.check.require(p.rowSense[i] == OVRELIN_ROW_RANGE,
                            "Error %s: row %d of state %d is no range row", routine, i, state);
            return checkDefiningRow(a, i, true, true);
        case ROWMAP_EMPTY:
        case ROWMAP_FIXED:
            // Its columns being fixed, whatever bounds they name count no more: a tie may have let
            // another row displace the last of them.
            a.check.require(a.unfixed[i] == 0 || !a.complete,
                            "Error %s: row %d of state %d holds %d columns that are not fixed",
                            routine, i, state, a.unfixed[i]);
            return;
        case ROWMAP_FREE:
            a.check.require(p.rowSense[i] != OVRELIN_ROW_FREE || defined == 0,
                            "Error %s: free row %d defines %d bounds", routine, i, defined);
            return;
        default:
            return;
    }
}

Status gather(SolverInstance* instance, Audit& a) {
    const auto rows = static_cast<std::size_t>(a.model.numRow);
    OV_TRY(a.definedLower.make(instance->pool, rows, Fill::zero));
    OV_TRY(a.definedUpper.make(instance->pool, rows, Fill::zero));
    OV_TRY(a.unfixed.make(instance->pool, rows, Fill::zero));
    for (int32_t j = 0; j < a.model.numCol; ++j) {
        if (a.presolver.colMap[j] == COLMAP_FIXED) continue;
        const int32_t low = a.presolver.lbMap[j], high = a.presolver.ubMap[j];
        if (low >= 0 && low < a.model.numRow) ++a.definedLower[low];
        if (high >= 0 && high < a.model.numRow) ++a.definedUpper[high];
        const int32_t first = a.model.colBegin[j];
        for (int32_t k = first; k < first + a.model.colLength[j]; ++k)
            if (std::fabs(a.model.matValue[k]) > a.presolver.dropThreshold)
                ++a.unfixed[a.model.rowIndex[k]];
    }
    return Status::ok;
}

Status checkLists(SolverInstance* instance, int32_t level, const Presolver& p) {
    OV_TRY(VerifySparseIndex(instance, level, p.columns, p.numRow));
    OV_TRY(VerifySparseIndex(instance, level, p.rows, p.numCol));
    return p.quadColumns.isSet() ? VerifyRowMatrix(instance, level, p.quadColumns, p.quadRows)
                                 : Status::ok;
}

Status checkMaps(SolverInstance* instance, int32_t level, const Presolver& p) {
    OV_TRY(VerifyMapping(instance, level, p.rowMap, p.numRow - p.numRemovedRow));
    return VerifyMapping(instance, level, p.colMap, p.numCol - p.numRemovedCol);
}

}  // namespace

Status VerifyPresolveStructure(SolverInstance* instance, const SolveOptions& options,
                               const Model& model, const Presolver& presolver) {
    // whatever follows walks the lists
    OV_TRY(checkLists(instance, options.debugLevel, presolver));
    Check check(instance);
    Audit audit{check, options, model, presolver, presolver.numPass < presolver.maxPass,
                {},    {},      {}};
    OV_TRY(gather(instance, audit));
    checkCounts(audit);
    for (int32_t j = 0; j < model.numCol; ++j) checkColumn(audit, j);
    for (int32_t i = 0; i < model.numRow; ++i) checkRow(audit, i);
    check.require(presolver.numPostdet <= presolver.numRemovedCol,
                  "Error %s: numPostdet = %d should be at most %d", routine, presolver.numPostdet,
                  presolver.numRemovedCol);
    OV_TRY(check.status());
    return checkMaps(instance, options.debugLevel, presolver);
}

}  // namespace ovrelin
