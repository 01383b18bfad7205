// The kernels around the pivot step against plain triple loops, with NaN wherever they must not
// read.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "sparse/dense.hpp"
#include "sparse/kernel/compress.hpp"
#include "sparse/kernel/register_tile.hpp"
#include "sparse/kernel/scatter.hpp"
#include "sparse/kernel/unit_solve.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;
using std::int32_t;

double plainProduct(const Dense& a, const Dense& b, int32_t r, int32_t c) {
    double sum = 0;
    for (int32_t p = 0; p < a.cols; ++p) sum += a.at(r, p) * b.at(c, p);
    return sum;
}

using Form = void (*)(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c);
struct Forms {
    Form set, add, subtract;
};
constexpr Forms whole{setProduct, addProduct, subtractProduct};
constexpr Forms lowerPart{setProductLower, addProductLower, subtractProductLower};

/// The product in the blocks of one kind of machine, whichever this is.
template <class Shape, tile::Into into>
void blocks(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<Shape>(into, m, n, k, a, b, c);
}
template <class Shape>
constexpr Forms blocksOf{blocks<Shape, tile::Into::set>, blocks<Shape, tile::Into::add>,
                         blocks<Shape, tile::Into::subtract>};

/// Runs the three forms of one product and compares every entry, the ones that must stay NaN
/// included.
void checkProduct(std::mt19937& random, int32_t m, int32_t n, int32_t k, const Forms& forms) {
    SCOPED_TRACE(testing::Message() << m << " x " << n << " x " << k);
    const bool lower = forms.set == lowerPart.set;
    const Dense a = Dense(m, k).fill(random), b = Dense(n, k).fill(random);
    const Dense before = Dense(m, n).fill(random, lower);
    Dense set(m, n), added = before, subtracted = before;
    forms.set(m, n, k, a.constant(), b.constant(), set.block());
    forms.add(m, n, k, a.constant(), b.constant(), added.block());
    forms.subtract(m, n, k, a.constant(), b.constant(), subtracted.block());
    for (int32_t c = 0; c < n; ++c)
        for (int32_t r = 0; r < set.ld; ++r) {
            if (r >= m || (lower && r < c)) {
                for (const Dense* out : {&set, &added, &subtracted})
                    ASSERT_TRUE(std::isnan(out->at(r, c)));
                continue;
            }
            const double product = plainProduct(a, b, r, c), old = before.at(r, c);
            ASSERT_NEAR(set.at(r, c), product, 1e-14 * (1 + k));
            ASSERT_NEAR(added.at(r, c), old + product, 1e-14 * (1 + k));
            ASSERT_NEAR(subtracted.at(r, c), old - product, 1e-14 * (1 + k));
        }
}

TEST(ProductKernel, EverySizeOfBlockByEveryKindOfMachine) {
    std::mt19937 random(1);
    for (const Forms& forms : {whole, blocksOf<tile::WideShape>, blocksOf<tile::NarrowShape>,
                               blocksOf<tile::SmallShape>})
        for (const int32_t m : {1, 2, 3, 4, 7, 8, 11, 13, 15, 16, 23, 24, 31, 40, 63})
            for (int32_t n = 1; n <= 25; ++n)
                for (const int32_t k : {1, 9, 25}) checkProduct(random, m, n, k, forms);
}

TEST(ProductKernel, PiecesOfLargeProductsAndTrapezoidsAroundTheStrip) {
    std::mt19937 random(2);
    for (const auto& size : {std::array{193, 97, 97}, {500, 1, 200}, {1, 300, 200}, {97, 3, 193}})
        checkProduct(random, size[0], size[1], size[2], whole);
    for (const int32_t n : {1, 2, 5, 6, 7, 12, 13, 24, 31, 47, 48, 95, 96, 97, 193})
        for (const int32_t below : {0, 1, 9, 40})
            for (const int32_t k : {1, 4, 9, 96}) checkProduct(random, n + below, n, k, lowerPart);
}

TEST(ProductKernel, FewColumns) {
    std::mt19937 random(3);
    for (int32_t k = 1; k <= 17; ++k)
        for (int32_t count = 0; count <= 19; ++count) {
            const Dense a = Dense(count, k).fill(random), coef = Dense(1, k).fill(random);
            const Dense before = Dense(count, 1).fill(random);
            Dense out = before;
            subtractColumns(count, k, a.constant(), coef.value.data(), coef.ld, out.value.data());
            for (int32_t r = 0; r < count; ++r)
                ASSERT_NEAR(out.at(r, 0), before.at(r, 0) - plainProduct(a, coef, r, 0), 1e-13);
            ASSERT_TRUE(std::isnan(out.at(count, 0)));
        }
}

