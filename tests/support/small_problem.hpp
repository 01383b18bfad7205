// Small dense problems: a generator that mixes every row sense and bound type, and a reference
// solver that enumerates active sets. Nothing here knows the solver under test.
#pragma once

#include <random>
#include <string>

#include "support/array.hpp"

namespace ovtest {

inline constexpr double absent = 1e20;  // a bound of this magnitude does not exist

/// minimise (sense 1) or maximise (sense -1) c'x + 0.5 x'Qx + constant
/// subject to rowLower <= Ax <= rowUpper, lower <= x <= upper. Dense, row-major.
struct SmallProblem {
    int sense = 1;
    int numRow = 0, numCol = 0;
    Array<double> c, q, a;  // q [numCol x numCol] symmetric
    Array<double> rowLower, rowUpper, lower, upper;
    std::string rowSense;
    double constant = 0;

    [[nodiscard]] double objective(const std::vector<double>& x) const;
    [[nodiscard]] Array<double> activity(const std::vector<double>& x) const;
    /// c + Qx - A'y.
    [[nodiscard]] Array<double> reducedCost(const std::vector<double>& x,
                                            const std::vector<double>& y) const;
};

/// Columns between their bounds with costs of 1, no row yet.
SmallProblem box(std::vector<double> lower, std::vector<double> upper);
void addRow(SmallProblem& p, char sense, double low, double high, const std::vector<double>& row);

enum class Verdict { optimal, infeasible, unbounded };

struct Reference {
    Verdict verdict = Verdict::infeasible;
    double objective = 0;
    Array<double> x, y;
};

/// Enumerates every choice of active bounds and row sides, solves each equality-constrained problem
/// by dense elimination and keeps what satisfies all optimality conditions. Needs a feasible set
/// without lines, so that an optimum with a regular active set exists whenever there is an optimum.
Reference solveByEnumeration(const SmallProblem& problem);

/// Which kinds of rows and columns the generator may draw.
struct Shape {
    int maxRow = 3, maxCol = 4;
    bool quadratic = true;
    bool offDiagonals = true;
    bool freeRows = false;
    bool fixedColumns = false;
    bool freeColumns = true;  // only drawn where Q is positive definite
    bool equalities = true;
    bool maximise = true;
    bool feasible = true;  // right-hand sides from an interior point
};

SmallProblem drawProblem(std::mt19937_64& random, const Shape& shape);

/// The largest violation of the optimality conditions by (x, y), each relative to the size of the
/// numbers that it is made of: rows, bounds, signs of y and of the reduced costs, complementarity.
double kktViolation(const SmallProblem& problem, const std::vector<double>& x,
                    const std::vector<double>& y);

}  // namespace ovtest
