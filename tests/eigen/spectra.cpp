#include "spectra.hpp"

#include <algorithm>
#include <cmath>

namespace ovtest {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

double uniform(std::mt19937& random) {
    return std::uniform_real_distribution<double>()(random);
}
double normal(std::mt19937& random) {
    return std::normal_distribution<double>()(random);
}
std::int32_t integer(std::mt19937& random, std::int32_t low, std::int32_t high) {
    return std::uniform_int_distribution<std::int32_t>(low, high)(random);
}

double drawEigenvalue(Spectrum kind, std::mt19937& random) {
    const bool chance = random() % 2 == 0;
    switch (kind) {
        case Spectrum::clustered:
            return integer(random, -3, 3) + 1e-6 * normal(random);
        case Spectrum::multiple:
            return integer(random, 0, 4);
        case Spectrum::spread:
            return (chance ? -1 : 1) * std::pow(10, -8 + 16 * uniform(random));
        case Spectrum::nearSingular:
            return random() % 3 == 0 ? 1e-14 * normal(random) : uniform(random) + 0.1;
        default:
            return std::pow(10, 17 * uniform(random));
    }
}

TestMatrix prescribed(Spectrum kind, std::int32_t n, std::mt19937& random) {
    std::vector<double> eigenvalues(at(n));
    for (double& x : eigenvalues) x = drawEigenvalue(kind, random);
    if (kind == Spectrum::wide) eigenvalues[0] = random() % 2 == 0 ? -1 : 1;
    return withEigenvalues(eigenvalues, random);
}

TestMatrix laplacian(TestPattern pattern, double diagonal) {
    TestMatrix m{std::move(pattern), {}};
    for (std::int32_t j = 0; j < m.n(); ++j)
        for (std::int32_t k = m.begin()[j]; k < m.begin()[j + 1]; ++k)
            m.value.push_back(m.row()[k] == j ? diagonal : -1);
    return m;
}

TestMatrix copies(std::int32_t n, std::mt19937& random) {
    const std::int32_t size = integer(random, 1, std::min(n, 12));
    const std::vector<double> block =
        toDense(withValues(random, densePattern(size), Kind::indefinite));
    return fromEntries(n, [&](std::int32_t i, std::int32_t j) {
        return i / size == j / size ? block[at(j % size * size + i % size)] : 0.0;
    });
}

/// A dense positive block, a large null space, and one small negative eigenvalue in it: what a
/// random start sees least of.
TestMatrix lonely(std::int32_t n, std::mt19937& random) {
    const std::int32_t size = integer(random, 0, n / 3), p = size;
    const std::int32_t q = random() % 3 == 0 ? p : integer(random, p, n - 1);
    std::vector<double> eigenvalues(at(size));
    for (double& x : eigenvalues) x = 10 + 30 * uniform(random);
    const std::vector<double> block = toDense(withEigenvalues(eigenvalues, random));
    const double small = -2e-4 * std::pow(10, integer(random, 0, 3));
    return fromEntries(n, [&](std::int32_t i, std::int32_t j) {
        if (std::max(i, j) < size) return block[at(j * size + i)];
        return (i == p && j == q) || (i == q && j == p) ? small : 0.0;
    });
}

}  // namespace

TestMatrix fromEntries(std::int32_t n,
                       const std::function<double(std::int32_t, std::int32_t)>& entry) {
    TestMatrix m;
    m.pattern.n = n;
    m.pattern.colBegin.push_back(0);
    for (std::int32_t j = 0; j < n; ++j) {
        for (std::int32_t i = 0; i < n; ++i) {
            const double value = entry(i, j);
            if (value == 0) continue;
            m.pattern.rowIndex.push_back(i);
            m.value.push_back(value);
        }
        m.pattern.colBegin.push_back(static_cast<std::int32_t>(m.value.size()));
    }
    return m;
}

// D is reflected four times: H D H with H = I - 2 v v' / v'v.
TestMatrix withEigenvalues(const std::vector<double>& eigenvalues, std::mt19937& random) {
    const std::size_t n = eigenvalues.size();
    std::vector<double> m(n * n, 0.0), v(n), mv(n);
    for (std::size_t i = 0; i < n; ++i) m[i * n + i] = eigenvalues[i];
    for (int reflection = 0; reflection < 4; ++reflection) {
        double square = 0, form = 0;
        for (double& x : v) x = normal(random), square += x * x;
        for (std::size_t i = 0; i < n; ++i) {
            mv[i] = 0;
            for (std::size_t j = 0; j < n; ++j) mv[i] += m[i * n + j] * v[j];
            form += mv[i] * v[i];
        }
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = 0; j < n; ++j)
                m[i * n + j] +=
                    (4 * form * (v[i] * v[j]) / square - 2 * (v[i] * mv[j] + mv[i] * v[j])) /
                    square;
    }
    const auto order = static_cast<std::int32_t>(n);
    return fromEntries(order, [&](std::int32_t i, std::int32_t j) {
        return m[at(std::max(i, j) * order + std::min(i, j))];
    });
}

TestMatrix drawMatrix(Spectrum kind, std::int32_t n, std::mt19937& random) {
    switch (kind) {
        case Spectrum::full:
            return withValues(random, densePattern(n), Kind::indefinite);
        case Spectrum::path:
            return laplacian(tridiagonalPattern(n), 2);
        case Spectrum::grid: {
            const auto width = static_cast<std::int32_t>(std::sqrt(n));
            return laplacian(gridPattern(width, (n + width - 1) / width), 4);
        }
        case Spectrum::copies:
            return copies(n, random);
        case Spectrum::lonely:
            return lonely(n, random);
        case Spectrum::sparse: {
            TestPattern pattern = randomPattern(random, n);
            if (pattern.n == 0) pattern = diagonalPattern(n);
            return withValues(random, std::move(pattern), static_cast<Kind>(random() % 6));
        }
        case Spectrum::shifted: {
            const double shift = normal(random), first = random() % 2 == 0 ? normal(random) : 0;
            return fromEntries(n, [&](std::int32_t i, std::int32_t j) {
                return i != j ? 0 : i == 0 ? shift + first : shift;
            });
        }
        case Spectrum::hugeScale: {
            TestMatrix m = drawMatrix(Spectrum::full, n, random);
            const double scale = std::pow(10., integer(random, -120, 120));
            for (double& x : m.value) x *= scale;
            return m;
        }
        case Spectrum::empty:
            return fromEntries(n, [](std::int32_t, std::int32_t) { return 0.0; });
        default:
            return prescribed(kind, n, random);
    }
}

double oneNorm(const TestMatrix& matrix) {
    double norm = 0;
    for (std::int32_t j = 0; j < matrix.n(); ++j) {
        double sum = 0;
        for (std::int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            sum += std::fabs(matrix.value[at(k)]);
        norm = std::max(norm, sum);
    }
    return norm;
}

double residual(const TestMatrix& matrix, double lambda, const double* v) {
    const std::vector<double> x(v, v + matrix.n()), product = multiply(matrix, x);
    const double unit = std::max(oneNorm(matrix), 1e-300);  // keeps the squares in range
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double gap = product[i] / unit - lambda / unit * x[i];
        sum += gap * gap;
    }
    return std::sqrt(sum) * unit;
}

}  // namespace ovtest
