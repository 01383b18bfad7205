// The pivot step against the plain rule, one column at a time.
#include <gtest/gtest.h>

#include <cmath>

#include "ovrelin/host.h"
#include "sparse/dense.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;
using std::int32_t;

constexpr PivotRule rule{1.0536712127723509e-08, 0.6403882032022076, 96};

/// A factored trapezoid, and the matrix that its factors stand for: the columns are taken from the
/// last to the first, each one's elimination undone and then its interchange.
struct Factored {
    Dense front, scaled;
    Indices pivot;
    int32_t numPerturbed = 0;

    /// packed: as the engines lay a front out, without gaps and with a copy for whole vectors.
    explicit Factored(const Dense& a, bool packed = false)
        : front(a), scaled(a.rows, a.cols + 1), pivot(a.cols) {
        if (!packed) return;
        front = Dense(a.rows, a.cols, a.rows);
        scaled = Dense(a.rows, a.cols + 1, wholeVectors(a.rows));
        for (int32_t c = 0; c < a.cols; ++c)
            for (int32_t r = c; r < a.rows; ++r) front.at(r, c) = a.at(r, c);
    }

    bool run(const PivotRule& with, const HostContext* context = nullptr,
             const int32_t* reach = nullptr) {
        return factorPivotBlock(front.rows, front.cols, front.block(), scaled.block(), with,
                                context, pivot.data(), &numPerturbed, reach);
    }

    /// (rows x rows), the lower right corner as L2 D L2'.
    [[nodiscard]] Dense product() const {
        const int32_t m = front.rows;
        Dense a(m, m);
        std::fill(a.value.begin(), a.value.end(), 0.0);
        for (int32_t c = front.cols - 1; c >= 0; --c) {
            const int32_t last = c;
            if (isPair(pivot[c])) --c;
            putPivot(a, c, last);
            const int32_t row = pivotRow(pivot[last]);
            for (int32_t i = 0; i < m; ++i) std::swap(a.at(last, i), a.at(row, i));
            for (int32_t i = 0; i < m; ++i) std::swap(a.at(i, last), a.at(i, row));
        }
        return a;
    }

private:
    void putPivot(Dense& a, int32_t first, int32_t last) const {
        const auto d = [&](int32_t i, int32_t j) {
            return front.at(std::max(i, j), std::min(i, j));
        };
        const auto l = [&](int32_t r, int32_t c) {
            return r > last ? front.at(r, c) : r == c ? 1.0 : 0.0;
        };
        for (int32_t i = first; i < a.rows; ++i)
            for (int32_t j = first; j < a.rows; ++j)
                for (int32_t p = first; p <= last; ++p)
                    for (int32_t q = first; q <= last; ++q)
                        a.at(i, j) += l(i, p) * d(p, q) * l(j, q);
    }
};

/// L D L' gives the block back, and the copy below the block is L2 D where it is kept. Only a front
/// without gaps may be written above the diagonal, and never behind its end.
void checkFactors(const Dense& a, const Factored& factored, int32_t width, double largest) {
    const double tolerance = 1e-12 * (1 + a.cols) * largest;
    const Dense product = factored.product();
    for (int32_t c = 0; c < a.cols; ++c)
        for (int32_t r = 0; r < a.rows; ++r) {
            if (r >= c) {
                ASSERT_NEAR(product.at(r, c), a.at(r, c), tolerance) << r << ' ' << c;
            } else if (factored.front.ld > a.rows) {
                ASSERT_TRUE(std::isnan(factored.front.at(r, c)));
            }
        }
    for (int32_t guard = 0; guard < 8; ++guard)
        ASSERT_TRUE(std::isnan(factored.front.at(guard, a.cols)));
    // Of the copy there are as many columns as a panel has; whole vectors may reach a little
    // further.
    for (int32_t r = 7; r < a.rows; ++r)
        ASSERT_TRUE(std::isnan(factored.scaled.at(r, std::min(a.cols, width))));
    if (a.cols > width) return;
    for (int32_t r = a.cols; r < a.rows; ++r)
        for (int32_t s = a.cols; s < a.rows; ++s) {
            double sum = 0;
            for (int32_t c = 0; c < a.cols; ++c)
                sum += factored.front.at(r, c) * factored.scaled.at(s, c);
            ASSERT_NEAR(sum, product.at(r, s), 100 * tolerance + 1e-12 * std::fabs(sum));
        }
}

