#include "support/sparse_matrices.hpp"

#include <cmath>
#include <map>

extern "C" void dsyev_(const char* jobz, const char* uplo, const std::int32_t* n, double* a,
                       const std::int32_t* lda, double* w, double* work, const std::int32_t* lwork,
                       std::int32_t* info);

namespace ovtest {
namespace {

using std::int32_t;

/// Lower triangle entry (i, j), i >= j, of the kind asked for.
double drawEntry(double x, Kind kind, int32_t n, int32_t i, int32_t j) {
    const int32_t split = n - n / 3;
    const bool second = j >= split;
    if (kind != Kind::quasiDefinite && kind != Kind::saddle) return x;
    if (i != j) return second || i < split ? 0.05 * x : x;
    if (!second) return 0.5 + std::fabs(x);
    return kind == Kind::saddle ? 0 : -0.5 - std::fabs(x);
}

void dominate(TestMatrix& matrix) {
    Array<double> sum(matrix.n(), 1.0);
    matrix.rewrite([&](int32_t i, int32_t j, double value) {
        if (i != j) sum[j] += std::fabs(value);
        return value;
    });
    matrix.rewrite([&](int32_t i, int32_t j, double value) { return i == j ? sum[j] : value; });
}

/// Multiplies row and column i by factor[i].
void scaleSymmetrically(TestMatrix& matrix, const Array<double>& factor) {
    matrix.rewrite(
        [&](int32_t i, int32_t j, double value) { return value * factor[i] * factor[j]; });
}

}  // namespace

TestMatrix withValues(std::mt19937& random, TestPattern pattern, Kind kind) {
    TestMatrix matrix{std::move(pattern), {}};
    const int32_t n = matrix.n();
    std::uniform_real_distribution<double> draw(-1, 1);
    std::map<Edge, double> drawn;
    matrix.pattern.forEach([&](int32_t i, int32_t j) {
        const Edge key = std::minmax(i, j);
        if (drawn.count(key) == 0)
            drawn[key] = drawEntry(draw(random), kind, n, key.second, key.first);
        matrix.value.push_back(drawn[key]);
    });
    if (kind == Kind::definite) dominate(matrix);
    Array<double> factor(n, 1.0);
    if (kind == Kind::singular)
        for (int32_t k = 0; k < std::min(n, 1 + n / 8); ++k) factor[random() % factor.size()] = 0;
    if (kind == Kind::badlyScaled)
        for (double& f : factor) f = std::pow(10.0, static_cast<double>(random() % 7) - 3);
    scaleSymmetrically(matrix, factor);
    return matrix;
}

Array<double> randomVector(std::mt19937& random, int32_t n) {
    std::uniform_real_distribution<double> draw(-1, 1);
    Array<double> x(n);
    for (double& entry : x) entry = draw(random);
    return x;
}

double largest(const Array<double>& x) {
    double size = 0;
    for (const double entry : x)
        size = std::isnan(entry) ? entry : std::max(size, std::fabs(entry));
    return size;
}

Array<double> multiply(const TestMatrix& matrix, const Array<double>& x) {
    Array<double> product(matrix.n());
    const double* value = matrix.value.data();
    matrix.pattern.forEach([&](int32_t i, int32_t j) { product[i] += *value++ * x[j]; });
    return product;
}

double backwardError(const TestMatrix& matrix, const Array<double>& x, const Array<double>& b) {
    Array<double> residual = multiply(matrix, x), rowSum(matrix.n());
    for (int32_t i = 0; i < matrix.n(); ++i) residual[i] -= b[i];
    const double* value = matrix.value.data();
    matrix.pattern.forEach([&](int32_t, int32_t j) { rowSum[j] += std::fabs(*value++); });
    if (largest(b) == 0) return 0;
    return largest(residual) / (largest(x) * largest(rowSum) + largest(b));
}

Array<double> toDense(const TestMatrix& matrix) {
    Array<double> dense(matrix.n() * matrix.n());
    const double* value = matrix.value.data();
    matrix.pattern.forEach([&](int32_t i, int32_t j) { dense[i + j * matrix.n()] = *value++; });
    return dense;
}

namespace {

/// Eigenvalues; the eigenvectors replace the dense matrix where they are asked for.
Array<double> decompose(const char* job, int32_t n, Array<double>& dense) {
    const int32_t workSize = 1 + 40 * n, ld = std::max(1, n);
    Array<double> values(n), work(workSize);
    int32_t info = 0;
    dsyev_(job, "L", &n, dense.data(), &ld, values.data(), work.data(), &workSize, &info);
    return values;
}

}  // namespace

Array<double> denseEigenvalues(const TestMatrix& matrix) {
    Array<double> dense = toDense(matrix);
    return decompose("N", matrix.n(), dense);
}

Judged judge(std::mt19937& random, TestMatrix given) {
    const int32_t n = given.n();
    Judged out{std::move(given), randomVector(random, n), Array<double>(n), 0, 0};
    Array<double> vectors = toDense(out.matrix);
    const Array<double> values = decompose("V", n, vectors);
    double low = n > 0 ? 1e300 : 0;
    for (int32_t k = 0; k < n; ++k) {
        const double* v = &vectors[k * n];
        const double share = std::inner_product(v, v + n, out.b.begin(), 0.0) / values[k];
        for (int32_t i = 0; i < n; ++i) out.x[i] += share * v[i];
        low = std::min(low, std::fabs(values[k]));
        out.numPositive += values[k] > 0 ? 1 : 0;
    }
    out.condition = low > 0 ? low / largest(values) : 0;
    return out;
}

}  // namespace ovtest
