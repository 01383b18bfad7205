// The weighted matching against all permutations, and what becomes of its cycles.
#include <cmath>

#include "sparse/order/matching/column_nodes.hpp"
#include "support/dense_symbolic.hpp"
#include "support/ldl_solver.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

struct Matched {
    int code = -1;
    Indices rowOf, mate, nodeBegin, column;
    Array<double> rowDual, colDual;
    std::vector<Edge> nodes;  // the columns of each, a single one twice
};

Matched matchColumns(const TestMatrix& a, std::int32_t first, bool scaled = false) {
    const std::int32_t n = a.n();
    Matched out{-1,
                Indices(n, -1),
                Indices(n, -7),
                Indices(n + 1, -1),
                Indices(n, -1),
                Array<double>(n),
                Array<double>(n),
                {}};
    TestPool pool;
    const MatchingProblem problem{{n, a.begin(), a.row()}, a.value.data(), first};
    Matching matching{out.rowOf.data(), out.rowDual.data(), out.colDual.data()};
    out.code = findWeightedMatching(pool.get(), problem, matching);
    EXPECT_EQ(pool.numLive(), 0);
    if (out.code != ldl::ok) return out;
    ColumnNodes nodes{0, out.nodeBegin.data(), out.column.data()};
    pairColumns(problem, matching, scaled, nodes, out.mate.data());
    for (std::int32_t k = 0; k < nodes.numNode; ++k)
        out.nodes.emplace_back(nodes.column[nodes.begin[k]], nodes.column[nodes.begin[k + 1] - 1]);
    EXPECT_EQ(nodes.begin[nodes.numNode], n);
    return out;
}

std::vector<Edge> pairsOf(const Matched& m) {
    std::vector<Edge> pairs;
    for (const Edge& node : m.nodes)
        if (node.first != node.second) pairs.push_back(node);
    return pairs;
}

/// 0 for what is not finite, which no matching may take.
double entryOf(const TestMatrix& a, std::int32_t i, std::int32_t j) {
    for (std::int32_t p = a.begin()[j]; p < a.begin()[j + 1]; ++p)
        if (a.row()[p] == i && std::isfinite(a.value[p])) return a.value[p];
    return 0.0;
}

double logProduct(const TestMatrix& a, std::int32_t first, const Indices& rowOf) {
    double sum = 0.0;
    for (std::int32_t j = first; j < a.n(); ++j)
        sum += std::log(std::fabs(entryOf(a, rowOf[j], j)));
    return sum;
}

/// The best of all permutations of the block; minus infinity when each meets a zero.
double bestLogProduct(const TestMatrix& a, std::int32_t first) {
    Indices rowOf = countUp(a.n());
    double best = -INFINITY;
    do {
        best = std::max(best, logProduct(a, first, rowOf));
    } while (std::next_permutation(rowOf.begin() + first, rowOf.end()));
    return best;
}

/// Entries over many magnitudes, some of them zeros.
TestMatrix smallMatrix(std::mt19937& random, std::int32_t maxOrder) {
    TestMatrix a{randomPattern(random, maxOrder), {}};
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    a.value.resize(a.pattern.rowIndex.size());
    for (double& value : a.value) {
        const auto die = random() % 10;
        value = die < 4 ? 1.0 : std::pow(10.0, exponent(random));
        if (die % 2 == 1) value = die == 9 ? 0.0 : -value;
    }
    return a;
}

/// Nodes ascend, hold each column once, and pair what an entry of the matching ties. Returns the
/// number of pairs.
int expectNodes(const TestMatrix& a, std::int32_t first, const Matched& m) {
    Indices columns;
    int numPairs = 0;
    std::int32_t lastFirst = -1;
    for (const auto& [one, two] : m.nodes) {
        EXPECT_GT(one, std::exchange(lastFirst, one));
        columns.push_back(one);
        if (one == two) continue;
        ++numPairs;
        columns.push_back(two);
        EXPECT_GE(one, first);
        EXPECT_TRUE(m.rowOf[one] == two || m.rowOf[two] == one);
        EXPECT_TRUE(entryOf(a, one, two) != 0.0 || entryOf(a, two, one) != 0.0);
    }
    EXPECT_TRUE(isPermutation(columns));
    EXPECT_EQ(columns.size(), m.rowOf.size());
    return numPairs;
}