enum class Diagonal { random, zero, small, dominant };

Dense trapezoid(std::mt19937& random, int32_t m, int32_t k, Diagonal diagonal) {
    Dense a = Dense(m, k).fill(random, true);
    for (int32_t c = 0; c < k; ++c) {
        if (diagonal == Diagonal::zero) a.at(c, c) = 0;
        if (diagonal == Diagonal::small) a.at(c, c) *= 1e-6;
        if (diagonal == Diagonal::dominant) a.at(c, c) = c % 2 == 0 ? 2.0 * m : -2.0 * m;
    }
    return a;
}

/// The rule one column at a time on the whole symmetric block, every column up to date.
struct PlainPivots {
    Indices pivot;
    int32_t numPerturbed = 0;

    explicit PlainPivots(const Dense& given) : pivot(given.cols), a(given) {
        for (int32_t c = 0; c < a.cols; ++c)
            for (int32_t r = 0; r < c; ++r) a.at(r, c) = a.at(c, r);
        for (int32_t c = 0; c < a.cols;) c = step(c);
    }

private:
    Dense a;

    /// The row of column c's largest entry from row `first` on, off the diagonal.
    [[nodiscard]] int32_t largestRow(int32_t first, int32_t c) const {
        int32_t best = first == c ? c + 1 : first;
        for (int32_t r = first; r < a.cols; ++r)
            if (r != c && std::fabs(a.at(r, c)) > std::fabs(a.at(best, c))) best = r;
        return best;
    }
    void exchange(int32_t i, int32_t j) {
        for (int32_t p = 0; p < a.cols; ++p) std::swap(a.at(i, p), a.at(j, p));
        for (int32_t p = 0; p < a.cols; ++p) std::swap(a.at(p, i), a.at(p, j));
    }
    void eliminateSingle(int32_t c) {
        for (int32_t j = c + 1; j < a.cols; ++j)
            for (int32_t i = c + 1; i < a.cols; ++i)
                a.at(i, j) -= a.at(i, c) * a.at(c, j) / a.at(c, c);
    }
    void eliminatePair(int32_t c) {
        const double d0 = a.at(c, c), d1 = a.at(c + 1, c), d2 = a.at(c + 1, c + 1);
        const double det = d0 * d2 - d1 * d1;
        for (int32_t j = c + 2; j < a.cols; ++j) {
            const double x = (d2 * a.at(c, j) - d1 * a.at(c + 1, j)) / det;
            const double y = (d0 * a.at(c + 1, j) - d1 * a.at(c, j)) / det;
            for (int32_t i = c + 2; i < a.cols; ++i)
                a.at(i, j) -= a.at(i, c) * x + a.at(i, c + 1) * y;
        }
    }
    int32_t step(int32_t c) {
        const double diagonal = std::fabs(a.at(c, c));
        const int32_t row = c + 1 < a.cols ? largestRow(c, c) : c;
        const double best = row > c ? std::fabs(a.at(row, c)) : 0;
        int32_t target = c;
        bool pair = false;
        if (std::max(diagonal, best) <= rule.tolerance) {
            a.at(c, c) = std::copysign(rule.tolerance, a.at(c, c));
            ++numPerturbed;
        } else if (diagonal < rule.alpha * best) {
            const double rowBest = std::fabs(a.at(largestRow(c, row), row));
            if (diagonal < rule.alpha * best * best / rowBest) {
                target = row;
                pair = std::fabs(a.at(row, row)) < rule.alpha * rowBest;
            }
        }
        exchange(pair ? c + 1 : c, pair || target != c ? target : c);
        if (pair) {
            pivot[c] = pivot[c + 1] = ~target;
            eliminatePair(c);
            return c + 2;
        }
        pivot[c] = target;
        eliminateSingle(c);
        return c + 1;
    }
};

