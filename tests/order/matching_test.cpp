// The weighted matching against all permutations, and what becomes of its cycles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "sparse/order/matching/column_nodes.hpp"
#include "support/analysis_fixture.hpp"
#include "support/dense_symbolic.hpp"
#include "support/ldl_solver.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

struct Matched {
    int code = -1;
    std::vector<std::int32_t> rowOf, mate, nodeBegin, column;
    std::vector<double> rowDual, colDual;
    ColumnNodes nodes{};
};

Matched matchColumns(const TestMatrix& a, std::int32_t first, bool scaled = false) {
    const auto n = static_cast<std::size_t>(a.n());
    Matched out;
    out.rowOf.assign(n, -1);
    out.mate.assign(n, -7);
    out.nodeBegin.assign(n + 1, -1);
    out.column.assign(n, -1);
    out.rowDual.assign(n, 0.0);
    out.colDual.assign(n, 0.0);
    TestPool pool;
    const MatchingProblem problem{{a.n(), a.begin(), a.row()}, a.value.data(), first};
    Matching matching{out.rowOf.data(), out.rowDual.data(), out.colDual.data()};
    out.code = findWeightedMatching(pool.get(), problem, matching);
    EXPECT_EQ(pool.numLive(), 0);
    out.nodes = {0, out.nodeBegin.data(), out.column.data()};
    if (out.code == ldl::ok) pairColumns(problem, matching, scaled, out.nodes, out.mate.data());
    return out;
}

double entryOf(const TestMatrix& a, std::int32_t i, std::int32_t j) {
    for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p)
        if (a.row()[p] == i) return a.value[static_cast<std::size_t>(p)];
    return 0.0;
}

double logProduct(const TestMatrix& a, std::int32_t first, const std::vector<std::int32_t>& rowOf) {
    double sum = 0.0;
    for (std::int32_t j = first; j < a.n(); ++j)
        sum += std::log(std::fabs(entryOf(a, rowOf[static_cast<std::size_t>(j)], j)));
    return sum;
}

// The best of all permutations of the block; minus infinity when each meets a zero.
double bestLogProduct(const TestMatrix& a, std::int32_t first) {
    std::vector<std::int32_t> rowOf(static_cast<std::size_t>(a.n()));
    std::iota(rowOf.begin(), rowOf.end(), 0);
    double best = -INFINITY;
    do {
        best = std::max(best, logProduct(a, first, rowOf));
    } while (std::next_permutation(rowOf.begin() + first, rowOf.end()));
    return best;
}

// Entries over many magnitudes, some of them zeros.
TestMatrix smallMatrix(std::mt19937& random, std::int32_t maxOrder) {
    TestMatrix a{randomPattern(random, maxOrder), {}};
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    std::uniform_int_distribution<int> die(0, 9);
    a.value.assign(a.pattern.rowIndex.size(), 0.0);
    for (std::int32_t j = 0; j < a.n(); ++j)
        for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p) {
            const int cast = die(random);
            const double size = cast < 4 ? 1.0 : std::pow(10.0, exponent(random));
            a.value[static_cast<std::size_t>(p)] = cast == 9 ? 0.0 : cast % 2 == 0 ? size : -size;
        }
    return a;
}

TEST(WeightedMatching, HasTheLargestProduct) {
    std::mt19937 random(8);
    int numMatched = 0, numRefused = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        const TestMatrix a = smallMatrix(random, 7);
        const std::int32_t first = trial % 3 == 0 ? a.n() / 2 : 0;
        const Matched m = matchColumns(a, first);
        const double best = bestLogProduct(a, first);
        ASSERT_EQ(m.code, std::isinf(best) ? ldl::noMatching : ldl::ok) << "trial " << trial;
        (m.code == ldl::ok ? numMatched : numRefused) += 1;
        if (m.code != ldl::ok) continue;
        std::vector<std::int32_t> rows(m.rowOf.begin() + first, m.rowOf.end());
        std::sort(rows.begin(), rows.end());
        for (std::size_t k = 0; k < rows.size(); ++k)
            ASSERT_EQ(rows[k], first + static_cast<std::int32_t>(k));
        ASSERT_NEAR(logProduct(a, first, m.rowOf), best, 1e-9) << "trial " << trial;
    }
    EXPECT_GT(numMatched, 400);
    EXPECT_GT(numRefused, 400);
}

// On matrices too large to try all: the duals prove the optimum.
TEST(WeightedMatching, DualsProveTheOptimum) {
    std::mt19937 random(9);
    int numMatched = 0;
    for (int trial = 0; trial < 200; ++trial) {
        const TestMatrix a = smallMatrix(random, 120);
        const Matched m = matchColumns(a, 0);
        if (m.code != ldl::ok) continue;
        ++numMatched;
        for (std::int32_t j = 0; j < a.n(); ++j) {
            double largest = 0.0;
            for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p)
                largest = std::max(largest, std::fabs(a.value[static_cast<std::size_t>(p)]));
            for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p) {
                const double size = std::fabs(a.value[static_cast<std::size_t>(p)]);
                if (size == 0.0) continue;
                const auto i = static_cast<std::size_t>(a.row()[p]);
                const double slack = std::log(largest / size) - m.rowDual[i] -
                                     m.colDual[static_cast<std::size_t>(j)];
                EXPECT_GE(slack, -1e-9);
                if (m.rowOf[static_cast<std::size_t>(j)] == a.row()[p]) {
                    EXPECT_LE(slack, 1e-9);
                }
            }
        }
        if (HasFailure()) FAIL() << "trial " << trial;
    }
    EXPECT_GT(numMatched, 40);
}

