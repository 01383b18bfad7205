// The first step of the way back: every column and row by its state. The values do not depend on
// each other, so that one sweep in any order does.
#include <cmath>

#include "presolve/postsolve.hpp"

namespace ovrelin {
namespace {

/// The values that a column has in a solution.
struct ColumnPoint {
    double x, lowerSlack, upperSlack, lowerDual, upperDual;
};

struct ColumnData {
    double lower, upper, cost, diag;
    double infinity;
    [[nodiscard]] bool hasLower() const { return lower > -infinity; }
    [[nodiscard]] bool hasUpper() const { return upper < infinity; }
    /// At `x` with the slacks that belong to it and no duals.
    [[nodiscard]] ColumnPoint at(double x) const {
        return {x, hasLower() ? x - lower : 0, hasUpper() ? upper - x : 0, 0, 0};
    }
    [[nodiscard]] ColumnPoint atLower() const {
        return {lower, 0, hasUpper() ? upper - lower : 0, 0, 0};
    }
    [[nodiscard]] ColumnPoint atUpper() const {
        return {upper, hasLower() ? upper - lower : 0, 0, 0, 0};
    }
};

/// The minimiser of cost x + 0.5 diag x^2 over the bounds, for diag away from zero.
ColumnPoint bestQuadratic(const ColumnData& column) {
    const auto value = [&](double x) { return (0.5 * x * column.diag + column.cost) * x; };
    if (column.diag < 0)
        return value(column.upper) < value(column.lower) ? column.atUpper() : column.atLower();
    const double best = (0 - column.cost) / column.diag;
    if (column.lower > best) return column.atLower();
    if (best > column.upper) return column.atUpper();
    return column.at(best);
}

/// The minimiser of cost x. The dual takes the cost with its sign; the dual recovery, which sees
/// the residual, turns a negative one on the upper side around.
ColumnPoint bestLinear(const ColumnData& column) {
    if (column.cost > 0) {
        ColumnPoint point = column.atLower();
        point.lowerDual = column.cost;
        return point;
    }
    if (column.cost < 0) {
        ColumnPoint point = column.atUpper();
        point.upperDual = column.cost;
        return point;
    }
    if (column.lower < -column.infinity && column.upper > column.infinity) return {0, 0, 0, 0, 0};
    if (!column.hasLower()) return {column.upper, 0, 0, 0, 0};
    return column.atLower();
}

ColumnPoint keptPoint(const ColumnData& column, double x) {
    if (column.hasLower() && column.lower > x) return column.atLower();
    if (column.hasUpper() && column.upper < x) return column.atUpper();
    return column.at(x);
}

/// The slacks of a fixed column are those of the caller's bounds.
ColumnPoint fixedPoint(const Model& model, double infinity, double x, int32_t j) {
    const double lower = model.lower[j], upper = model.upper[j];
    return {x, lower > -infinity ? x - lower : 0, upper < infinity ? upper - x : 0, 0, 0};
}

void writePoint(IpmSolution& solution, int32_t j, const ColumnPoint& point) {
    solution.solPrimal[j] = point.x;
    solution.lowerSlack[j] = point.lowerSlack;
    solution.upperSlack[j] = point.upperSlack;
    solution.lowerDual[j] = point.lowerDual;
    solution.upperDual[j] = point.upperDual;
}

ColumnPoint readPoint(const IpmSolution& solution, int32_t j) {
    return {solution.solPrimal[j], solution.lowerSlack[j], solution.upperSlack[j],
            solution.lowerDual[j], solution.upperDual[j]};
}

void restoreRows(const Presolver& presolver, const IpmSolution* reduced, IpmSolution& full) {
    for (int32_t i = 0; i < presolver.numRow; ++i) {
        const int32_t at = presolver.rowMap[i];
        if (at >= 0 && reduced == nullptr) continue;
        full.solDual[i] = at < 0 ? 0 : reduced->solDual[at];
        full.ineqnSlack[i] = at < 0 ? 0 : reduced->ineqnSlack[at];
    }
}

/// From the last index down: the reduced values lie at smaller indices and are not overwritten
/// before they are read.
void spread(PoolArray<double>& values, const PoolArray<int32_t>& map) {
    for (std::size_t k = map.size(); k-- > 0;) values[k] = map[k] < 0 ? 0 : values[map[k]];
}

void spreadDirection(const Presolver& presolver, DirectionRecord& direction) {
    for (PoolArray<double>* values :
         {&direction.solPrimalDelta, &direction.lowerSlackDelta, &direction.upperSlackDelta,
          &direction.lowerDualDelta, &direction.upperDualDelta})
        spread(*values, presolver.colMap);
    spread(direction.solDualDelta, presolver.rowMap);
    spread(direction.ineqnSlackDelta, presolver.rowMap);
}

}  // namespace

void restorePrimalSolution(const Presolver& presolver, const IpmSolution* reduced,
                           IpmSolution& full, TransformRecord* transform, double infinity,
                           bool keepPrimal) {
    const Model& model = *presolver.inModel;
    const bool quad = model.typeModel == modelTypeQp && model.quadDiag != nullptr;
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const int32_t at = presolver.colMap[j];
        if (at == COLMAP_FIXED) {
            writePoint(full, j, fixedPoint(model, infinity, presolver.lower[j], j));
        } else if (at == COLMAP_EMPTY) {
            const ColumnData column{presolver.lower[j], presolver.upper[j], presolver.obj[j],
                                    quad ? model.quadDiag[j] : 0, infinity};
            const bool curved = std::fabs(column.diag) > presolver.quadDiagFloor;
            writePoint(full, j,
                       curved       ? bestQuadratic(column)
                       : keepPrimal ? keptPoint(column, full.solPrimal[j])
                                    : bestLinear(column));
        } else if (at >= 0 && reduced != nullptr) {
            writePoint(full, j, readPoint(*reduced, at));
        }
    }
    restoreRows(presolver, reduced, full);
    if (transform != nullptr && transform->direction)
        spreadDirection(presolver, *transform->direction);
}

}  // namespace ovrelin
