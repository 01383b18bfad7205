// The dual recovery: a relaxation over the columns. A dual on a bound that only the presolver knows
// belongs to the row that implied the bound; moving it there disturbs the reduced costs of all
// columns of the row, whose own bound duals take up the difference and may have to move on.
#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "frame/log.hpp"
#include "linalg/sparse_columns.hpp"
#include "presolve/bound_map.hpp"
#include "presolve/model_values.hpp"
#include "presolve/postsolve.hpp"
#include "presolve/reductions.hpp"

namespace ovrelin {
namespace {

/// The columns still to be visited, one bit each: a pass skips what is settled 64 columns at a
/// time.
class PendingColumns {
public:
    Status make(MemoryPool* pool, int32_t numCol) {
        const auto words = (static_cast<std::size_t>(numCol) + 63) / 64;
        OV_TRY(bits_.make(pool, words, Fill::zero));
        addAll(numCol);
        return Status::ok;
    }
    void addAll(int32_t numCol) {
        for (int32_t j = 0; j < numCol; ++j) add(j);
    }
    void add(int32_t j) { bits_[j >> 6] |= std::uint64_t{1} << (j & 63); }
    /// Takes the first pending column at or after `from`; -1 when there is none.
    int32_t takeFrom(int32_t from) {
        std::uint64_t mask = ~std::uint64_t{0} << (from & 63);
        for (std::size_t w = static_cast<std::size_t>(from >> 6); w < bits_.size(); ++w) {
            const std::uint64_t word = bits_[w] & mask;
            mask = ~std::uint64_t{0};
            if (word == 0) continue;
            bits_[w] &= ~(word & (~word + 1));
            return static_cast<int32_t>(w) * 64 + std::countr_zero(word);
        }
        return -1;
    }

private:
    PoolArray<std::uint64_t> bits_;
};

struct Recovery {
    SolverInstance* instance;
    Model& model;
    const SolveOptions& options;
    const Presolver& presolver;
    IpmSolution& full;
    DirectionRecord* direction;  // or null
    PoolArray<int32_t> rowBegin, colIndex;
    PoolArray<double> rowValue;
    PendingColumns pending;
    double largestStep;  // a transfer beyond this is part of a cycle that grows
    bool diverged;
    bool swapped;  // closed columns hand their duals to the row of the other side
};

/// The duals as the solve left them.
struct SavedDuals {
    PoolArray<double> row, lower, upper;