/// Whatever is done at once, in runs, panels and groups of them: the pivots are those of the plain
/// rule, and the factors give the block back.
void checkPivots(const Dense& a, const Indices& widths = {2, 3, 8, 40, 96}) {
    const PlainPivots plain(a);
    double largest = 0;
    for (int32_t c = 0; c < a.cols; ++c)
        for (int32_t r = c; r < a.rows; ++r) largest = std::max(largest, std::fabs(a.at(r, c)));
    for (const int32_t width : widths)
        for (const bool packed : {false, true}) {
            SCOPED_TRACE(testing::Message() << "panels of " << width << (packed ? ", packed" : ""));
            Factored factored(a, packed);
            ASSERT_TRUE(factored.run({rule.tolerance, rule.alpha, width}));
            ASSERT_EQ(factored.pivot, plain.pivot);
            ASSERT_EQ(factored.numPerturbed, plain.numPerturbed);
            if (plain.numPerturbed > 0 || (a.cols > 200 && width < 96)) continue;
            checkFactors(a, factored, width, largest);
        }
}

TEST(PivotKernel, ChoosesThePivotsOfThePlainRuleAndGivesTheBlockBack) {
    std::mt19937 random(4);
    for (const int32_t k : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 33, 47, 48, 49, 95, 96, 97, 193})
        for (const int32_t below : {0, 1, 2, 6, 21})
            for (const Diagonal diagonal :
                 {Diagonal::random, Diagonal::zero, Diagonal::small, Diagonal::dominant}) {
                if ((k > 33 && below == 6) || (k > 100 && below != 2)) continue;
                SCOPED_TRACE(testing::Message()
                             << k + below << " x " << k << " kind " << static_cast<int>(diagonal));
                checkPivots(trapezoid(random, k + below, k, diagonal));
                if (HasFatalFailure()) return;
            }
}

/// Rows and columns of sizes a hundredfold apart, with diagonals that are good pivots for their
/// rows, though seldom the largest of their columns; but each `zero`-th diagonal is 0 and each
/// `tiny`-th column within the tolerance.
Dense graded(std::mt19937& random, int32_t m, int32_t k, int32_t zero, int32_t tiny) {
    Dense a = Dense(m, k).fill(random, true);
    std::uniform_real_distribution<double> exponent(-1, 1);
    Array<double> size;
    for (int32_t r = 0; r < m; ++r)
        size.push_back(r % tiny == tiny - 1 && r < k ? 1e-13 : std::pow(10, exponent(random)));
    for (int32_t c = 0; c < k; ++c) {
        a.at(c, c) = c % zero == zero - 1 ? 0 : (c % 3 == 0 ? -4 : 4) * std::sqrt(k);
        for (int32_t r = c; r < m; ++r) a.at(r, c) *= size[r] * size[c];
    }
    return a;
}

/// Small entries, among them diagonals that are no good pivots, which show only when the `first`
/// columns, whose products are much larger, have been taken off. The first such column has its
/// largest entry in the last row.
Dense hidden(std::mt19937& random, int32_t k, int32_t first) {
    Dense a = Dense(k, k).fill(random, true);
    for (int32_t c = 0; c < k; ++c) a.at(c, c) = (c - first) % 20 == 4 ? 0.3 : 4 * std::sqrt(k);
    a.at(k - 1, first + 4) = 3;
    for (int32_t c = 0; c < first; ++c) {
        const double d = a.at(c, c) = c % 2 == 0 ? 1000 : -1000;
        for (int32_t r = c + 1; r < k; ++r) a.at(r, c) *= r < first ? 0 : 0.3 * d;
        for (int32_t j = first; j < k; ++j)
            for (int32_t i = j; i < k; ++i) a.at(i, j) += a.at(i, c) * a.at(j, c) / d;
    }
    return a;
}

