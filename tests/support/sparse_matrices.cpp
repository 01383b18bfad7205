#include "support/sparse_matrices.hpp"

#include <algorithm>
#include <cmath>
#include <map>

extern "C" {
void dsysv_(const char* uplo, const std::int32_t* n, const std::int32_t* nrhs, double* a,
            const std::int32_t* lda, std::int32_t* ipiv, double* b, const std::int32_t* ldb,
            double* work, const std::int32_t* lwork, std::int32_t* info);
void dsyev_(const char* jobz, const char* uplo, const std::int32_t* n, double* a,
            const std::int32_t* lda, double* w, double* work, const std::int32_t* lwork,
            std::int32_t* info);
}

namespace ovtest {

namespace {

using std::int32_t;
using std::size_t;

/// Lower triangle entry (i, j), i >= j, of the kind asked for.
double drawEntry(std::mt19937& random, Kind kind, int32_t n, int32_t i, int32_t j) {
    std::uniform_real_distribution<double> draw(-1, 1);
    const int32_t split = n - n / 3;
    const bool second = j >= split;
    const double x = draw(random);
    const bool structured = kind == Kind::quasiDefinite || kind == Kind::saddle;
    if (structured && i != j) return second || i < split ? 0.05 * x : x;
    if (kind == Kind::quasiDefinite) return second ? -0.5 - std::fabs(x) : 0.5 + std::fabs(x);
    if (kind == Kind::saddle) return second ? 0 : 0.5 + std::fabs(x);
    return x;
}

void dominate(TestMatrix& matrix) {
    for (int32_t j = 0; j < matrix.n(); ++j) {
        double sum = 1;
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            if (matrix.row()[k] != j) sum += std::fabs(matrix.value[static_cast<size_t>(k)]);
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            if (matrix.row()[k] == j) matrix.value[static_cast<size_t>(k)] = sum;
    }
}

void scaleSymmetrically(TestMatrix& matrix, const std::vector<double>& factor) {
    for (int32_t j = 0; j < matrix.n(); ++j)
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            matrix.value[static_cast<size_t>(k)] *=
                factor[static_cast<size_t>(j)] * factor[static_cast<size_t>(matrix.row()[k])];
}

/// A zero in the scaling makes a zero row and column.
void makeSingular(std::mt19937& random, TestMatrix& matrix) {
    std::vector<double> factor(static_cast<size_t>(matrix.n()), 1.0);
    for (int32_t i = 0; i < 1 + matrix.n() / 8; ++i) factor[random() % factor.size()] = 0;
    scaleSymmetrically(matrix, factor);
}

}  // namespace

TestMatrix withValues(std::mt19937& random, TestPattern pattern, Kind kind) {
    TestMatrix matrix{std::move(pattern), {}};
    std::map<std::pair<int32_t, int32_t>, double> drawn;
    for (int32_t j = 0; j < matrix.n(); ++j)
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k) {
            const auto [low, high] = std::minmax(matrix.row()[k], j);
            const auto [entry, isNew] = drawn.try_emplace({high, low}, 0.0);
            if (isNew) entry->second = drawEntry(random, kind, matrix.n(), high, low);
            matrix.value.push_back(entry->second);
        }
    if (matrix.n() == 0) return matrix;
    if (kind == Kind::definite) dominate(matrix);
    if (kind == Kind::singular) makeSingular(random, matrix);
    if (kind == Kind::badlyScaled) {
        std::vector<double> factor;
        std::uniform_int_distribution<int> exponent(-3, 3);
        for (int32_t i = 0; i < matrix.n(); ++i) factor.push_back(std::pow(10.0, exponent(random)));
        scaleSymmetrically(matrix, factor);
    }
    return matrix;
}

std::vector<double> toDense(const TestMatrix& matrix) {
    const auto n = static_cast<size_t>(matrix.n());
    std::vector<double> dense(n * n, 0.0);
    for (size_t j = 0; j < n; ++j)
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            dense[j * n + static_cast<size_t>(matrix.row()[k])] =
                matrix.value[static_cast<size_t>(k)];
    return dense;
}

std::vector<double> multiply(const TestMatrix& matrix, const std::vector<double>& x) {
    std::vector<double> y(x.size(), 0.0);
    for (size_t j = 0; j < x.size(); ++j)
        for (int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            y[static_cast<size_t>(matrix.row()[k])] += matrix.value[static_cast<size_t>(k)] * x[j];
    return y;
}

double backwardError(const TestMatrix& matrix, const std::vector<double>& x,
                     const std::vector<double>& b) {
    const std::vector<double> product = multiply(matrix, x);
    double residual = 0, rhs = 0, solution = 0, norm = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        double sum = 0;
        for (int32_t k = matrix.begin()[i]; k < matrix.begin()[i + 1]; ++k)
            sum += std::fabs(matrix.value[static_cast<size_t>(k)]);
        const double gap = std::fabs(b[i] - product[i]);
        residual = std::isnan(gap) ? gap : std::max(residual, gap);
        rhs = std::max(rhs, std::fabs(b[i]));
        solution = std::max(solution, std::fabs(x[i]));
        norm = std::max(norm, sum);
    }
    return rhs == 0 ? 0 : residual / (solution * norm + rhs);
}

std::vector<double> denseSolve(const TestMatrix& matrix, const std::vector<double>& b) {
    const int32_t n = matrix.n(), one = 1, workSize = std::max(1, 64 * n);
    std::vector<double> dense = toDense(matrix), x = b, work(static_cast<size_t>(workSize));
    std::vector<int32_t> pivot(static_cast<size_t>(n));
    int32_t info = 0;
    const int32_t ld = std::max(1, n);
    dsysv_("L", &n, &one, dense.data(), &ld, pivot.data(), x.data(), &ld, work.data(), &workSize,
           &info);
    return info == 0 ? x : std::vector<double>{};
}

std::vector<double> denseEigenvalues(const TestMatrix& matrix) {
    const int32_t n = matrix.n(), workSize = std::max(1, 40 * n), ld = std::max(1, n);
    std::vector<double> dense = toDense(matrix), values(static_cast<size_t>(n)),
                        work(static_cast<size_t>(workSize));
    int32_t info = 0;
    dsyev_("N", "L", &n, dense.data(), &ld, values.data(), work.data(), &workSize, &info);
    return values;
}

std::vector<double> randomVector(std::mt19937& random, std::int32_t n) {
    std::uniform_real_distribution<double> draw(-1, 1);
    std::vector<double> x(static_cast<size_t>(n));
    for (double& entry : x) entry = draw(random);
    return x;
}

}  // namespace ovtest
