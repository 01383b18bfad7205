#include "presolve/row_activity.hpp"

#include "frame/log.hpp"
#include "presolve/bound_map.hpp"
#include "presolve/reductions.hpp"

namespace ovrelin {
namespace {

enum class Verdict { infeasible, forcingAtMin, forcingAtMax, redundant, tighten, unknown };

struct ActivityRange {
    ActivityRecord least, greatest;
    [[nodiscard]] double minAct(double infinity) const {
        return least.numInfinite > 0 ? -infinity : least.finiteSum;
    }
    [[nodiscard]] double maxAct(double infinity) const {
        return greatest.numInfinite > 0 ? infinity : greatest.finiteSum;
    }
};

void addTerm(ActivityRecord& activity, bool infinite, double term, int32_t position) {
    if (infinite) {
        ++activity.numInfinite;
        activity.infinitePos = position;
    } else {
        activity.finiteSum += term;
    }
}

/// The four tests for an infinite term differ at a bound of exactly `infinity`: a lower bound there
/// is infinite for the least activity only, an upper bound for neither.
ActivityRange sumActivity(const Presolver& presolver, double infinity, int32_t row) {
    ActivityRange range{{row, 0, 0, 0, -1}, {row, 0, 0, 0, -1}};
    const int32_t first = presolver.rows.begin[row];
    for (int32_t k = first; k < first + presolver.rows.length[row]; ++k) {
        const double a = presolver.rows.value[k];
        const double lower = presolver.lower[presolver.rows.index[k]];
        const double upper = presolver.upper[presolver.rows.index[k]];
        if (a >= 0) {
            addTerm(range.least, -infinity >= lower, lower * a, k);
            addTerm(range.greatest, upper > infinity, a * upper, k);
        } else {
            addTerm(range.least, upper > infinity, upper * a, k);
            addTerm(range.greatest, -infinity > lower, a * lower, k);
        }
    }
    return range;
}

struct RowLimits {
    char sense;
    double limit;  // b
    double range;  // of an 'R' row
    double minAct, maxAct;
};

Verdict judgeRange(const RowLimits& row, double tolerance) {
    const double low = row.limit - row.range;
    if (row.minAct > row.limit + tolerance || (row.limit - tolerance) - row.range > row.maxAct)
        return Verdict::infeasible;
    if (row.minAct >= row.limit) return Verdict::forcingAtMin;
    if (low >= row.maxAct) return Verdict::forcingAtMax;
    if (row.maxAct <= row.limit && low < row.minAct) return Verdict::redundant;
    return Verdict::tighten;
}

Verdict judge(const RowLimits& row, double tolerance) {
    const double b = row.limit;
    switch (row.sense) {
        case OVRELIN_ROW_LESS:
            if (row.minAct > b + tolerance) return Verdict::infeasible;
            if (row.minAct >= b) return Verdict::forcingAtMin;
            return row.maxAct <= b ? Verdict::redundant : Verdict::tighten;
        case OVRELIN_ROW_GREATER:
            if (b - tolerance > row.maxAct) return Verdict::infeasible;
            if (b >= row.maxAct) return Verdict::forcingAtMax;
            return b <= row.minAct ? Verdict::redundant : Verdict::tighten;
        case OVRELIN_ROW_EQUAL:
            if (row.minAct > b + tolerance || b - tolerance > row.maxAct)
                return Verdict::infeasible;
            if (row.minAct >= b) return Verdict::forcingAtMin;
            return row.maxAct <= b ? Verdict::forcingAtMax : Verdict::tighten;
        case OVRELIN_ROW_RANGE:
            return judgeRange(row, tolerance);
        default:
            return Verdict::unknown;
    }
}

/// A limit of an 'R' row that can never bind leaves it.
void dropIdleLimit(Presolver& presolver, int32_t row, const RowLimits& limits) {
    const double low = limits.limit - limits.range;
    if (limits.maxAct < limits.limit) {
        presolver.rowSense[row] = OVRELIN_ROW_GREATER;
        presolver.rhs[row] = low;
    } else if (low < limits.minAct) {
        presolver.rowSense[row] = OVRELIN_ROW_LESS;
    } else {
        return;
    }
    ++presolver.numChangeRange;
}

void removeRedundant(SolverInstance* instance, Presolver& presolver, int32_t row) {
    LiveLists& rows = presolver.rows;
    presolver.rowMap[row] = ROWMAP_FREE;
    ++presolver.numRemovedRow;
    presolver.numRemovedElement += rows.length[row];
    presolver.changed = 1;
    for (int32_t k = rows.begin[row]; k < rows.begin[row] + rows.length[row]; ++k) {
        presolver.colProcessed[rows.index[k]] = 0;
        removeElement(instance, row, rows.index[k], presolver.columns);
    }
    rows.length[row] = 0;
}

/// `atLeast`: the row is met only at its least activity, where positive elements sit at their lower
/// bounds and negative ones at their upper bounds; otherwise at its greatest, the other way round.
void forceColumns(SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
                  int32_t row, bool atLeast) {
    const LiveLists& rows = presolver.rows;
    bool namedAny = false;
    ++presolver.numRemovedRow;
    presolver.changed = 1;
    for (int32_t k = rows.begin[row]; k < rows.begin[row] + rows.length[row]; ++k) {
        const int32_t col = rows.index[k];
        presolver.colProcessed[col] = 0;
        if (!(presolver.lower[col] < presolver.upper[col])) continue;
        const Side kept = (rows.value[k] >= 0) == atLeast ? Side::lower : Side::upper;
        namedAny |= moveBound(instance, options, presolver, opposite(kept), col,
                              boundsOf(presolver, kept)[col], row);
    }
    presolver.rowMap[row] = namedAny ? ROWMAP_FIXED : ROWMAP_EMPTY;
}

void offerBound(SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
                Side side, int32_t col, double value, int32_t row) {
    if (presolver.colMap[col] < 0) return;
    const double tolerance = options.primalTol;
    const bool improves = side == Side::lower ? presolver.lower[col] < value - tolerance
                                              : value + tolerance < presolver.upper[col];
    if (!improves) return;
    moveBound(instance, options, presolver, side, col, value, row);
    presolver.changed = 1;
    touchColumn(presolver, col);
}

/// The common body of the two tightenings. The term of element (j, a) stands at the bound on side
/// `base` (for a >= 0) in the sum; its room, (limit - sum) / a, is measured from there and bounds
/// the other side. An infinite term is missing from the sum: its room is measured from 0.
void tighten(SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
             const ActivityRecord& activity, Side base) {
    if (activity.numInfinite > 1) return;
    const LiveLists& rows = presolver.rows;
    const double room = activity.limit - activity.finiteSum;
    const bool single = activity.numInfinite == 1;
    const int32_t first = single ? activity.infinitePos : rows.begin[activity.row];
    const int32_t end = single ? first + 1 : first + rows.length[activity.row];
    for (int32_t k = first; k < end; ++k) {
        const int32_t col = rows.index[k];
        const double a = rows.value[k];
        const Side from = a >= 0 ? base : opposite(base);
        const double value = single ? room / a : room / a + boundsOf(presolver, from)[col];
        offerBound(instance, options, presolver, opposite(from), col, value, activity.row);
    }
}

/// Both ends use the sums from before: what the first call tightens weakens the second's
/// candidates, never falsifies them.
void tightenRow(SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
                ActivityRange& range, double rowRange) {
    const char sense = presolver.rowSense[range.least.row];
    const double b = presolver.rhs[range.least.row];
    range.least.limit = b;
    range.greatest.limit = sense == OVRELIN_ROW_RANGE ? b - rowRange : b;
    if (sense != OVRELIN_ROW_GREATER)
        tightenFromMinActivity(instance, options, presolver, range.least);
    if (sense != OVRELIN_ROW_LESS)
        tightenFromMaxActivity(instance, options, presolver, range.greatest);
}

}  // namespace

void tightenFromMinActivity(SolverInstance* instance, const SolveOptions& options,
                            Presolver& presolver, const ActivityRecord& activity) {
    tighten(instance, options, presolver, activity, Side::lower);
}

void tightenFromMaxActivity(SolverInstance* instance, const SolveOptions& options,
                            Presolver& presolver, const ActivityRecord& activity) {
    tighten(instance, options, presolver, activity, Side::upper);
}

Status analyzeRowActivity(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          Presolver& presolver, int32_t row) {
    const double infinity = options.infinity;
    const char sense = presolver.rowSense[row];
    ActivityRange range = sumActivity(presolver, infinity, row);
    const RowLimits limits{sense, presolver.rhs[row],
                           sense == OVRELIN_ROW_RANGE ? model.range[row] : 0,
                           range.minAct(infinity), range.maxAct(infinity)};
    switch (judge(limits, options.primalTol)) {
        case Verdict::infeasible:
            presolver.infeasibleRow = row;
            return Status::primalInfeasible;
        case Verdict::forcingAtMin:
            forceColumns(instance, options, presolver, row, true);
            break;
        case Verdict::forcingAtMax:
            forceColumns(instance, options, presolver, row, false);
            break;
        case Verdict::redundant:
            removeRedundant(instance, presolver, row);
            break;
        case Verdict::tighten:
            if (sense == OVRELIN_ROW_RANGE) dropIdleLimit(presolver, row, limits);
            tightenRow(instance, options, presolver, range, limits.range);
            break;
        case Verdict::unknown:
            logText(instance, "Error: unknown row type.");
            break;
    }
    return Status::ok;
}

}  // namespace ovrelin
