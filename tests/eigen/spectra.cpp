#include "spectra.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "eigen/lapack.hpp"

namespace ovtest {
namespace {

class Draw {
public:
    explicit Draw(std::mt19937_64& random) : random_(random) {}
    double normal() { return std::normal_distribution<double>()(random_); }
    double uniform() { return std::uniform_real_distribution<double>()(random_); }
    std::int32_t integer(std::int32_t low, std::int32_t high) {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random_);
    }
    bool chance(double share) { return uniform() < share; }

private:
    std::mt19937_64& random_;
};

void fillGauss(DenseSymmetric& m, std::int32_t first, std::int32_t size, Draw& draw) {
    for (std::int32_t j = first; j < first + size; ++j)
        for (std::int32_t i = first; i <= j; ++i) m.setPair(i, j, draw.normal());
}

void fillBlocks(DenseSymmetric& m, Draw& draw) {
    std::int32_t size = 1;
    for (std::int32_t first = 0; first < m.n; first += size) {
        const std::int32_t last = size;
        const bool repeat = first >= last && first + last <= m.n && draw.chance(0.5);
        if (!repeat) size = std::min(draw.integer(1, 12), m.n - first);
        if (!repeat) fillGauss(m, first, size, draw);
        for (std::int32_t j = 0; repeat && j < size; ++j)
            for (std::int32_t i = 0; i < size; ++i)
                m.at(first + i, first + j) = m.at(first - size + i, first - size + j);
    }
}

void fillGrid(DenseSymmetric& m, std::int32_t width) {
    for (std::int32_t i = 0; i < m.n; ++i) {
        m.at(i, i) = width > 1 ? 4 : 2;
        if (width > 1 && i % width != 0) m.setPair(i, i - 1, -1);
        if (i >= width) m.setPair(i, i - width, -1);
    }
}

/// A dense positive block, a large null space, and one small negative eigenvalue in it: what a
/// random start sees least of.
void fillLonely(DenseSymmetric& m, std::mt19937_64& random) {
    Draw draw(random);
    const std::int32_t size = draw.integer(0, m.n / 3);
    std::vector<double> eigenvalues(static_cast<std::size_t>(size));
    for (double& x : eigenvalues) x = 10 + 30 * draw.uniform();
    const DenseSymmetric block = withEigenvalues(eigenvalues, random);
    for (std::int32_t j = 0; j < size; ++j)
        for (std::int32_t i = 0; i < size; ++i) m.at(i, j) = block.at(i, j);
    const std::int32_t at = draw.chance(0.3) ? size : draw.integer(size, m.n - 1);
    m.setPair(size, at, -2e-4 * std::pow(10, draw.integer(0, 3)));
}

double drawEigenvalue(Spectrum kind, Draw& draw) {
    switch (kind) {
        case Spectrum::clustered:
            return draw.integer(-3, 3) + 1e-6 * draw.normal();
        case Spectrum::multiple:
            return draw.integer(0, 4);
        case Spectrum::spread:
            return (draw.chance(0.5) ? -1 : 1) * std::pow(10, -8 + 16 * draw.uniform());
        case Spectrum::nearSingular:
            return draw.chance(0.3) ? 1e-14 * draw.normal() : draw.uniform() + 0.1;
        default:
            return std::pow(10, 17 * draw.uniform());
    }
}

void permute(DenseSymmetric& m, std::mt19937_64& random) {
    std::vector<std::int32_t> order(static_cast<std::size_t>(m.n));
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), random);
    const DenseSymmetric old = m;
    for (std::int32_t j = 0; j < m.n; ++j)
        for (std::int32_t i = 0; i < m.n; ++i)
            m.at(i, j) =
                old.at(order[static_cast<std::size_t>(i)], order[static_cast<std::size_t>(j)]);
}

void fill(DenseSymmetric& m, Spectrum kind, Draw& draw) {
    switch (kind) {
        case Spectrum::gauss:
            return fillGauss(m, 0, m.n, draw);
        case Spectrum::blocks:
            return fillBlocks(m, draw);
        case Spectrum::path:
            return fillGrid(m, 1);
        case Spectrum::grid:
            return fillGrid(m, std::max(2, static_cast<std::int32_t>(std::sqrt(m.n))));
        case Spectrum::diagonal:
            for (std::int32_t i = 0; i < m.n; ++i)
                m.at(i, i) = draw.chance(0.3) ? 0 : draw.normal();
            return;
        case Spectrum::sparse:
            for (std::int32_t k = 0; k < 2 * m.n; ++k)
                m.setPair(draw.integer(0, m.n - 1), draw.integer(0, m.n - 1), draw.normal());
            return;
        case Spectrum::shifted: {
            const double shift = draw.normal();
            for (std::int32_t i = 0; i < m.n; ++i) m.at(i, i) = shift;
            if (draw.chance(0.5)) m.at(0, 0) += draw.normal();
            return;
        }
        case Spectrum::hugeScale: {
            fillGauss(m, 0, m.n, draw);
            const double scale = std::pow(10., draw.integer(-120, 120));
            for (double& x : m.a) x *= scale;
            return;
        }
        default:
            return;
    }
}

}  // namespace

