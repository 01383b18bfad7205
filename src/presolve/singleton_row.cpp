#include "presolve/singleton_row.hpp"

#include "frame/log.hpp"
#include "presolve/bound_map.hpp"
#include "presolve/reductions.hpp"

namespace ovrelin {
namespace {

struct Singleton {
    SolverInstance* instance;
    const SolveOptions& options;
    Presolver& presolver;
    int32_t row, col;
};

constexpr int32_t stateOf(Side side) {
    return side == Side::lower ? ROWMAP_LOWER : ROWMAP_UPPER;
}

Status infeasible(const Singleton& s) {
    s.presolver.infeasibleRow = s.row;
    return Status::primalInfeasible;
}

bool isClosed(const Singleton& s) {
    return s.presolver.lower[s.col] + fixedTolerance(s.options) > s.presolver.upper[s.col];
}

/// A bound at `value` misses the bound on the other side by more than the tolerance.
bool misses(const Singleton& s, Side side, double value) {
    const double tolerance = s.options.primalTol;
    return side == Side::upper ? s.presolver.lower[s.col] > value + tolerance
                               : value - tolerance > s.presolver.upper[s.col];
}

/// `value` does not cut into the present bound.
bool asksNothing(const Singleton& s, Side side, double value) {
    return side == Side::upper ? value >= s.presolver.upper[s.col]
                               : s.presolver.lower[s.col] >= value;
}

bool names(const Singleton& s, Side side) {
    return boundMapOf(s.presolver, side)[s.col] == s.row;
}

bool moveBound(const Singleton& s, Side side, double value) {
    return moveBound(s.instance, s.options, s.presolver, side, s.col, value, s.row);
}

/// Whether the bound names the row now; a value that asks nothing leaves it where it is.
bool cutBound(const Singleton& s, Side side, double value) {
    return asksNothing(s, side, value) ? names(s, side) : moveBound(s, side, value);
}

Status makeBound(const Singleton& s, Side side, double value) {
    Presolver& presolver = s.presolver;
    if (misses(s, side, value)) return infeasible(s);
    const bool tighter = !asksNothing(s, side, value);
    const bool named = cutBound(s, side, value);
    presolver.rowMap[s.row] = named ? stateOf(side) : ROWMAP_FREE;
    if (named || tighter) touchRowsOf(presolver, s.col);
    return Status::ok;
}

Status makeFixed(const Singleton& s, double value) {
    Presolver& presolver = s.presolver;
    if (misses(s, Side::upper, value) || misses(s, Side::lower, value)) return infeasible(s);
    if (isClosed(s)) {
        presolver.rowMap[s.row] = ROWMAP_FREE;
        return Status::ok;
    }
    presolver.rowMap[s.row] = ROWMAP_FIXED;
    moveBound(s, Side::lower, value);
    moveBound(s, Side::upper, value);
    return Status::ok;
}

/// The state of a range row by the sides that it defines, or ROWMAP_FREE for none.
int32_t rangeState(bool definesLower, bool definesUpper) {
    if (definesLower && definesUpper) return ROWMAP_RANGE;
    if (definesLower) return ROWMAP_LOWER;
    return definesUpper ? ROWMAP_UPPER : ROWMAP_FREE;
}

Status makeRange(const Singleton& s, double low, double high) {
    Presolver& presolver = s.presolver;
    const bool tighterLow = !asksNothing(s, Side::lower, low);
    const bool tighterHigh = !asksNothing(s, Side::upper, high);
    const bool ownsLow = cutBound(s, Side::lower, low);
    const bool ownsHigh = cutBound(s, Side::upper, high);
    presolver.rowMap[s.row] = rangeState(ownsLow, ownsHigh);
    if (tighterLow || tighterHigh) touchRowsOf(presolver, s.col);

    if (misses(s, Side::upper, presolver.upper[s.col])) return infeasible(s);
    // A range that has almost closed is closed exactly.
    if (isClosed(s)) presolver.upper[s.col] = presolver.lower[s.col];
    return Status::ok;
}

}  // namespace

Status removeSingletonRow(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          Presolver& presolver, int32_t row) {
    const int32_t at = presolver.rows.begin[row];
    const int32_t col = presolver.rows.index[at];
    const double a = presolver.rows.value[at];
    const double value = presolver.rhs[row] / a;
    ++presolver.numRemovedRow;
    ++presolver.numRemovedElement;
    removeElement(instance, row, col, presolver.columns);
    presolver.changed = 1;
    presolver.colProcessed[col] = 0;

    const Singleton singleton{instance, options, presolver, row, col};
    switch (presolver.rowSense[row]) {
        case OVRELIN_ROW_LESS:
            return makeBound(singleton, a >= 0 ? Side::upper : Side::lower, value);
        case OVRELIN_ROW_GREATER:
            return makeBound(singleton, a > 0 ? Side::lower : Side::upper, value);
        case OVRELIN_ROW_EQUAL:
            return makeFixed(singleton, value);
        case OVRELIN_ROW_RANGE: {
            const double other = (presolver.rhs[row] - model.range[row]) / a;
            return a >= 0 ? makeRange(singleton, other, value) : makeRange(singleton, value, other);
        }
        default:
            logText(instance, "Error: unknown row type.");
            return Status::ok;
    }
}

}  // namespace ovrelin