    Status save(MemoryPool* pool, const Model& model, const IpmSolution& full) {
        OV_TRY(row.make(pool, static_cast<std::size_t>(model.numRow)));
        OV_TRY(lower.make(pool, static_cast<std::size_t>(model.numCol)));
        OV_TRY(upper.make(pool, static_cast<std::size_t>(model.numCol)));
        std::copy_n(full.solDual, model.numRow, row.data());
        std::copy_n(full.lowerDual.data(), model.numCol, lower.data());
        std::copy_n(full.upperDual.data(), model.numCol, upper.data());
        return Status::ok;
    }
    void putBack(IpmSolution& full) const {
        std::copy(row.begin(), row.end(), full.solDual);
        std::copy(lower.begin(), lower.end(), full.lowerDual.data());
        std::copy(upper.begin(), upper.end(), full.upperDual.data());
    }
};

/// A value of the solution and its direction, kept at their ratio: writing the one moves the other.
class Paired {
public:
    Paired(double& value, double* delta, double floor)
        : value_(value),
          delta_(delta),
          ratio_(delta != nullptr && std::fabs(value) > floor ? *delta / value : 0) {}
    [[nodiscard]] double get() const { return value_; }
    void set(double value) {
        value_ = value;
        if (delta_ != nullptr) *delta_ = ratio_ * value;
    }

private:
    double& value_;
    double* delta_;
    double ratio_;
};

double floorOf(const Recovery& r) {
    return r.options.parameters.presolve.directionFloor;
}

PoolArray<double>& dualsOf(IpmSolution& s, Side side) {
    return side == Side::lower ? s.lowerDual : s.upperDual;
}
PoolArray<double>& slacksOf(IpmSolution& s, Side side) {
    return side == Side::lower ? s.lowerSlack : s.upperSlack;
}

Paired boundDual(Recovery& r, Side side, int32_t j) {
    double* delta = nullptr;
    if (r.direction != nullptr)
        delta =
            side == Side::lower ? &r.direction->lowerDualDelta[j] : &r.direction->upperDualDelta[j];
    return {dualsOf(r.full, side)[j], delta, floorOf(r)};
}

Paired boundSlack(Recovery& r, Side side, int32_t j) {
    double* delta = nullptr;
    if (r.direction != nullptr)
        delta = side == Side::lower ? &r.direction->lowerSlackDelta[j]
                                    : &r.direction->upperSlackDelta[j];
    return {slacksOf(r.full, side)[j], delta, floorOf(r)};
}

Paired rowDual(Recovery& r, int32_t i) {
    return {r.full.solDual[i], r.direction != nullptr ? &r.direction->solDualDelta[i] : nullptr,
            floorOf(r)};
}

/// Gives `residual` of column j's dual equation, reducedCost - lowerDual + upperDual, to the two
/// bound duals. The two signs are not mirror images: an overshoot below zero is handed over on the
/// upper side and dropped on the lower one, where it is left for the next look at the column.
void absorbResidual(Recovery& r, int32_t j, double residual) {
    const double tolerance = r.options.dualTol;
    Paired lower = boundDual(r, Side::lower, j), upper = boundDual(r, Side::upper, j);
    if (residual < 0) {
        if (lower.get() <= tolerance) {
            lower.set(0);
            upper.set(upper.get() - residual);
        } else {
            lower.set(lower.get() + residual);
            if (lower.get() < -tolerance) lower.set(0);
        }
    } else if (upper.get() <= tolerance) {
        lower.set(lower.get() + residual);
        upper.set(0);
    } else {
        upper.set(upper.get() - residual);
        if (upper.get() < -tolerance) {
            lower.set(lower.get() - upper.get());
            upper.set(0);
        }
    }
}

/// One side of a column: the tightened and the caller's bound, seen with the sign by which a lower
/// bound looks like an upper one.
struct SideView {
    Side side;
    double sign;  // of the dual in the reduced cost: + lower, - upper
    double tightened, caller;
    int32_t row;
};

/// Whether the row that defines the other side takes the dual as well: a closed column's dual may
/// have either sign, and so may an equation's.
bool otherRowServes(const Recovery& r, int32_t j, int32_t row) {
    return row >= 0 && r.model.rowSense[row] == OVRELIN_ROW_EQUAL &&
           r.presolver.lower[j] + fixedTolerance(r.options) >= r.presolver.upper[j];
}

SideView viewSide(const Recovery& r, Side side, int32_t j) {
    const Presolver& p = r.presolver;
    const bool low = side == Side::lower;
    int32_t row = low ? p.lbMap[j] : p.ubMap[j];
    const int32_t other = low ? p.ubMap[j] : p.lbMap[j];
    if (r.swapped && row >= 0 && otherRowServes(r, j, other)) row = other;
    if (low) return {side, 1, p.lower[j], r.model.lower[j], row};
    return {side, -1, p.upper[j], r.model.upper[j], row};
}

/// A tightening within primalTol does not count: a dual on such a bound stays on it.
bool wasTightened(const Recovery& r, const SideView& view) {
    if (view.row < 0) return false;
    const double infinity = r.options.infinity;
    const bool finiteNow = view.sign * view.tightened > -infinity;
    const bool finiteBefore = view.sign * view.caller > -infinity;
    if (!finiteNow && !finiteBefore) return false;
    return !finiteNow || !finiteBefore ||
           std::fabs(view.tightened - view.caller) >= r.options.primalTol;
}

void resetSlack(Recovery& r, const SideView& view, int32_t j) {
    const double distance = view.sign * (r.full.solPrimal[j] - view.caller);
    const bool finite = view.sign * view.caller > -r.options.infinity;
    boundSlack(r, view.side, j).set(finite ? distance : 0);
}

double elementOf(const Recovery& r, int32_t row, int32_t col) {
    for (int32_t k = r.rowBegin[row]; k < r.rowBegin[row + 1]; ++k)
        if (r.colIndex[k] == col) return r.rowValue[k];
    return 0;
}

/// The dual of column j on `view` moves to the row. False when the row does not hold the column.
bool transferDual(Recovery& r, const SideView& view, int32_t j) {
    const double dual = dualsOf(r.full, view.side)[j];
    const double element = elementOf(r, view.row, j);
    if (element == 0) return false;
    const double step = view.sign * dual / element;
    if (!(std::fabs(step) <= r.largestStep)) {
        r.diverged = true;
        return false;
    }
    for (int32_t k = r.rowBegin[view.row]; k < r.rowBegin[view.row + 1]; ++k) {
        const int32_t c = r.colIndex[k];
        if (c == j) continue;
        const double residual = -(r.rowValue[k] * step);
        r.pending.add(c);
        r.model.reducedCost[c] += residual;
        absorbResidual(r, c, residual);
    }
    Paired rowValue = rowDual(r, view.row);
    rowValue.set(rowValue.get() + step);
    r.model.reducedCost[j] -= view.sign * dual;
    boundDual(r, view.side, j).set(0);
    return true;
}

/// Returns whether a dual has moved.
bool settleSide(Recovery& r, Side side, int32_t j) {
    const SideView view = viewSide(r, side, j);
    if (!wasTightened(r, view)) return false;
    resetSlack(r, view, j);
    if (dualsOf(r.full, side)[j] < r.options.dualTol) {
        boundDual(r, side, j).set(0);
        return false;
    }
    if (transferDual(r, view, j)) return true;
    if (r.diverged) return false;
    logText(r.instance, side == Side::lower
                            ? "this should not happen: nonzero dual on tighter lower bound."
                            : "this should not happen: nonzero dual on tighter upper bound.");
    return false;
}

double residualOf(const Recovery& r, int32_t j) {
    return r.model.reducedCost[j] - r.full.lowerDual[j] + r.full.upperDual[j];
}

/// The second look takes what the first has dropped.
void absorbAll(Recovery& r, int32_t j) {
    for (int look = 0; look < 2 && std::fabs(residualOf(r, j)) > r.options.dualTol; ++look)
        absorbResidual(r, j, residualOf(r, j));
}

bool visitColumn(Recovery& r, int32_t j) {
    absorbAll(r, j);
    const bool lower = settleSide(r, Side::lower, j);
    const bool upper = settleSide(r, Side::upper, j);
    return lower || upper;
}

/// Back to the duals as the solve left them, which fit the tightened bounds at least.
void restart(Recovery& r, const SavedDuals& saved) {
    saved.putBack(r.full);
    recomputeModelValues(r.model);
    r.pending.addAll(r.model.numCol);
    r.diverged = false;
}

Status buildRows(Recovery& r) {
    const Model& model = r.model;
    MemoryPool* pool = r.instance->pool;
    const auto elements = static_cast<std::size_t>(model.numCoef);
    OV_TRY(r.rowBegin.make(pool, static_cast<std::size_t>(model.numRow) + 1));
    OV_TRY(r.colIndex.make(pool, elements));
    OV_TRY(r.rowValue.make(pool, elements));
    transposeColumns(model.numRow, model.numCol, model.colBegin, model.colLength, model.rowIndex,
                     model.matValue, r.rowBegin.data(), r.colIndex.data(), r.rowValue.data());
    return Status::ok;
}

}  // namespace

/// True when a pass without a transfer has ended the relaxation.
bool relax(Recovery& r) {
    bool moved = true;
    for (int32_t pass = 0; moved && pass < r.options.parameters.presolve.maxDualPass; ++pass) {
        moved = false;
        for (int32_t j = r.pending.takeFrom(0); j >= 0 && !r.diverged;
             j = j + 1 < r.model.numCol ? r.pending.takeFrom(j + 1) : -1)
            moved = visitColumn(r, j) || moved;
        if (r.diverged) return false;
    }
    return !moved;
}

Status restoreDualSolution(SolverInstance* instance, Model& model, const SolveOptions& options,
                           const Presolver& presolver, IpmSolution& full,
                           TransformRecord* transform) {
    DirectionRecord* direction = transform != nullptr ? transform->direction.get() : nullptr;
    Recovery recovery{instance, model, options, presolver, full,  direction, {},
                      {},       {},    {},      0,         false, false};
    SavedDuals saved;
    OV_TRY(saved.save(instance->pool, model, full));
    OV_TRY(buildRows(recovery));
    OV_TRY(recovery.pending.make(instance->pool, model.numCol));
    recovery.largestStep =
        options.parameters.presolve.dualGrowth * (1 + maxNorm(model.numCol, model.reducedCost));
    if (relax(recovery)) return Status::ok;
    restart(recovery, saved);
    recovery.swapped = true;
    if (relax(recovery) || !recovery.diverged) return Status::ok;
    restart(recovery, saved);
    for (int32_t j = 0; j < model.numCol; ++j) absorbAll(recovery, j);
    return Status::ok;
}

}  // namespace ovrelin