TEST(WeightedMatching, HasTheLargestProductAndPairsByIt) {
    std::mt19937 random(8);
    int numMatched = 0, numRefused = 0, numPairs = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        SCOPED_TRACE(trial);
        TestMatrix a = smallMatrix(random, 7);
        for (double& value : a.value)
            if (trial % 4 == 0 && random() % 4 == 0) value = random() % 2 == 0 ? NAN : INFINITY;
        const std::int32_t first = trial % 3 == 0 ? a.n() / 2 : 0;
        const Matched m = matchColumns(a, first, trial % 5 == 0);
        const double best = bestLogProduct(a, first);
        ASSERT_EQ(m.code, std::isinf(best) ? ldl::noMatching : ldl::ok);
        (m.code == ldl::ok ? numMatched : numRefused) += 1;
        if (m.code != ldl::ok) continue;
        Indices rows = countUp(first);
        rows.insert(rows.end(), m.rowOf.begin() + first, m.rowOf.end());
        ASSERT_TRUE(isPermutation(rows));
        ASSERT_NEAR(logProduct(a, first, m.rowOf), best, 1e-9);
        numPairs += expectNodes(a, first, m);
        if (HasFailure()) return;
    }
    EXPECT_GT(std::min({numMatched, numRefused, numPairs}), 400);
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
            const double* column = a.value.data() + a.begin()[j];
            const std::int32_t length = a.begin()[j + 1] - a.begin()[j];
            const double most = largest(Array<double>(column, column + length));
            for (std::int32_t p = 0; p < length; ++p) {
                const std::int32_t i = a.row()[a.begin()[j] + p];
                if (column[p] == 0.0) continue;
                const double slack =
                    std::log(most / std::fabs(column[p])) - m.rowDual[i] - m.colDual[j];
                ASSERT_GE(slack, -1e-9) << trial;
                ASSERT_TRUE(m.rowOf[j] != i || slack <= 1e-9) << trial;
            }
        }
    }
    EXPECT_GT(numMatched, 40);
}

/// A symmetric matrix whose matching is one cycle: large entries link i and i + 1 around a ring.
TestMatrix ring(const Array<double>& link, const Array<double>& diagonal) {
    const auto n = static_cast<std::int32_t>(link.size());
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) {
        edges.emplace_back(i, (i + 1) % n);
        edges.emplace_back(i, i);
    }
    TestMatrix a{patternFromEdges("ring", n, edges), {}};
    a.pattern.forEach([&](std::int32_t i, std::int32_t j) {
        a.value.push_back(i == j ? diagonal[j] : link[(i + 1) % n == j ? i : j]);
    });
    return a;
}

TEST(ColumnNodes, BreakCyclesWhereTheProductIsLargest) {
    const struct {
        Array<double> link, diagonal;
        bool scaled;
        std::vector<Edge> pairs;
    } cases[] = {
        // Three: the one whose diagonal is largest stays alone, unless the links say otherwise.
        {{8, 8, 8}, {1e-3, 1, 1e-3}, false, {{0, 2}}},
        {{99, 99, 8}, {1, 1, 1.1}, false, {{0, 1}}},
        {{99, 99, 8}, {2, 1, 1.1}, false, {{1, 2}}},
        // Scaled to links of one, the diagonals are 1.1 / 8, 100 * 8 / 99^2 and 1 / 8.
        {{99, 99, 8}, {1.1, 100, 1}, false, {{0, 2}}},
        {{99, 99, 8}, {1.1, 100, 1}, true, {{1, 2}}},
        // Five: single 2 leaves the links 3-4 and 0-1.
        {{9, 4, 4, 9, 4}, {1, 1, 1, 1, 1}, false, {{0, 1}, {3, 4}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(pairsOf(matchColumns(ring(c.link, c.diagonal), 0, c.scaled)), c.pairs)
            << "case " << &c - cases;
}

TEST(Matching, ThatPairsNothingChangesNothing) {
    std::mt19937 random(14);
    const TestMatrix a = withValues(random, gridPattern(40, 40), Kind::definite);
    Indices perm[2];
    for (const std::int32_t mode : {0, 1}) {
        LdlSolver solver{{ldl::optMatchingMode, mode}, {ldl::optOrderingMethod, 2}};
        ASSERT_EQ(solver.analyse(a), ldl::ok);
        perm[mode] = Indices(solver.symbolic->perm.begin(), solver.symbolic->perm.end());
    }
    EXPECT_EQ(perm[0], perm[1]);
}

// With the matching's options every pair stands side by side after the analysis.
TEST(Matching, PairsStayTogether) {
    std::mt19937 random(12);
    std::size_t numPairs = 0;
    for (int trial = 0; trial < 400; ++trial) {
        SCOPED_TRACE(trial);
        const Kind kind = trial % 2 == 0 ? Kind::saddle : Kind::indefinite;
        const TestMatrix a = withValues(
            random, trial % 8 == 0 ? randomGraph(random, 260, 2) : randomPattern(random, 50), kind);
        const bool block = trial % 3 == 0;
        // A leading block of more than everything leaves nothing to match.
        const std::int32_t first = trial % 12 == 9 ? a.n() + 3 : a.n() / 2;
        LdlSolver solver{{ldl::optFirstBlockSize, first},
                         {block ? ldl::optBlockMatchingMode : ldl::optMatchingMode, 1},
                         {ldl::optMatchingScale, trial % 2},
                         {ldl::optOrderingMethod, trial % 4 - 1}};
        const Matched m = matchColumns(a, block ? std::min(first, a.n()) : 0, trial % 2 != 0);
        ASSERT_EQ(solver.analyse(a), m.code);
        if (m.code != ldl::ok) continue;
        for (const auto& [one, two] : pairsOf(m)) {
            const std::int32_t* inverse = solver.symbolic->inversePerm.data();
            EXPECT_EQ(std::abs(inverse[one] - inverse[two]), 1);
        }
        numPairs += pairsOf(m).size();
        expectSoundAnalysis(a.pattern, *solver.symbolic, *solver.numeric);
    }
    EXPECT_GT(numPairs, 500U);
}

}  // namespace