TEST(PivotKernel, TakesRunsOfGoodDiagonalsAndWhatInterruptsThem) {
    std::mt19937 random(6);
    constexpr int32_t never = 1000;
    for (const int32_t k : {18, 60, 131, 430})
        for (const int32_t zero : {2, 9, 37, 150, never})
            for (const int32_t tiny : {5, 23, never}) {
                if (k == 430 && (zero < 150 || tiny < never)) continue;
                SCOPED_TRACE(testing::Message() << k << " columns, " << zero << ' ' << tiny);
                checkPivots(graded(random, k + 5, k, zero, tiny));
                if (HasFatalFailure()) return;
            }
    checkPivots(hidden(random, 430, 95), {96});
}

/// A band of few entries beside the diagonal, most of which is too small for a pivot. In `reach`
/// how far down the columns go that are eliminated up to each.
Dense banded(std::mt19937& random, int32_t m, int32_t k, int32_t width, Indices& reach) {
    Dense a(m, k);
    Dense filled(m, m);
    std::uniform_real_distribution<double> entry(-1, 1);
    for (int32_t c = 0; c < k; ++c)
        for (int32_t r = c; r < m; ++r) {
            const bool present = r == c || (r <= c + width && random() % 3 == 0);
            a.at(r, c) = present ? (r == c && random() % 2 == 0 ? 1e-3 : 1) * entry(random) : 0;
            filled.at(r, c) = present;
        }
    int32_t last = 0;
    for (int32_t c = 0; c < k; ++c) {
        for (int32_t r = c; r < m; ++r) {
            if (!(filled.at(r, c) > 0)) continue;
            last = std::max(last, r);
            for (int32_t i = r; i < m && r > c; ++i)
                if (filled.at(i, c) > 0) filled.at(i, r) = 1;
        }
        reach.push_back(last + 1);
    }
    return a;
}

TEST(PivotKernel, AKnownReachChangesNothing) {
    std::mt19937 random(5);
    int32_t swaps = 0, pairs = 0;
    for (int32_t round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const auto k = static_cast<int32_t>(1 + random() % 48);
        const int32_t m = k + static_cast<int32_t>(random() % 12);
        Indices reach;
        const Dense a = banded(random, m, k, 1 + round % 6, reach);
        Factored full(a, true), known(a, true);
        ASSERT_TRUE(full.run(rule) && known.run(rule, nullptr, reach.data()));
        ASSERT_EQ(known.pivot, full.pivot);
        ASSERT_EQ(known.numPerturbed, full.numPerturbed);
        for (int32_t c = 0; c < k; ++c) {
            // The ends of columns may be stored entry by entry, and rounded otherwise.
            for (int32_t r = c; r < m; ++r)
                ASSERT_NEAR(known.front.at(r, c), full.front.at(r, c), 1e-14) << r << ' ' << c;
            for (int32_t r = k; r < m; ++r)
                ASSERT_EQ(known.scaled.at(r, c), full.scaled.at(r, c)) << r << ' ' << c;
            swaps += full.pivot[c] > c ? 1 : 0;
            pairs += isPair(full.pivot[c]) ? 1 : 0;
        }
    }
    EXPECT_GT(swaps, 1000);
    EXPECT_GT(pairs, 10000);
}

TEST(PivotKernel, ReplacesWhatIsTooSmallWithItsOwnSign) {
    for (const double tiny : {0.0, 1e-9, -1e-9, -0.0}) {
        Dense a(3, 1);
        a.at(0, 0) = tiny;
        a.at(1, 0) = 2;  // below the block: no candidate
        a.at(2, 0) = -3;
        Factored factored(a);
        ASSERT_TRUE(factored.run(rule));
        EXPECT_EQ(factored.numPerturbed, 1);
        EXPECT_EQ(factored.front.at(0, 0), tiny < 0 ? -rule.tolerance : rule.tolerance);
        EXPECT_EQ(factored.scaled.at(2, 0), -3);
        HostContext context{};
        context.stopFlag = 1;
        EXPECT_FALSE(factored.run(rule, &context));
    }
}

}  // namespace
