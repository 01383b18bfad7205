// A quadratic program that owns its arrays, and the check that it passes before a module sees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "ovrelin/problem.h"

namespace ov {

/// A malformed problem. what() names the array, the index and the reason, as in
/// "matrix.index[17]: row 9 is outside 0..7".
class InputError : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// A sparse matrix by columns: column j has the entries begin[j] .. begin[j + 1] - 1 of `index` and
/// `value`. `begin` has one entry more than there are columns, or none for a matrix without
/// entries.
struct SparseMatrix {
    std::vector<std::int32_t> begin;
    std::vector<std::int32_t> index;
    std::vector<double> value;
};

inline constexpr std::int32_t minimise = 1;
inline constexpr std::int32_t maximise = -1;
inline constexpr double infinity = std::numeric_limits<double>::infinity();

/// minimise (maximise)  obj'x + 0.5 x'Qx + objConstant
/// subject to           matrix x  by rowSense, rhs and range,   lower <= x <= upper
///
/// Q is quadDiag plus the strict lower triangle `quad`: an entry q at (k, j), k > j, adds q x_j x_k
/// and a diagonal entry d adds 0.5 d x_j^2. Row senses: 'E' a'x = rhs, 'G' a'x >= rhs,
/// 'L' a'x <= rhs, 'R' rhs <= a'x <= rhs + range, 'N' no constraint. A bound of magnitude 1e20 or
/// more, infinite ones included, is absent.
struct Problem {
    std::string name;
    std::int32_t objSense = minimise;
    double objConstant = 0;
    std::vector<double> obj;           // [numCol]; its size is the number of columns
    std::vector<double> quadDiag;      // [numCol], or empty for zero
    SparseMatrix quad;                 // strict lower triangle by columns
    SparseMatrix matrix;               // rows by columns
    std::vector<char> rowSense;        // [numRow]; its size is the number of rows
    std::vector<double> rhs;           // [numRow]
    std::vector<double> range;         // [numRow], or empty when no row is 'R'
    std::vector<double> lower, upper;  // [numCol]

    [[nodiscard]] std::size_t numCol() const { return obj.size(); }
    [[nodiscard]] std::size_t numRow() const { return rowSense.size(); }
};

/// Throws InputError at the first fault: array sizes, column starts, indices out of range or twice
/// in a column, entries of `quad` on or above the diagonal, NaN anywhere, infinite numbers outside
/// the bounds, unknown senses, negative ranges. Crossing bounds pass: the solver answers them.
void checkProblem(const Problem& problem);

/// The record of the binary interface on the problem's own arrays, null for an empty one. Arrays
/// for results and the break are for the caller to add.
[[nodiscard]] ProblemInput inputRecord(Problem& problem);

/// The small separable problem
///   minimise sum(0.5 quadDiag_i x_i^2 + linear_i x_i)  subject to  sum x_i = rhs, lower <= x <=
///   upper
/// with quadDiag >= 0. All arrays have one size.
struct SeparableProblem {
    std::vector<double> quadDiag, linear, lower, upper;
    double rhs = 0;
    std::int32_t maxIterations = 200;
    double primalTol = 1e-8;
    double dualTol = 1e-8;
    double gapTol = 1e-8;
};

/// Sizes and NaN only; negative quadDiag and crossing bounds are the operation's to report.
void checkProblem(const SeparableProblem& problem);

}  // namespace ov
