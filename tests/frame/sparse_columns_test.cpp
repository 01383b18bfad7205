// The sparse column kernels against dense arithmetic.

#include "linalg/sparse_columns.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

namespace {

using std::size_t;
using Dense = std::vector<std::vector<double>>;  // [row][column]

std::vector<double> drawVector(std::mt19937_64& random, size_t n) {
    std::vector<double> v(n);
    for (double& x : v) x = std::uniform_real_distribution<double>(-2, 2)(random);
    return v;
}

/// Columns with gaps between them and entries in no order.
struct Columns {
    std::int32_t numCol;
    Dense dense;
    std::vector<std::int32_t> begin, length, index;
    std::vector<double> value;

    Columns(std::mt19937_64& random, size_t m, size_t n, bool triangle)
        : numCol(static_cast<std::int32_t>(n)), dense(m, std::vector<double>(n)) {
        std::vector<size_t> rows(m);
        std::iota(rows.begin(), rows.end(), size_t{0});
        for (size_t j = 0; j < n; ++j) {
            std::shuffle(rows.begin(), rows.end(), random);
            begin.push_back(static_cast<std::int32_t>(index.size()));
            for (const size_t i : rows) {
                if (random() % 2 == 0 || (triangle && i <= j)) continue;
                index.push_back(static_cast<std::int32_t>(i));
                value.push_back(drawVector(random, 1)[0]);
                dense[i][j] = value.back();
            }
            length.push_back(static_cast<std::int32_t>(index.size()) - begin.back());
            const size_t gap = random() % 3;
            index.resize(index.size() + gap, -1);
            value.resize(value.size() + gap, std::nan(""));
        }
        begin.push_back(static_cast<std::int32_t>(index.size()));
    }
};

void expectNear(const std::vector<double>& got, const std::vector<double>& expected) {
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_NEAR(got[i], expected[i], 1e-13) << i;
}

TEST(SparseColumns, TransposesAndProductsAgreeWithDenseOnes) {
    std::mt19937_64 random(1);
    for (int trial = 0; trial < 300; ++trial) {
        const size_t m = random() % 8, n = random() % 8;
        const Columns a(random, m, n, false);
        const int count = std::accumulate(a.length.begin(), a.length.end(), 0);
        std::vector<std::int32_t> begin(m + 1), index(static_cast<size_t>(count)), pattern = index;
        std::vector<double> value(index.size());
        const auto transpose = [&](const double* from, std::int32_t* to, double* values) {
            ovrelin::transposeColumns(static_cast<std::int32_t>(m), a.numCol, a.begin.data(),
                                      a.length.data(), a.index.data(), from, begin.data(), to,
                                      values);
        };
        transpose(a.value.data(), index.data(), value.data());
        transpose(nullptr, pattern.data(), nullptr);
        EXPECT_EQ(pattern, index);
        EXPECT_EQ(begin[0], 0);
        EXPECT_EQ(begin.back(), count);
        const std::vector<double> x = drawVector(random, n), y = drawVector(random, m);
        std::vector<double> ax = y, aty = x, denseAx = y, denseAty = x;
        Dense rebuilt(m, std::vector<double>(n));
        for (size_t i = 0; i < m; ++i) {
            for (std::int32_t at = begin[i]; at < begin[i + 1]; ++at) {
                const auto k = static_cast<size_t>(at);
                EXPECT_TRUE(at == begin[i] || index[k - 1] < index[k]);
                rebuilt[i][static_cast<size_t>(index[k])] = value[k];
            }
            for (size_t j = 0; j < n; ++j) {
                denseAx[i] -= 1.5 * a.dense[i][j] * x[j];
                denseAty[j] += 0.5 * a.dense[i][j] * y[i];
            }
        }
        EXPECT_EQ(rebuilt, a.dense);
        ovrelin::addProduct(-1.5, a.numCol, a.begin.data(), a.length.data(), a.index.data(),
                            a.value.data(), x.data(), ax.data());
        ovrelin::addTransposedProduct(0.5, a.numCol, a.begin.data(), a.length.data(),
                                      a.index.data(), a.value.data(), y.data(), aty.data());
        expectNear(ax, denseAx);
        expectNear(aty, denseAty);
    }
}

TEST(SparseColumns, SymmetricProductAndFormAgreeWithTheFullMatrix) {
    std::mt19937_64 random(3);
    for (int trial = 0; trial < 200; ++trial) {
        const size_t n = random() % 9;
        const bool diagonalOnly = trial % 4 == 0, noDiagonal = trial % 5 == 0;
        const Columns a(random, n, n, true);
        const std::vector<double> d = drawVector(random, n), x = drawVector(random, n);
        std::vector<double> y = d, dense = d;
        double form = 0;
        for (size_t i = 0; i < n; ++i)
            for (size_t j = 0; j < n; ++j) {
                double entry = diagonalOnly ? 0 : a.dense[std::max(i, j)][std::min(i, j)];
                if (i == j) entry = noDiagonal ? 0 : d[i];
                dense[i] += 2.0 * entry * x[j];
                form += 0.5 * entry * x[i] * x[j];
            }
        const double* diagonal = noDiagonal ? nullptr : d.data();
        const std::int32_t* begin = diagonalOnly ? nullptr : a.begin.data();
        ovrelin::addSymmetricProduct(2.0, a.numCol, diagonal, begin, a.length.data(),
                                     a.index.data(), a.value.data(), x.data(), y.data());
        expectNear(y, dense);
        EXPECT_NEAR(ovrelin::quadraticForm(a.numCol, diagonal, begin, a.length.data(),
                                           a.index.data(), a.value.data(), x.data()),
                    form, 1e-13);
    }
}

TEST(SparseColumns, Norms) {
    const double v[] = {3, -4, 0};
    EXPECT_EQ(ovrelin::maxNorm(3, v), 4);
    EXPECT_EQ(ovrelin::norm1(3, v), 7);
    EXPECT_EQ(ovrelin::norm2(3, v), 5);
    EXPECT_EQ(ovrelin::dotProduct(3, v, v), 25);
    EXPECT_EQ(ovrelin::maxNorm(0, v) + ovrelin::norm1(0, v) + ovrelin::norm2(0, v), 0);
}

}  // namespace
