#include "frame/operations/shift_bounds.hpp"

#include <utility>

namespace ovrelin {
namespace {

struct ColumnShift {
    double shift;
    ShiftCode code;
};

ColumnShift plainShift(double shift) {
    return {shift, shift == 0.0 ? ShiftCode::none : ShiftCode::shifted};
}

ColumnShift mirrorAt(double upper) {
    return {upper, upper == 0.0 ? ShiftCode::mirroredAtZero : ShiftCode::mirrored};
}

ColumnShift chooseShift(double lower, double upper, double cost, double infinity) {
    const bool hasLower = lower > -infinity;
    const bool hasUpper = upper < infinity;
    if (!hasLower && !hasUpper) return {0.0, ShiftCode::none};
    if (!hasUpper) return plainShift(lower);
    if (!hasLower || cost < 0.0) return mirrorAt(upper);
    return plainShift(cost > 0.0 ? lower : (lower + upper) * 0.5);
}

bool isMirrored(ShiftCode code) {
    return code == ShiftCode::mirrored || code == ShiftCode::mirroredAtZero;
}

void addToRhs(Model& model, int32_t j, double factor) {
    const int32_t end = model.colBegin[j] + model.colLength[j];
    for (int32_t k = model.colBegin[j]; k < end; ++k)
        model.rhs[model.rowIndex[k]] += model.matValue[k] * factor;
}

void negateColumn(Model& model, int32_t j) {
    model.obj[j] = -model.obj[j];
    const int32_t end = model.colBegin[j] + model.colLength[j];
    for (int32_t k = model.colBegin[j]; k < end; ++k) model.matValue[k] = -model.matValue[k];
}

void moveInterval(double& lower, double& upper, double distance, double infinity) {
    if (lower > -infinity) lower += distance;
    if (upper < infinity) upper += distance;
}

// [lower, shift] becomes [0, shift - lower]; an absent lower bound stays absent on the other side.
void mirrorInterval(double& lower, double& upper, double shift, double infinity) {
    const double newUpper = lower > -infinity ? shift - lower : -lower;
    lower = 0.0;
    upper = newUpper;
}

void unmirrorInterval(double& lower, double& upper, double shift, double infinity) {
    lower = (upper < infinity ? shift : 0.0) - upper;
    upper = shift;
}

// Applies `change` to the model's interval of column j and to the kept one.
template <class Change>
void forIntervals(Model& model, TransformRecord& transform, int32_t j, Change change) {
    change(model.lower[j], model.upper[j]);
    if (transform.lowerKeep != nullptr) change(transform.lowerKeep[j], transform.upperKeep[j]);
}

void swapSides(IpmSolution& solution, int32_t j) {
    std::swap(solution.lowerDual[j], solution.upperDual[j]);
    std::swap(solution.lowerSlack[j], solution.upperSlack[j]);
}

void mirrorDirection(DirectionRecord& direction, int32_t j) {
    std::swap(direction.lowerDualDelta[j], direction.upperDualDelta[j]);
    std::swap(direction.lowerSlackDelta[j], direction.upperSlackDelta[j]);
    direction.solPrimalDelta[j] = -direction.solPrimalDelta[j];
}

void shiftColumn(Model& model, TransformRecord& transform, int32_t j, ColumnShift column,
                 double infinity) {
    addToRhs(model, j, -column.shift);
    if (isMirrored(column.code)) {
        negateColumn(model, j);
        forIntervals(model, transform, j, [=](double& lower, double& upper) {
            mirrorInterval(lower, upper, column.shift, infinity);
        });
    } else {
        forIntervals(model, transform, j, [=](double& lower, double& upper) {
            moveInterval(lower, upper, -column.shift, infinity);
        });
    }
}

void unshiftColumn(Model& model, TransformRecord& transform, int32_t j, ColumnShift column,
                   double infinity) {
    if (isMirrored(column.code)) {
        negateColumn(model, j);
        forIntervals(model, transform, j, [=](double& lower, double& upper) {
            unmirrorInterval(lower, upper, column.shift, infinity);
        });
    } else {
        forIntervals(model, transform, j, [=](double& lower, double& upper) {
            moveInterval(lower, upper, column.shift, infinity);
        });
    }
    addToRhs(model, j, column.shift);
}

}  // namespace

Status shiftBounds(SolverInstance* instance, Model& model, const SolveOptions& options,
                   TransformRecord& transform, BoundShift& record, IpmSolution* solution) {
    const auto numCol = static_cast<std::size_t>(model.numCol);
    if (!record.shift.isSet()) OV_TRY(record.shift.make(instance->pool, numCol));
    if (!record.code.isSet()) OV_TRY(record.code.make(instance->pool, numCol));
    for (int32_t j = 0; j < model.numCol; ++j) {
        const ColumnShift column =
            chooseShift(model.lower[j], model.upper[j], model.obj[j], options.infinity);
        record.shift[j] = column.shift;
        record.code[j] = column.code;
        if (column.code == ShiftCode::none) continue;
        shiftColumn(model, transform, j, column, options.infinity);
        if (solution == nullptr) continue;
        double& x = solution->solPrimal[j];
        x = isMirrored(column.code) ? column.shift - x : x - column.shift;
        if (isMirrored(column.code)) swapSides(*solution, j);
    }
    return Status::ok;
}

void unshiftBounds(Model& model, const SolveOptions& options, TransformRecord& transform,
                   const BoundShift& record, IpmSolution& solution) {
    for (int32_t j = 0; j < model.numCol; ++j) {
        const ColumnShift column{record.shift[j], record.code[j]};
        if (column.code == ShiftCode::none) continue;
        unshiftColumn(model, transform, j, column, options.infinity);
        double& x = solution.solPrimal[j];
        x = isMirrored(column.code) ? column.shift - x : x + column.shift;
        if (!isMirrored(column.code)) continue;
        swapSides(solution, j);
        if (transform.direction) mirrorDirection(*transform.direction, j);
    }
}

}  // namespace ovrelin
