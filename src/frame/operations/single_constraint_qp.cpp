// Notation: t, v are the slacks of lower and upper bounds, z, w their duals, nu the dual of the
// constraint. A slack after a full step is predicted as (x - l) + dx: adding dx to x first would
// cancel the digits of a small slack, and z / t carries that error into the dual.
#include "frame/operations/single_constraint_qp.hpp"

#include <algorithm>
#include <cmath>

#include "ovrelin/codes.h"

namespace ovrelin {
namespace {

using std::int32_t;

constexpr double startPoint = 100.0;  // the same start for all problems, on purpose
constexpr double startDual = 10.0;
constexpr double centring = 0.5;
constexpr double damping = 0.9999;
constexpr double pairFloor = 1e-15;
// Columns of so little give cannot repair the constraint; a small divisor stands in for their sum.
constexpr double weightFloor = 1e-17;
constexpr double weightReplace = 1e-11;

enum class QuickExit { none, infeasible, atLower, atUpper };

struct Iteration {
    double nu;
    double target;  // centred complementarity product
    double primal;  // objective value
    double normC;   // largest |c_i|
    int32_t pairs;  // number of bounds
};

bool hasLower(const SingleConstraintRequest& r, int32_t i) {
    return (r.boundType[i] & OVRELIN_BOUND_LOWER) != 0;
}

bool hasUpper(const SingleConstraintRequest& r, int32_t i) {
    return (r.boundType[i] & OVRELIN_BOUND_UPPER) != 0;
}

double predictedLower(const SingleConstraintRequest& r, int32_t i) {
    return (r.solution[i] - r.lower[i]) + r.step[i];
}

double predictedUpper(const SingleConstraintRequest& r, int32_t i) {
    return (r.upper[i] - r.solution[i]) - r.step[i];
}

bool anyNegative(const double* values, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        if (values[i] < 0.0) return true;
    }
    return false;
}

bool boundsCross(const SingleConstraintRequest& r) {
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (hasLower(r, i) && hasUpper(r, i) && r.lower[i] > r.upper[i]) return true;
    }
    return false;
}

bool anyFree(const SingleConstraintRequest& r) {
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (!hasLower(r, i) && !hasUpper(r, i)) return true;
    }
    return false;
}

/// Sum of the bounds of one side, or `missing` when a variable lacks its bound.
double boundSum(const SingleConstraintRequest& r, std::uint8_t bit, const double* bound,
                double missing) {
    double sum = 0.0;
    for (int32_t i = 0; i < r.numVar; ++i) {
        if ((r.boundType[i] & bit) == 0) return missing;
        sum += bound[i];
    }
    return sum;
}

QuickExit testBounds(const SingleConstraintRequest& r) {
    const double sumLower = boundSum(r, OVRELIN_BOUND_LOWER, r.lower, -r.infinityValue);
    const double sumUpper = boundSum(r, OVRELIN_BOUND_UPPER, r.upper, r.infinityValue);
    const double width = r.primalTol * std::max(1.0, std::fabs(r.rhs));
    const double low = r.rhs - width;
    const double high = r.rhs + width;
    if (sumLower > high || low > sumUpper) return QuickExit::infeasible;
    if (sumLower >= low) return QuickExit::atLower;
    if (high >= sumUpper) return QuickExit::atUpper;
    return QuickExit::none;
}

Iteration startIteration(SingleConstraintRequest& r) {
    Iteration it{};
    it.nu = startDual;
    for (int32_t i = 0; i < r.numVar; ++i) {
        it.normC = std::max(it.normC, std::fabs(r.linear[i]));
        it.pairs += hasLower(r, i) + hasUpper(r, i);
        r.solution[i] = startPoint;
        r.lowerSlack[i] = startPoint;
        r.upperSlack[i] = startPoint;
        r.lowerDual[i] = startPoint;
        r.upperDual[i] = startPoint;
    }
    return it;
}

double centredProduct(const SingleConstraintRequest& r, int32_t pairs) {
    if (pairs == 0) return 0.0;
    double sum = 0.0;
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (hasLower(r, i)) sum += r.lowerDual[i] * r.lowerSlack[i];
        if (hasUpper(r, i)) sum += r.upperDual[i] * r.upperSlack[i];
    }
    return centring * (sum / pairs);
}

/// Fills invDiag and returns its sum.
double invertDiagonal(SingleConstraintRequest& r) {
    double sum = 0.0;
    for (int32_t i = 0; i < r.numVar; ++i) {
        double d = r.quadDiag[i];
        if (hasLower(r, i)) d += r.lowerDual[i] / r.lowerSlack[i];
        if (hasUpper(r, i)) d += r.upperDual[i] / r.upperSlack[i];
        r.invDiag[i] = 1.0 / d;
        sum += r.invDiag[i];
    }
    return sum < weightFloor ? weightReplace : sum;
}

/// Newton direction: dx into step, returns dnu.
double solveNewton(SingleConstraintRequest& r, const Iteration& it) {
    const double weight = invertDiagonal(r);
    double residual = r.rhs;
    for (int32_t i = 0; i < r.numVar; ++i) {
        const double x = r.solution[i];
        double g = -r.quadDiag[i] * x + it.nu - r.linear[i];
        if (hasLower(r, i)) {
            const double z = r.lowerDual[i];
            g += z + (it.target - z * (x - r.lower[i])) / r.lowerSlack[i];
        }
        if (hasUpper(r, i)) {
            const double w = r.upperDual[i];
            g += ((r.upper[i] - x) * w - it.target) / r.upperSlack[i] - w;
        }
        r.step[i] = g * r.invDiag[i];
        residual -= x + r.step[i];
    }
    const double dnu = residual / weight;
    for (int32_t i = 0; i < r.numVar; ++i) r.step[i] += r.invDiag[i] * dnu;
    return dnu;
}

