// Symmetric matrices with values for tests of the sparse solver, their dense images, and LAPACK on
// those as the judge.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/sparse_patterns.hpp"

namespace ovtest {

struct TestMatrix {
    TestPattern pattern;
    std::vector<double> value;

    [[nodiscard]] std::int32_t n() const { return pattern.n; }
    [[nodiscard]] const std::int32_t* begin() const { return pattern.colBegin.data(); }
    [[nodiscard]] const std::int32_t* row() const { return pattern.rowIndex.data(); }
};

enum class Kind {
    indefinite,     // anything symmetric
    quasiDefinite,  // positive first block, negative second one
    saddle,         // positive first block, zero second one
    badlyScaled,    // rows and columns multiplied by powers of ten
    singular,       // some row is zero or the copy of another
    definite,       // diagonally dominant
};

/// Values for a pattern. Both triangles agree.
TestMatrix withValues(std::mt19937& random, TestPattern pattern, Kind kind);

/// Column-major, n x n.
std::vector<double> toDense(const TestMatrix& matrix);

/// A x
std::vector<double> multiply(const TestMatrix& matrix, const std::vector<double>& x);

/// max|b - A x| / (max|x| max rowsum|A| + max|b|); 0 when b is 0.
double backwardError(const TestMatrix& matrix, const std::vector<double>& x,
                     const std::vector<double>& b);

/// Solution by LAPACK's symmetric indefinite solver; empty for an exactly singular matrix.
std::vector<double> denseSolve(const TestMatrix& matrix, const std::vector<double>& b);

/// Eigenvalues in ascending order.
std::vector<double> denseEigenvalues(const TestMatrix& matrix);

std::vector<double> randomVector(std::mt19937& random, std::int32_t n);

}  // namespace ovtest
