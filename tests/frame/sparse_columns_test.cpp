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

/// A matrix in dense form (column-major) and as columns with gaps between them and entries in no
/// order.
struct Both {
    std::int32_t numRow, numCol;
    std::vector<double> dense;
    std::vector<std::int32_t> begin, length, index;
    std::vector<double> value;
    [[nodiscard]] double at(std::int32_t i, std::int32_t j) const {
        return dense[static_cast<size_t>(j * numRow + i)];
    }
};

Both drawMatrix(std::mt19937_64& random, std::int32_t numRow, std::int32_t numCol, bool triangle) {
    std::uniform_real_distribution<double> entry(-2, 2);
    Both m{numRow, numCol, std::vector<double>(static_cast<size_t>(numRow * numCol)), {}, {},
           {},     {}};
    for (std::int32_t j = 0; j < numCol; ++j) {
        std::vector<std::int32_t> rows(static_cast<size_t>(numRow));
        std::iota(rows.begin(), rows.end(), 0);
        std::shuffle(rows.begin(), rows.end(), random);
        m.begin.push_back(static_cast<std::int32_t>(m.index.size()));
        for (const std::int32_t i : rows) {
            if (random() % 2 == 0 || (triangle && i <= j)) continue;
            m.index.push_back(i);
            m.value.push_back(entry(random));
            m.dense[static_cast<size_t>(j * numRow + i)] = m.value.back();
        }
        m.length.push_back(static_cast<std::int32_t>(m.index.size()) - m.begin.back());
        for (auto gap = random() % 3; gap > 0; --gap) {
            m.index.push_back(-1);
            m.value.push_back(std::nan(""));
        }
    }
    m.begin.push_back(static_cast<std::int32_t>(m.index.size()));
    return m;
}

std::vector<double> drawVector(std::mt19937_64& random, std::int32_t n) {
    std::vector<double> v(static_cast<size_t>(n));
    for (double& x : v) x = std::uniform_real_distribution<double>(-1, 1)(random);
    return v;
}

TEST(SparseColumns, TransposeIsSortedAndComplete) {
    std::mt19937_64 random(1);
    for (int trial = 0; trial < 200; ++trial) {
        const auto numRow = static_cast<std::int32_t>(random() % 8);
        const auto numCol = static_cast<std::int32_t>(random() % 8);
        const Both m = drawMatrix(random, numRow, numCol, false);
        const auto count =
            static_cast<size_t>(std::accumulate(m.length.begin(), m.length.end(), std::int32_t{0}));
        std::vector<std::int32_t> begin(static_cast<size_t>(numRow) + 1), index(count);
        std::vector<double> value(count), rebuilt(m.dense.size());
        ovrelin::transposeColumns(numRow, numCol, m.begin.data(), m.length.data(), m.index.data(),
                                  m.value.data(), begin.data(), index.data(), value.data());
        EXPECT_EQ(begin[0], 0);
        EXPECT_EQ(static_cast<size_t>(begin.back()), count);
        for (std::int32_t i = 0; i < numRow; ++i) {
            const auto first = index.begin() + begin[static_cast<size_t>(i)];
            const auto last = index.begin() + begin[static_cast<size_t>(i) + 1];
            EXPECT_TRUE(std::is_sorted(first, last, std::less_equal<>()));
            for (auto at = first; at != last; ++at)
                rebuilt[static_cast<size_t>(*at * numRow + i)] =
                    value[static_cast<size_t>(at - index.begin())];
        }
        EXPECT_EQ(rebuilt, m.dense);

        std::vector<std::int32_t> patternBegin(begin.size()), pattern(count);
        ovrelin::transposeColumns(numRow, numCol, m.begin.data(), m.length.data(), m.index.data(),
                                  nullptr, patternBegin.data(), pattern.data(), nullptr);
        EXPECT_EQ(pattern, index);
    }
}

TEST(SparseColumns, ProductsAgreeWithDenseOnes) {
    std::mt19937_64 random(2);
    for (int trial = 0; trial < 200; ++trial) {
        const auto numRow = static_cast<std::int32_t>(random() % 8);
        const auto numCol = static_cast<std::int32_t>(random() % 8);
        const Both m = drawMatrix(random, numRow, numCol, false);
        const std::vector<double> x = drawVector(random, numCol), y = drawVector(random, numRow);
        std::vector<double> ax = y, aty = x;
        ovrelin::addProduct(-1.5, numCol, m.begin.data(), m.length.data(), m.index.data(),
                            m.value.data(), x.data(), ax.data());
        ovrelin::addTransposedProduct(0.5, numCol, m.begin.data(), m.length.data(), m.index.data(),
                                      m.value.data(), y.data(), aty.data());
        for (std::int32_t i = 0; i < numRow; ++i) {
            double sum = 0;
            for (std::int32_t j = 0; j < numCol; ++j) sum += m.at(i, j) * x[static_cast<size_t>(j)];
            EXPECT_NEAR(ax[static_cast<size_t>(i)], y[static_cast<size_t>(i)] - 1.5 * sum, 1e-13);
        }
        for (std::int32_t j = 0; j < numCol; ++j) {
            double sum = 0;
            for (std::int32_t i = 0; i < numRow; ++i) sum += m.at(i, j) * y[static_cast<size_t>(i)];
            EXPECT_NEAR(aty[static_cast<size_t>(j)], x[static_cast<size_t>(j)] + 0.5 * sum, 1e-13);
        }
    }
}

TEST(SparseColumns, SymmetricProductAndFormAgreeWithTheFullMatrix) {
    std::mt19937_64 random(3);
    for (int trial = 0; trial < 200; ++trial) {
        const auto n = static_cast<std::int32_t>(random() % 9);
        const bool diagonalOnly = trial % 4 == 0;
        const bool noDiagonal = trial % 5 == 0;
        const Both m = drawMatrix(random, n, n, true);
        const std::vector<double> d = drawVector(random, n), x = drawVector(random, n);
        const auto entry = [&](std::int32_t i, std::int32_t j) {
            if (i == j) return noDiagonal ? 0.0 : d[static_cast<size_t>(i)];
            return diagonalOnly ? 0.0 : i > j ? m.at(i, j) : m.at(j, i);
        };
        const double* diagonal = noDiagonal ? nullptr : d.data();
        const std::int32_t* begin = diagonalOnly ? nullptr : m.begin.data();
        std::vector<double> y = d;
        ovrelin::addSymmetricProduct(2.0, n, diagonal, begin, m.length.data(), m.index.data(),
                                     m.value.data(), x.data(), y.data());
        double form = 0;
        for (std::int32_t i = 0; i < n; ++i) {
            double sum = 0;
            for (std::int32_t j = 0; j < n; ++j) sum += entry(i, j) * x[static_cast<size_t>(j)];
            EXPECT_NEAR(y[static_cast<size_t>(i)], d[static_cast<size_t>(i)] + 2.0 * sum, 1e-13);
            form += 0.5 * sum * x[static_cast<size_t>(i)];
        }
        EXPECT_NEAR(ovrelin::quadraticForm(n, diagonal, begin, m.length.data(), m.index.data(),
                                           m.value.data(), x.data()),
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