TEST(WeightedMatching, RefusesEmptyAndZeroColumns) {
    TestMatrix empty{patternFromEdges("empty column", 3, {{0, 1}, {0, 0}}), {1, 1, 1}};
    EXPECT_EQ(matchColumns(empty, 0).code, ldl::noMatching);
    TestMatrix zero{diagonalPattern(3), {1, 0, 2}};
    EXPECT_EQ(matchColumns(zero, 0).code, ldl::noMatching);
    // The leading block is none of its business.
    TestMatrix leading{diagonalPattern(3), {0, 1, 2}};
    EXPECT_EQ(matchColumns(leading, 1).code, ldl::ok);
    // Two columns that share their only row.
    TestMatrix shared{patternFromEdges("shared row", 3, {{0, 1}, {0, 2}}), {1, 1, 1, 1}};
    EXPECT_EQ(matchColumns(shared, 0).code, ldl::noMatching);
}

TEST(WeightedMatching, PassesOverWhatIsNotFinite) {
    std::mt19937 random(12);
    int numMatched = 0;
    for (int trial = 0; trial < 300; ++trial) {
        TestMatrix a = smallMatrix(random, 30);
        for (double& value : a.value)
            if (random() % 4 == 0) value = random() % 2 == 0 ? NAN : INFINITY;
        const Matched m = matchColumns(a, 0);
        if (m.code != ldl::ok) continue;
        ++numMatched;
        EXPECT_TRUE(std::isfinite(logProduct(a, 0, m.rowOf)));
    }
    EXPECT_GT(numMatched, 50);
}

TEST(ColumnNodes, CoverTheColumnsWithTheBestPairs) {
    std::mt19937 random(10);
    int numPairs = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        const TestMatrix a = smallMatrix(random, 9);
        const std::int32_t first = trial % 2 == 0 ? 0 : a.n() / 3;
        const Matched m = matchColumns(a, first, trial % 5 == 0);
        if (m.code != ldl::ok) continue;
        std::vector<int> seen(static_cast<std::size_t>(a.n()), 0);
        std::int32_t lastFirst = -1;
        for (std::int32_t k = 0; k < m.nodes.numNode; ++k) {
            const std::int32_t* column = m.nodes.column + m.nodes.begin[k];
            const std::int32_t size = m.nodes.begin[k + 1] - m.nodes.begin[k];
            ASSERT_TRUE(size == 1 || size == 2);
            EXPECT_GT(column[0], lastFirst);
            lastFirst = column[0];
            for (std::int32_t c = 0; c < size; ++c) ++seen[static_cast<std::size_t>(column[c])];
            if (size == 1) continue;
            ++numPairs;
            EXPECT_GE(column[0], first);
            // An entry of the matching ties them.
            EXPECT_TRUE(m.rowOf[static_cast<std::size_t>(column[0])] == column[1] ||
                        m.rowOf[static_cast<std::size_t>(column[1])] == column[0]);
            EXPECT_TRUE(entryOf(a, column[0], column[1]) != 0.0 ||
                        entryOf(a, column[1], column[0]) != 0.0);
        }
        EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), a.n());
        if (HasFailure()) FAIL() << "trial " << trial;
    }
    EXPECT_GT(numPairs, 500);
}