/// W = A B' in whole vectors, then into a larger block at scattered and at consecutive places.
void checkScatter(std::mt19937& random, int32_t m, int32_t n, int32_t k) {
    const Dense a = Dense(m, k, wholeVectors(m)).fill(random), b = Dense(m, k).fill(random);
    Dense w(m, n, wholeVectors(m));
    formUpdate(m, n, k, a.constant(), b.constant(), w.block());
    for (const int32_t gap : {0, 1, 9, 20}) {
        SCOPED_TRACE(testing::Message() << m << " x " << n << " x " << k << " gap " << gap);
        Indices place{2};
        for (int32_t r = 1; r < m; ++r)
            place.push_back(place.back() + 1 + (gap > 0 && r % (gap + 1) == 0 ? gap : 0));
        Dense out = Dense(place.back() + 2, place[n - 1] + 1).fill(random);
        Dense expected = out;
        for (int32_t c = 0; c < n; ++c)
            for (int32_t r = c; r < m; ++r)
                expected.at(place[r], place[c]) -= plainProduct(a, b, r, c);
        if (gap == 0)
            subtractConsecutive(m, n, w.constant(), {&out.at(2, 2), out.ld});
        else
            subtractScattered(m, n, true, w.constant(), place.data(), place.data(), out.block());
        for (int32_t c = 0; c < out.cols; ++c)
            for (int32_t r = c; r < out.rows; ++r)
                ASSERT_NEAR(out.at(r, c), expected.at(r, c), 1e-13);
    }
}

/// A rectangle into rows and columns that have nothing to do with each other.
void checkRectangle(std::mt19937& random, int32_t m, int32_t n, int32_t gap) {
    const Dense w = Dense(m, n).fill(random);
    Indices place, columns;
    for (int32_t r = 0; r < m; ++r) place.push_back(r + r / 13 * gap + 1);
    for (int32_t c = 0; c < n; ++c) columns.push_back(2 * c + c % 2);
    const Dense before = Dense(place.back() + 2, columns.back() + 1).fill(random);
    for (const int sign : {-1, 1}) {
        Dense out = before, expected = before;
        for (int32_t c = 0; c < n; ++c)
            for (int32_t r = 0; r < m; ++r) expected.at(place[r], columns[c]) += sign * w.at(r, c);
        const auto kernel = sign < 0 ? subtractScattered : addScattered;
        kernel(m, n, false, w.constant(), place.data(), columns.data(), out.block());
        for (int32_t c = 0; c < out.cols; ++c)
            for (int32_t r = 0; r < out.rows; ++r) ASSERT_EQ(out.at(r, c), expected.at(r, c));
    }
}

TEST(ScatterKernel, EveryRectangle) {
    std::mt19937 random(9);
    for (const int32_t m : {1, 2, 7, 8, 31, 32, 33, 64, 65, 150})
        for (const int32_t n : {1, 3, 4, 5, 8, 9, 40})
            for (const int32_t gap : {0, 1, 5}) checkRectangle(random, m, n, gap);
}

TEST(ScatterKernel, EverySmallUpdate) {
    std::mt19937 random(8);
    for (const int32_t m : {1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 16, 17, 21, 32, 45, 70})
        for (const int32_t n : {1, 2, 3, 4, 5, 8, 13, 21, 37})
            for (const int32_t k : {1, 2, 5, 17})
                if (n <= m) checkScatter(random, m, n, k);
}

/// X L' = B for X, for triangles of every width up to twice the widest that is solved at one go,
/// and for rows that fill no whole vector.
TEST(UnitSolveKernel, SolvesEverySize) {
    std::mt19937 random(3);
    for (int32_t k = 1; k <= 2 * widestUnit + 1; ++k)
        for (const int32_t m : {0, 1, 3, 8, 21}) {
            Dense lower = Dense(k, k).fill(random, true);
            for (int32_t c = 0; c < k; ++c) lower.at(c, c) = NAN;
            const Dense b = Dense(m, k).fill(random);
            Dense x = b;
            solveUnitLower(m, k, lower.constant(), x.block());
            for (int32_t c = 0; c < k; ++c)
                for (int32_t r = 0; r < m; ++r) {
                    double sum = x.at(r, c), size = std::fabs(sum);
                    for (int32_t p = 0; p < c; ++p) {
                        sum += x.at(r, p) * lower.at(c, p);
                        size += std::fabs(x.at(r, p) * lower.at(c, p));
                    }
                    ASSERT_NEAR(sum, b.at(r, c), 1e-14 * size) << k << ' ' << r << ' ' << c;
                }
        }
}

/// What is not zero, zeros of both signs left out, with the numbers of the rows.
TEST(CompressKernel, KeepsWhatIsNotZeroInOrder) {
    std::mt19937 random(9);
    for (const int32_t begin : {0, 1, 5})
        for (const int32_t count : {0, 1, 2, 7, 8, 30})
            for (const std::uint32_t share : {0U, 1U, 3U, 4U}) {
                Array<double> column, kept, value(count + 1, NAN);
                Indices number, keptNumber, index(count + 1, -1);
                for (int32_t r = 0; r < begin + count + 2; ++r) {
                    const bool inside = r >= begin && r < begin + count;
                    const bool zero = inside && random() % 4 >= share;
                    column.push_back(zero ? (random() % 2 ? 0 : -0.0) : r + 0.5);
                    number.push_back(3 * r + 1);
                    if (inside && !zero) kept.push_back(r + 0.5), keptNumber.push_back(3 * r + 1);
                }
                const int32_t found = compressColumn(begin, begin + count, column.data(),
                                                     number.data(), value.data(), index.data());
                value.erase(value.begin() + found, value.end());
                index.erase(index.begin() + found, index.end());
                EXPECT_EQ(value, kept);
                EXPECT_EQ(index, keptNumber);
            }
}

}  // namespace
