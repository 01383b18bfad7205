// The pieces of the eigenvalue solver, each alone: sizes, product, orthonormalisation, correction.

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "eigen/correction.hpp"
#include "eigen/dense_eig.hpp"
#include "eigen/eigen_sizes.hpp"
#include "eigen/orthonormalise.hpp"
#include "spectra.hpp"

namespace {

using namespace ovrelin;

TEST(EigenSizes, FollowTheNumberOfPairsTheOrderAndTheNorm) {
    struct Row {
        std::int32_t n, entries, count;
        double norm;
        std::int32_t wanted, maxBasis, keep, init;
    };
    const Row rows[] = {
        {1000, 5000, 1, 10, 1, 15, 6, 6},    // few pairs: 2 k + 13
        {1000, 5000, 1, 1e5, 1, 15, 6, 11},  // longer start above norm 1000
        {1000, 5000, 1, 1000, 1, 15, 6, 6},  // ... strictly above
        {1000, 5000, 1, 1e10, 1, 15, 6, 6},  // ... and strictly below 1e10
        {1000, 5000, 1, 1e11, 1, 20, 8, 8},  // k + 19 beyond norm 1e10
        {1000, 5000, 4, 10, 4, 21, 8, 8},
        {1000, 5000, 5, 10, 5, 25, 10, 10},    // 5 k
        {1000, 4000, 20, 10, 20, 60, 24, 24},  // 3 k on very sparse matrices
        {1000, 4900, 20, 10, 20, 100, 40, 40},
        {1000, 4000, 20, 1e8, 20, 100, 40, 75},
        {1000, 5000, 25, 1e5, 25, 125, 50, 50},  // no longer start from 50 kept vectors on
        {10, 30, 1, 10, 1, 10, 4, 4},
        {10, 30, 20, 10, 10, 10, 8, 8},  // capped by n - 2
        {3, 9, 1, 1e5, 1, 3, 1, 1},
        {3, 9, 3, 10, 3, 3, 1, 1},
    };
    for (const Row& row : rows) {
        const EigenSizes sizes = eigenSizes(row.n, row.entries, row.count, row.norm, {});
        EXPECT_EQ((std::array{sizes.numWanted, sizes.maxBasis, sizes.keepBasis, sizes.initBasis}),
                  (std::array{row.wanted, row.maxBasis, row.keep, row.init}))
            << row.n << ' ' << row.count << ' ' << row.norm;
    }
}

TEST(Orthonormalise, AcceptsNearlyDependentVectorsAndRefusesDependentOnes) {
    std::mt19937 random(2);
    std::normal_distribution<double> normal;
    constexpr std::int32_t n = 30;
    std::vector<double> columns, scratch(n);
    for (std::int32_t count = 0; count < n; ++count) {
        // A combination of the columns, with a new direction of any size mixed in.
        std::vector<double> v(n, 0.0);
        for (std::int32_t j = 0; j < count; ++j) {
            const double weight = normal(random);
            for (std::size_t i = 0; i < n; ++i)
                v[i] += weight * columns[static_cast<std::size_t>(j) * n + i];
        }
        const double size = std::pow(10, -count % 13);
        for (double& x : v) x += size * normal(random);
        ASSERT_TRUE(orthonormalise(n, count, columns.data(), n, v.data(), scratch.data()));
        double square = 0, cross = 0;
        for (std::size_t i = 0; i < n; ++i) square += v[i] * v[i];
        for (std::int32_t j = 0; j < count; ++j) {
            double dot = 0;
            for (std::size_t i = 0; i < n; ++i)
                dot += v[i] * columns[static_cast<std::size_t>(j) * n + i];
            cross = std::max(cross, std::fabs(dot));
        }
        EXPECT_NEAR(square, 1, 1e-14);
        EXPECT_LT(cross, 1e-15 * n) << count;
        columns.insert(columns.end(), v.begin(), v.end());
    }
    std::vector<double> spanned(n, 1.0), zero(n, 0.0);
    EXPECT_FALSE(orthonormalise(n, n, columns.data(), n, spanned.data(), scratch.data()));
    EXPECT_FALSE(orthonormalise(n, 0, columns.data(), n, zero.data(), scratch.data()));
}

struct CorrectionFixture {
    std::int32_t n = 40;
    ovtest::TestMatrix a;
    std::vector<double> x, r, p, d, q, t;
    EigenOperator matrix{};
    double theta = 0, rho = 0;

    /// x is a unit vector near the lowest eigenvector, off by about `error`.
    CorrectionFixture(double error, std::mt19937& random) {
        std::vector<double> eigenvalues(40);
        for (std::size_t i = 0; i < 40; ++i) eigenvalues[i] = 1 + 0.1 * static_cast<double>(i * i);
        a = ovtest::withEigenvalues(eigenvalues, random);
        matrix.n = n;
        matrix.colBegin = a.begin();
        matrix.rowIndex = a.row();
        matrix.matValue = a.value.data();
        matrix.matVec = symmetricProduct;
        matrix.factor = matrix.unit = 1;
        for (auto* v : {&r, &p, &d, &q, &t}) v->assign(40, 0.0);
        lowestVector();
        std::normal_distribution<double> normal;
        for (double& value : x) value += error * normal(random) / std::sqrt(40.0);
        normalise();
    }

    void lowestVector() {
        std::vector<double> copy = ovtest::toDense(a), w(40), work(4000);
        denseEig('V', n, copy.data(), n, w.data(), work.data(), work.size());
        x.assign(copy.begin(), copy.begin() + 40);
    }

    void normalise() {
        double square = 0;
        for (const double value : x) square += value * value;
        for (double& value : x) value /= std::sqrt(square);
        symmetricProduct(n, a.begin(), a.row(), a.value.data(), x.data(), q.data());
        theta = rho = 0;
        for (std::size_t i = 0; i < 40; ++i) theta += x[i] * q[i];
        for (std::size_t i = 0; i < 40; ++i) r[i] = q[i] - theta * x[i];
        for (const double value : r) rho += value * value;
        rho = std::sqrt(rho);
    }

    double correct(double target) {
        const CorrectionProblem problem{theta, theta - rho, rho, x.data(), target, target, 100};
        const CorrectionWork work{r.data(), p.data(), d.data(), q.data()};
        return solveCorrection(matrix, problem, work, t.data(), {});
    }
};

/// Repeated corrections converge to the eigenvector, faster as they come close. The estimated
/// residual, which decides when to stop, is that of x - t up to the factor by which the
/// quasi-residual of the inner iteration differs from a residual.
TEST(Correction, ReachesWhatItEstimatesAndConvergesFast) {
    std::mt19937 random(4);
    for (const double error : {1e-2, 1e-3, 1e-5}) {
        CorrectionFixture f(error, random);
        int steps = 0;
        while (f.rho > 1e-11 && ++steps < 12) {
            const double before = f.rho, estimate = f.correct(1e-12);
            double along = 0;
            for (std::size_t i = 0; i < 40; ++i) along += f.x[i] * f.t[i];
            EXPECT_LT(std::fabs(along), 1e-12);
            for (std::size_t i = 0; i < 40; ++i) f.x[i] -= f.t[i];
            f.normalise();
            EXPECT_LT(f.rho, before);
            if (f.rho > 1e-10) {  // rounding decides below
                EXPECT_LT(std::fabs(std::log2(f.rho / estimate)), 1) << error << ' ' << steps;
            }
        }
        EXPECT_LE(steps, 6);
        EXPECT_NEAR(f.theta, 1, 1e-12);
    }
}

}  // namespace