// Symmetric matrices whose matching is one cycle: a ring of large entries, with weaker ones
// between.
TEST(ColumnNodes, BreakCyclesWhereTheProductIsLargest) {
    const auto ring = [](const std::vector<double>& link, const std::vector<double>& diagonal) {
        const auto n = static_cast<std::int32_t>(link.size());
        std::vector<Edge> edges;
        for (std::int32_t i = 0; i < n; ++i) {
            edges.emplace_back(i, (i + 1) % n);
            edges.emplace_back(i, i);
        }
        TestMatrix a{patternFromEdges("ring", n, edges), {}};
        for (std::int32_t j = 0; j < n; ++j)
            for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p) {
                const std::int32_t i = a.row()[p];
                const auto lower = static_cast<std::size_t>((i + 1) % n == j ? i : j);
                a.value.push_back(i == j ? diagonal[static_cast<std::size_t>(j)] : link[lower]);
            }
        return a;
    };
    const auto pairsOf = [](const Matched& m) {
        std::vector<Edge> pairs;
        for (std::int32_t k = 0; k < m.nodes.numNode; ++k)
            if (m.nodes.begin[k + 1] - m.nodes.begin[k] == 2) {
                const std::int32_t* c = m.nodes.column + m.nodes.begin[k];
                pairs.emplace_back(c[0], c[1]);
            }
        return pairs;
    };
    // Three in a ring: the one whose diagonal is largest stays alone, unless the links say
    // otherwise.
    EXPECT_EQ(pairsOf(matchColumns(ring({8, 8, 8}, {1e-3, 1, 1e-3}), 0)),
              (std::vector<Edge>{{0, 2}}));
    EXPECT_EQ(pairsOf(matchColumns(ring({99, 99, 8}, {1, 1, 1.1}), 0)),
              (std::vector<Edge>{{0, 1}}));
    EXPECT_EQ(pairsOf(matchColumns(ring({99, 99, 8}, {2, 1, 1.1}), 0)),
              (std::vector<Edge>{{1, 2}}));
    // Scaled to links of one, the diagonals are 1.1 / 8, 100 * 8 / 99^2 and 1 / 8.
    EXPECT_EQ(pairsOf(matchColumns(ring({99, 99, 8}, {1.1, 100, 1}), 0)),
              (std::vector<Edge>{{0, 2}}));
    EXPECT_EQ(pairsOf(matchColumns(ring({99, 99, 8}, {1.1, 100, 1}), 0, true)),
              (std::vector<Edge>{{1, 2}}));
    // Five: single 2 leaves the links 3-4 and 0-1.
    EXPECT_EQ(pairsOf(matchColumns(ring({9, 4, 4, 9, 4}, {1, 1, 1, 1, 1}), 0)),
              (std::vector<Edge>{{0, 1}, {3, 4}}));
}

// With the matching's options every pair stands side by side after the analysis, and the solver is
// as good as without.
TEST(Matching, PairsStayTogetherAndTheSolverStaysAccurate) {
    std::mt19937 random(12);
    int numPairs = 0;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const Kind kind = trial % 2 == 0 ? Kind::saddle : Kind::indefinite;
        const TestMatrix a = withValues(
            random, trial % 8 == 0 ? randomGraph(random, 260, 2) : randomPattern(random, 50), kind);
        const bool block = trial % 3 == 0;
        LdlSolver solver;
        const std::int32_t first = a.n() / 2;
        ASSERT_EQ(solver.set(ldl::optFirstBlockSize, first), ldl::ok);
        ASSERT_EQ(solver.set(block ? ldl::optBlockMatchingMode : ldl::optMatchingMode, 1), ldl::ok);
        ASSERT_EQ(solver.set(ldl::optMatchingScale, trial % 2), ldl::ok);
        ASSERT_EQ(solver.set(ldl::optOrderingMethod, trial % 4 - 1), ldl::ok);
        const Matched m = matchColumns(a, block ? first : 0, trial % 2 != 0);
        ASSERT_EQ(solver.analyse(a), m.code);
        EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
        if (m.code != ldl::ok) continue;
        for (std::int32_t k = 0; k < m.nodes.numNode; ++k) {
            if (m.nodes.begin[k + 1] - m.nodes.begin[k] == 1) continue;
            const std::int32_t* c = m.nodes.column + m.nodes.begin[k];
            const std::int32_t* inverse = solver.symbolic->inversePerm.data();
            EXPECT_EQ(std::abs(inverse[c[0]] - inverse[c[1]]), 1);
            ++numPairs;
        }
        EXPECT_EQ(checkAnalysis(a.pattern, *solver.symbolic, *solver.numeric), "");
        ASSERT_EQ(solver.factor(a), ldl::ok);
        if (solver.symbolic->numPerturbed > 0) continue;
        const std::vector<double> b = randomVector(random, a.n());
        std::vector<double> x = b;
        (void)solver.solve(a, x);
        EXPECT_LT(backwardError(a, x, b), 1e-14);
    }
    EXPECT_GT(numPairs, 500);
}

TEST(Matching, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    std::mt19937 random(13);
    const TestMatrix a = withValues(random, gridPattern(20, 20), Kind::indefinite);
    for (const std::int32_t postPass : {0, 1}) {
        LdlSolver solver;
        ASSERT_EQ(solver.set(ldl::optMatchingMode, 1), ldl::ok);
        ASSERT_EQ(solver.set(ldl::optOrderingMethod, 2), ldl::ok);
        ASSERT_EQ(solver.set(ldl::optOrderingPostPass, postPass), ldl::ok);
        const std::int64_t before = solver.pool.numLive();
        solver.pool.failRequest(-1);
        ASSERT_EQ(solver.analyse(a), ldl::ok);
        const std::int64_t numRequests = solver.pool.numRequests();
        for (std::int64_t k = 0; k < numRequests; ++k) {
            solver.freeFactors();
            solver.pool.failRequest(k);
            EXPECT_EQ(solver.analyse(a), ldl::noMemory) << "request " << k;
            solver.freeFactors();
            EXPECT_EQ(solver.pool.numLive(), before);
        }
    }
}

}  // namespace
