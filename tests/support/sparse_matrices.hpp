// Symmetric matrices of every kind that the sparse solver may meet, and LAPACK as the judge.
#pragma once

#include "support/sparse_patterns.hpp"

namespace ovtest {

struct TestMatrix {
    TestPattern pattern;
    Array<double> value;

    [[nodiscard]] std::int32_t n() const { return pattern.n; }
    [[nodiscard]] const std::int32_t* begin() const { return pattern.colBegin.data(); }
    [[nodiscard]] const std::int32_t* row() const { return pattern.rowIndex.data(); }

    /// Rewrites every entry as change(row, column, value).
    template <class Change>
    void rewrite(Change change) {
        double* next = value.data();
        pattern.forEach([&](std::int32_t i, std::int32_t j) {
            *next = change(i, j, *next);
            ++next;
        });
    }
};

enum class Kind {
    indefinite,     // anything symmetric
    quasiDefinite,  // positive first block, negative second one
    saddle,         // positive first block, zero second one
    badlyScaled,    // rows and columns multiplied by powers of ten
    singular,       // some rows are zero
    definite,       // diagonally dominant
};
inline constexpr Kind allKinds[] = {Kind::indefinite,  Kind::quasiDefinite, Kind::saddle,
                                    Kind::badlyScaled, Kind::singular,      Kind::definite};

/// Values for a pattern. Both triangles agree.
TestMatrix withValues(std::mt19937& random, TestPattern pattern, Kind kind);

/// Column-major, n x n.
Array<double> toDense(const TestMatrix& matrix);

/// Eigenvalues in ascending order, by LAPACK.
Array<double> denseEigenvalues(const TestMatrix& matrix);

Array<double> randomVector(std::mt19937& random, std::int32_t n);

/// A x
Array<double> multiply(const TestMatrix& matrix, const Array<double>& x);

/// max|b - A x| / (max|x| max rowsum|A| + max|b|); 0 when b is 0.
double backwardError(const TestMatrix& matrix, const Array<double>& x, const Array<double>& b);

double largest(const Array<double>& x);

/// A matrix, a right-hand side, and what the eigenvalues and eigenvectors say of them.
struct Judged {
    TestMatrix matrix;
    Array<double> b, x;  // A x = b
    double condition;    // smallest over largest absolute eigenvalue, 0 without any
    std::int32_t numPositive;
};

Judged judge(std::mt19937& random, TestMatrix matrix);

}  // namespace ovtest