/// Reciprocal of the step at which a slack or a dual of one bound reaches zero; a NaN blocks
/// nothing.
double blocking(double predicted, double slack, double dual, double target) {
    const double bySlack = 1.0 - predicted / slack;
    const double byDual = (predicted - target / dual) / slack;
    double worst = 0.0;
    if (bySlack > worst) worst = bySlack;
    if (byDual > worst) worst = byDual;
    return worst;
}

double stepLength(const SingleConstraintRequest& r, double target) {
    double ratio = 1.0;
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (hasLower(r, i))
            ratio = std::max(
                ratio, blocking(predictedLower(r, i), r.lowerSlack[i], r.lowerDual[i], target));
        if (hasUpper(r, i))
            ratio = std::max(
                ratio, blocking(predictedUpper(r, i), r.upperSlack[i], r.upperDual[i], target));
    }
    const double alpha = 1.0 / ratio;
    return damping * (alpha >= 0.0 && alpha <= 1.0 ? alpha : 1.0);
}

void movePair(double predicted, double target, double length, double& slack, double& dual) {
    dual = std::max(pairFloor, dual + (target - predicted * dual) * length / slack);
    slack = std::max(pairFloor, slack + (predicted - slack) * length);
}

void moveAll(SingleConstraintRequest& r, double target, double length) {
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (hasLower(r, i))
            movePair(predictedLower(r, i), target, length, r.lowerSlack[i], r.lowerDual[i]);
        if (hasUpper(r, i))
            movePair(predictedUpper(r, i), target, length, r.upperSlack[i], r.upperDual[i]);
        r.solution[i] += length * r.step[i];
    }
}

double onePlusMagnitude(double value) {
    return value >= 0.0 ? value + 1.0 : 1.0 - value;
}

void measure(SingleConstraintRequest& r, Iteration& it) {
    double primal = 0.0;
    double dual = r.rhs * it.nu;
    double sum = 0.0;
    double squares = 0.0;
    for (int32_t i = 0; i < r.numVar; ++i) {
        const double x = r.solution[i];
        primal += (0.5 * r.quadDiag[i] * x + r.linear[i]) * x;
        dual -= 0.5 * r.quadDiag[i] * x * x;
        sum += x;
        double residual = r.quadDiag[i] * x - it.nu + r.linear[i];
        if (hasLower(r, i)) {
            dual += r.lowerDual[i] * r.lower[i];
            residual -= r.lowerDual[i];
        }
        if (hasUpper(r, i)) {
            dual -= r.upperDual[i] * r.upper[i];
            residual += r.upperDual[i];
        }
        squares += residual * residual;
    }
    it.primal = primal;
    r.primalResidual = std::fabs(r.rhs - sum) / onePlusMagnitude(r.rhs);
    r.dualResidual = std::sqrt(squares) / (1.0 + it.normC);
    r.gap = std::fabs(primal - dual) / onePlusMagnitude(primal);
}

bool isSolved(const SingleConstraintRequest& r) {
    return r.primalResidual <= r.primalTol && r.dualResidual <= r.dualTol && r.gap <= r.gapTol;
}

void clip(SingleConstraintRequest& r) {
    for (int32_t i = 0; i < r.numVar; ++i) {
        if (hasLower(r, i)) r.solution[i] = std::max(r.lower[i], r.solution[i]);
        if (hasUpper(r, i)) r.solution[i] = std::min(r.upper[i], r.solution[i]);
    }
}

int32_t iterate(SingleConstraintRequest& r) {
    Iteration it = startIteration(r);
    r.primalResidual = r.infinityValue;
    r.dualResidual = r.infinityValue;
    r.gap = r.infinityValue;
    int32_t result = OVRELIN_SINGLE_ITERATION_LIMIT;
    int32_t pass = 0;
    while (result != OVRELIN_SINGLE_SOLVED && pass < r.maxIterations) {
        ++pass;
        it.target = centredProduct(r, it.pairs);
        const double dnu = solveNewton(r, it);
        const double length = stepLength(r, it.target);
        it.nu += length * dnu;
        moveAll(r, it.target, length);
        measure(r, it);
        if (isSolved(r)) result = OVRELIN_SINGLE_SOLVED;
    }
    if (result == OVRELIN_SINGLE_SOLVED) clip(r);
    r.objective = it.primal;
    r.iterations = pass;
    return result;
}

}  // namespace

std::int32_t solveSingleConstraintQp(SingleConstraintRequest* request) {
    SingleConstraintRequest& r = *request;
    if (anyNegative(r.quadDiag, r.numVar)) return OVRELIN_SINGLE_NOT_CONVEX;
    if (boundsCross(r)) return OVRELIN_SINGLE_INFEASIBLE;
    const QuickExit exit = anyFree(r) ? QuickExit::none : testBounds(r);
    switch (exit) {
        case QuickExit::infeasible:
            return OVRELIN_SINGLE_INFEASIBLE;
        case QuickExit::atLower:
            std::copy_n(r.lower, r.numVar, r.solution);
            return OVRELIN_SINGLE_SOLVED;
        case QuickExit::atUpper:
            std::copy_n(r.upper, r.numVar, r.solution);
            return OVRELIN_SINGLE_SOLVED;
        case QuickExit::none:
            break;
    }
    return iterate(r);
}

}  // namespace ovrelin