double DenseSymmetric::oneNorm() const {
    double norm = 0;
    for (std::int32_t j = 0; j < n; ++j) {
        double sum = 0;
        for (std::int32_t i = 0; i < n; ++i) sum += std::fabs(at(i, j));
        norm = std::max(norm, sum);
    }
    return norm;
}

std::vector<double> DenseSymmetric::eigenvalues() const {
    std::vector<double> copy = a, w(static_cast<std::size_t>(n)),
                        work(64 * static_cast<std::size_t>(n) + 64);
    const auto lwork = static_cast<std::int32_t>(work.size());
    std::int32_t info = 0;
    dsyev_("N", "U", &n, copy.data(), &n, w.data(), work.data(), &lwork, &info);
    return w;
}

double DenseSymmetric::residual(double lambda, const double* v) const {
    std::vector<double> r(static_cast<std::size_t>(n));
    const double unit = std::max(oneNorm(), 1e-300);  // keeps the squares in range
    for (std::int32_t j = 0; j < n; ++j)
        for (std::int32_t i = 0; i < n; ++i)
            r[static_cast<std::size_t>(i)] += at(i, j) / unit * v[j];
    double sum = 0;
    for (std::int32_t i = 0; i < n; ++i) {
        const double term = r[static_cast<std::size_t>(i)] - lambda / unit * v[i];
        sum += term * term;
    }
    return std::sqrt(sum) * unit;
}

SparseSymmetric toSparse(const DenseSymmetric& matrix) {
    SparseSymmetric out;
    out.colBegin.push_back(0);
    for (std::int32_t j = 0; j < matrix.n; ++j) {
        for (std::int32_t i = 0; i < matrix.n; ++i) {
            if (matrix.at(i, j) == 0) continue;
            out.rowIndex.push_back(i);
            out.matValue.push_back(matrix.at(i, j));
        }
        out.colBegin.push_back(static_cast<std::int32_t>(out.rowIndex.size()));
    }
    return out;
}

DenseSymmetric withEigenvalues(const std::vector<double>& eigenvalues, std::mt19937_64& random) {
    Draw draw(random);
    const auto n = static_cast<std::int32_t>(eigenvalues.size());
    DenseSymmetric m(n);
    for (std::int32_t i = 0; i < n; ++i) m.at(i, i) = eigenvalues[static_cast<std::size_t>(i)];
    std::vector<double> v(eigenvalues.size()), av(eigenvalues.size());
    for (int reflection = 0; reflection < 4; ++reflection) {
        double square = 0, form = 0;
        for (double& x : v) {
            x = draw.normal();
            square += x * x;
        }
        for (std::int32_t i = 0; i < n; ++i) {
            double sum = 0;
            for (std::int32_t j = 0; j < n; ++j) sum += m.at(i, j) * v[static_cast<std::size_t>(j)];
            av[static_cast<std::size_t>(i)] = sum;
            form += sum * v[static_cast<std::size_t>(i)];
        }
        for (std::int32_t j = 0; j < n; ++j)
            for (std::int32_t i = 0; i <= j; ++i) {
                const auto p = static_cast<std::size_t>(i), q = static_cast<std::size_t>(j);
                const double cross = v[p] * av[q] + av[p] * v[q];
                m.setPair(
                    i, j,
                    m.at(i, j) - 2 * cross / square + 4 * form * v[p] * v[q] / square / square);
            }
    }
    return m;
}

DenseSymmetric drawMatrix(Spectrum kind, std::int32_t n, std::mt19937_64& random) {
    Draw draw(random);
    DenseSymmetric m(n);
    const bool prescribed = kind == Spectrum::clustered || kind == Spectrum::multiple ||
                            kind == Spectrum::spread || kind == Spectrum::nearSingular ||
                            kind == Spectrum::wide;
    if (prescribed) {
        std::vector<double> eigenvalues(static_cast<std::size_t>(n));
        for (double& x : eigenvalues) x = drawEigenvalue(kind, draw);
        if (kind == Spectrum::wide) eigenvalues[0] = draw.chance(0.5) ? -1 : 1;
        return withEigenvalues(eigenvalues, random);
    }
    if (kind == Spectrum::lonely) {
        fillLonely(m, random);
        return m;
    }
    fill(m, kind, draw);
    if (draw.chance(0.5)) permute(m, random);
    return m;
}

}  // namespace ovtest
