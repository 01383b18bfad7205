// Extreme eigenpairs against LAPACK's, over every kind of spectrum that could mislead the search.

#include "eigen/sparse_eigen.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "spectra.hpp"
#include "support/fake_host.hpp"
#include "support/test_pool.hpp"

namespace {

using namespace ovrelin;
using ovtest::Spectrum;
using ovtest::TestMatrix;

struct Pairs {
    int code = 0;
    std::vector<double> values, vectors, residuals;
};

struct Request {
    std::int32_t count = 1;
    char end = 'S';
    std::int32_t maxIter = -1;
    MatVec matVec = nullptr;
};

Pairs run(ovtest::TestPool& pool, const TestMatrix& a, const Request& request) {
    const std::int32_t n = a.n();
    const auto k = static_cast<std::size_t>(std::min(request.count, n));
    SparseLdl handle{};
    handle.pool = pool.get();
    handle.eigenCount = request.count;
    handle.eigenEnd = request.end;
    handle.eigenMaxIter = request.maxIter;
    Pairs pairs;
    pairs.values.resize(k);
    pairs.vectors.resize(k * static_cast<std::size_t>(n));
    pairs.residuals.resize(k);
    pairs.code = sparseLdlEigen(n, a.begin(), a.row(), a.value.data(), &handle, request.matVec,
                                pairs.values.data(), pairs.vectors.data(), pairs.residuals.data());
    EXPECT_EQ(pool.numLive(), 0);
    return pairs;
}

const double* column(const Pairs& pairs, std::size_t pair) {
    return pairs.vectors.data() + pair * (pairs.vectors.size() / pairs.values.size());
}

double orthonormalityError(const Pairs& pairs, std::size_t n) {
    double worst = 0;
    for (std::size_t p = 0; p < pairs.values.size(); ++p)
        for (std::size_t q = 0; q <= p; ++q) {
            double dot = 0;
            for (std::size_t i = 0; i < n; ++i) dot += column(pairs, p)[i] * column(pairs, q)[i];
            worst = std::max(worst, std::fabs(dot - (p == q ? 1 : 0)));
        }
    return worst;
}

/// Orthonormal vectors with the residuals that were reported and, when the code claims
/// convergence, the eigenvalues that LAPACK finds.
void expectRight(const TestMatrix& a, const Request& request, const Pairs& pairs) {
    ASSERT_TRUE(pairs.code == ldl::ok || pairs.code == ldl::eigenLimit) << pairs.code;
    const std::vector<double> reference = ovtest::denseEigenvalues(a);
    const double norm = std::max(ovtest::oneNorm(a), std::numeric_limits<double>::min());
    EXPECT_LT(orthonormalityError(pairs, static_cast<std::size_t>(a.n())), 1e-11);
    for (std::size_t p = 0; p < pairs.values.size(); ++p) {
        const std::size_t at = request.end == 'S' ? p : reference.size() - 1 - p;
        if (pairs.code == ldl::ok) {
            EXPECT_NEAR(pairs.values[p] / norm, reference[at] / norm, 1e-10) << p;
        }
        const double residual = ovtest::residual(a, pairs.values[p], column(pairs, p));
        // Order 2 reports one unit of rounding, whatever the matrix.
        if (a.n() > 2) {
            EXPECT_NEAR(pairs.residuals[p] / norm, residual / norm, 1e-12) << p;
        } else
            EXPECT_LT(residual / norm, 1e-14);
    }
}

struct Kind {
    Spectrum spectrum;
    const char* name;
    int runs = 200;
    std::int32_t largest = 80;
};

class EveryKind : public testing::TestWithParam<Kind> {};

TEST_P(EveryKind, AgreesWithLapack) {
    ovtest::TestPool pool;
    std::mt19937 random(2024);
    const auto draw = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    int converged = 0;
    for (int r = 0; r < GetParam().runs; ++r) {
        const int largest = r % 25 == 0 ? 300 : r % 3 == 0 ? 20 : GetParam().largest;
        const TestMatrix a = ovtest::drawMatrix(GetParam().spectrum, draw(1, largest), random);
        Request request;
        request.count = r % 2 == 0 ? 1 : draw(1, 20);
        request.end = draw(0, 1) == 0 ? 'S' : 'L';
        if (GetParam().spectrum == Spectrum::wide) request.maxIter = 2000;
        const Pairs pairs = run(pool, a, request);
        expectRight(a, request, pairs);
        if (pairs.code == ldl::ok) ++converged;
        if (HasFailure())
            FAIL() << "run " << r << ", order " << a.n() << ", count " << request.count << ", end "
                   << request.end;
    }
    EXPECT_GE(converged,
              GetParam().spectrum == Spectrum::wide ? GetParam().runs / 2 : GetParam().runs);
}

INSTANTIATE_TEST_SUITE_P(
    Spectra, EveryKind,
    testing::Values(Kind{Spectrum::full, "Full"}, Kind{Spectrum::clustered, "Clustered"},
                    Kind{Spectrum::multiple, "Multiple", 600}, Kind{Spectrum::spread, "Spread"},
                    Kind{Spectrum::nearSingular, "NearSingular"},
                    Kind{Spectrum::wide, "Wide", 100, 40}, Kind{Spectrum::copies, "Copies", 400},
                    Kind{Spectrum::path, "Path"}, Kind{Spectrum::grid, "Grid"},
                    Kind{Spectrum::lonely, "Lonely", 1500, 170},
                    Kind{Spectrum::sparse, "Sparse", 600}, Kind{Spectrum::shifted, "Shifted"},
                    Kind{Spectrum::hugeScale, "HugeScale"}, Kind{Spectrum::empty, "Empty", 60, 30}),
    [](const auto& drawn) { return std::string(drawn.param.name); });

std::int64_t productCount;  // of countingProduct: the interface has no place for a context

void countingProduct(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                     const double* matValue, const double* x, double* y) {
    ++productCount;
    symmetricProduct(n, colBegin, rowIndex, matValue, x, y);
}

TEST(SparseEigen, TheLimitOfProductsEndsWithTheBestPairs) {
    ovtest::TestPool pool;
    std::mt19937 random(6);
    const TestMatrix a = ovtest::drawMatrix(Spectrum::path, 200, random);
    const double smallest = ovtest::denseEigenvalues(a)[0];
    double last = ovtest::oneNorm(a);
    for (const std::int32_t limit : {1, 20, 60, 100, 1000}) {
        productCount = 0;
        const Pairs pairs = run(pool, a, {1, 'S', limit, countingProduct});
        expectRight(a, {}, pairs);
        EXPECT_EQ(pairs.code, limit < 1000 ? ldl::eigenLimit : ldl::ok);
        EXPECT_GE(pairs.values[0], smallest - 1e-14);
        EXPECT_LE(pairs.values[0], last);
        last = pairs.values[0];
        if (limit == 1) {
            EXPECT_LE(productCount, 15);
        }
    }
    const Pairs all = run(pool, ovtest::drawMatrix(Spectrum::empty, 5, random), {5, 'S', 1});
    EXPECT_EQ(all.values, std::vector<double>(5, 0.0));
}

TEST(SparseEigen, AMultipleOfTheIdentityNeedsNoInnerStep) {
    ovtest::TestPool pool;
    const TestMatrix a =
        ovtest::fromEntries(100, [](std::int32_t i, std::int32_t j) { return i == j ? -3 : 0; });
    productCount = 0;
    const Pairs pairs = run(pool, a, {1, 'S', -1, countingProduct});
    EXPECT_EQ(pairs.code, ldl::ok);
    EXPECT_NEAR(pairs.values[0], -3, 1e-14);
    EXPECT_LE(productCount, 6);
}

TEST(SparseEigen, TheSameMatrixGivesTheSameBits) {
    ovtest::TestPool pool;
    std::mt19937 random(7);
    const TestMatrix a = ovtest::drawMatrix(Spectrum::sparse, 150, random);
    const Pairs first = run(pool, a, {6, 'L'}), second = run(pool, a, {6, 'L'});
    EXPECT_EQ(std::memcmp(first.vectors.data(), second.vectors.data(), first.vectors.size() * 8),
              0);
    EXPECT_EQ(first.values, second.values);
}

TEST(SparseEigen, RefusedMemoryAndNumbersThatAreNone) {
    ovtest::TestPool pool;
    std::mt19937 random(8);
    TestMatrix a = ovtest::drawMatrix(Spectrum::full, 20, random);
    pool.failRequest(0);
    EXPECT_EQ(run(pool, a, {}).code, ldl::noMemory);
    pool.failRequest(-1);
    for (const double bad :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        a.value[37] = bad;
        EXPECT_EQ(run(pool, a, {}).code, ldl::eigenDenseFailed);
    }
}

std::int64_t stopAt;

void stoppingProduct(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                     const double* matValue, const double* x, double* y) {
    countingProduct(n, colBegin, rowIndex, matValue, x, y);
    if (productCount == stopAt) ovtest::FakeHost::context().stopFlag = 1;
}

TEST(SparseEigen, TheStopFlagEndsItWithinAProductOrTwo) {
    const ovtest::FakeHost host;
    ovtest::TestPool pool;
    std::mt19937 random(9);
    const TestMatrix a = ovtest::drawMatrix(Spectrum::path, 100, random);
    for (const std::int32_t count : {1, 4}) {
        for (stopAt = 1; stopAt < 60; ++stopAt) {
            productCount = 0;
            EXPECT_EQ(run(pool, a, {count, 'S', -1, stoppingProduct}).code, ldl::stopped);
            EXPECT_LE(productCount, stopAt + 2) << stopAt;
            ovtest::FakeHost::context().stopFlag = 0;
        }
    }
    EXPECT_EQ(run(pool, a, {}).code, ldl::ok);
}

}  // namespace
