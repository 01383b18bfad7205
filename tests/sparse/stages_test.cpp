// The stages of the sparse solver one after the other: what each returns, leaves behind and
// forgives.
#include <cmath>

#include "sparse/solve/orthogonalise.hpp"
#include "support/fake_host.hpp"
#include "support/ldl_solver.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

TestMatrix grid(std::mt19937& random, std::int32_t width, Kind kind) {
    return withValues(random, gridPattern(width, width), kind);
}

/// [Q A'; A 0], both with the pattern of a stencil: to the eye of a minimum degree, equations come
/// first.
TestMatrix equations(std::mt19937& random, const TestPattern& stencil) {
    const std::int32_t m = stencil.n;
    std::vector<Edge> edges;
    stencil.forEach([&](std::int32_t i, std::int32_t j) {
        edges.emplace_back(i, j);
        edges.emplace_back(m + i, j);
    });
    return withValues(random, patternFromEdges("equations", 2 * m, edges), Kind::saddle);
}

/// Columns with 1 to 12 entries each in sixteen rows that all have in common.
TestPattern columnsOfAnyLength(std::mt19937& random, std::int32_t n) {
    std::vector<Edge> edges;
    for (std::int32_t j = 0; j < n; ++j)
        for (auto left = 1 + random() % 12; left > 0; --left)
            edges.emplace_back(j, n + static_cast<std::int32_t>(random() % 16));
    return patternFromEdges("columns of any length", n + 16, edges);
}

void zeroOut(TestMatrix& matrix, std::int32_t row) {
    matrix.rewrite([row](auto i, auto j, double v) { return i == row || j == row ? 0 : v; });
}

struct SmallCase {
    const char* name;
    TestMatrix matrix;
    Array<double> b;
    std::int32_t numPerturbed, numPositive;
    double pivotRatio;
};

TEST(SparseNumeric, DissectionsDoNotBeginWithTheEmptyDiagonalsOfEquations) {
    std::mt19937 random(12);
    LdlSolver solver({{ldl::optOrderingMethod, 2}});
    // The first falls to the elimination ahead of all dissection, the second to the leaf order.
    for (const TestPattern& stencil : {gridPattern(30, 30), cubePattern(9, 9, 9)}) {
        const TestMatrix a = equations(random, stencil);
        ASSERT_EQ(solver.analyse(a), ldl::ok);
        ASSERT_EQ(solver.factor(a), ldl::ok);
        EXPECT_LT(solver.solveError(a), 1e-15);
        const std::int32_t byValues = solver.symbolic->numPerturbed;
        ASSERT_EQ(solver.analyse(a.pattern), ldl::ok);
        const Indices order(solver.symbolic->perm.begin(), solver.symbolic->perm.end());
        ASSERT_EQ(solver.factor(a), ldl::ok);
        EXPECT_LT(2 * byValues, solver.symbolic->numPerturbed);
        // Values without any diagonal tell nothing.
        TestMatrix bare = a;
        bare.rewrite([](auto i, auto j, double v) { return i == j ? 0 : v; });
        ASSERT_EQ(solver.analyse(bare), ldl::ok);
        EXPECT_TRUE(std::equal(order.begin(), order.end(), solver.symbolic->perm.begin()));
    }
}

TEST(SparseNumeric, CountsThePivotsOfHandMadeMatrices) {
    const double tolerance = std::sqrt(0x1p-53);
    const SmallCase cases[] = {
        {"a pair", {densePattern(2), {0, 1, 1, 0}}, {2, -3}, 0, 1, 0},
        {"a pair and one more", {densePattern(3), {0, 1, 0, 1, 0, 0, 0, 0, 4}}, {1, 2, 3}, 0, 2, 1},
        {"diagonal", {diagonalPattern(3), {8, -2, 4}}, {1, 1, 1}, 0, 2, 0.25},
        {"a zero column", {densePattern(3), {4, 0, 1, 0, 0, 0, 1, 0, 3}}, {5, 0, 4}, 1, 3, -1},
        {"one unknown", {diagonalPattern(1), {3}}, {1.5}, 0, 1, 1},
        {"one negative", {diagonalPattern(1), {-0.25}}, {1.5}, 0, 0, 1},
        {"nearly nothing", {diagonalPattern(1), {1e-20}}, {0}, 1, 1, 1},
    };
    for (const SmallCase& c : cases) {
        SCOPED_TRACE(c.name);
        LdlSolver solver{{ldl::optPivotStatistics, 1}};
        ASSERT_EQ(solver.analyse(c.matrix), ldl::ok);
        ASSERT_EQ(solver.factor(c.matrix), ldl::ok);
        EXPECT_EQ(solver.symbolic->numPerturbed, c.numPerturbed);
        EXPECT_EQ(solver.symbolic->pivotTolerance, tolerance);
        EXPECT_EQ(solver.handle->numPositivePivots, c.numPositive);
        EXPECT_EQ(solver.handle->numNegativePivots, c.matrix.n() - c.numPositive);
        if (c.pivotRatio >= 0) {
            EXPECT_EQ(solver.handle->pivotRatio, c.pivotRatio);
        }
        Array<double> x = c.b;
        EXPECT_EQ(solver.solve(c.matrix, x), ldl::refined);
        EXPECT_LT(backwardError(c.matrix, x, c.b), 1e-15);
    }
}

TEST(SparseNumeric, KnowsANewPatternFromTheOneBefore) {
    std::mt19937 random(9);
    const TestMatrix matrix = grid(random, 9, Kind::indefinite);
    // As many entries in places that the analysis knows nothing of, and one more at the end.
    TestMatrix backwards = matrix, doubled = matrix, moved = matrix, more = matrix;
    for (std::int32_t& row : moved.pattern.rowIndex) row = (row * 5 + 1) % 81;
    more.pattern.rowIndex.push_back(80);
    more.value.push_back(1);
    ++more.pattern.colBegin.back();
    for (std::int32_t j = 0; j < matrix.n(); ++j) {
        const auto reverse = [&](auto& array) {
            std::reverse(array.begin() + matrix.begin()[j], array.begin() + matrix.begin()[j + 1]);
        };
        reverse(backwards.pattern.rowIndex);
        reverse(backwards.value);
    }
    doubled.rewrite([](auto, auto, double value) { return 2 * value; });
    LdlSolver solver;
    const Array<double> b = randomVector(random, matrix.n());
    const auto solution = [&](const TestMatrix& of) {
        EXPECT_EQ(solver.factor(of), ldl::ok);
        Array<double> x = b;
        (void)solver.solve(of, x);
        return x;
    };
    const auto pivots = [&] {
        return Indices(solver.symbolic->pivotIndex.begin(), solver.symbolic->pivotIndex.end());
    };
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    const Array<double> expected = solution(matrix);
    const Indices expectedPivots = pivots();
    // Other orders and other values in turn; a mismatch in between must not be remembered.
    for (int round = 0; round < 2; ++round) {
        const Array<double> x = solution(backwards);
        EXPECT_EQ(pivots(), expectedPivots);
        const Array<double> half = solution(doubled);
        for (std::int32_t i = 0; i < matrix.n(); ++i) {
            ASSERT_NEAR(x[i], expected[i], 1e-9);
            ASSERT_NEAR(2 * half[i], expected[i], 1e-9);
        }
        for (const TestPattern& other : {gridPattern(8, 8), diagonalPattern(81), densePattern(81)})
            EXPECT_EQ(solver.factor(withValues(random, other, Kind::definite)), ldl::mismatch);
        EXPECT_EQ(solution(matrix), expected);
        EXPECT_EQ(solver.factor(moved), ldl::mismatch);
        EXPECT_EQ(solver.factor(more), ldl::mismatch);
        EXPECT_EQ(solution(matrix), expected);
    }
}

TEST(SparseNumeric, PanelsOfAnyWidthKeepToTheirBuffers) {
    std::mt19937 random(12);
    const TestMatrix matrices[] = {
        withValues(random, randomTree(random, 150), Kind::definite),
        withValues(random, cliquePairPattern(40, 30, 20), Kind::definite)};
    for (std::int32_t width = -1; width <= 20; ++width)
        for (const TestMatrix& matrix : matrices) {
            SCOPED_TRACE(testing::Message() << matrix.pattern.name << " by " << width);
            LdlSolver solver;
            solver.handle->parameters.panelWidth = width;
            ASSERT_EQ(solver.analyse(matrix), ldl::ok);
            ASSERT_EQ(solver.factor(matrix), ldl::ok);
            EXPECT_LT(solver.solveError(matrix), 1e-15);
        }
}

struct LimitCase {
    std::int32_t krylov, asked;
    bool perturbed;
    std::int32_t applied;
    bool tested;  // the refinement looks at what it has reached
};

TEST(SparseSolve, LimitsOfTheRefinement) {
    std::mt19937 random(6);
    const TestMatrix regular = grid(random, 12, Kind::definite);
    TestMatrix singular = regular;
    zeroOut(singular, 7);
    const LimitCase cases[] = {
        {1, 0, false, 0, false},     {1, 0, true, 64, true},  {0, 0, false, 0, false},
        {0, 0, true, 2, false},      {0, 3, false, 3, false}, {1, 1000, false, 144, true},
        {0, 1000, true, 144, false},
    };
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.krylov << ' ' << c.asked << ' ' << c.perturbed);
        const TestMatrix& matrix = c.perturbed ? singular : regular;
        LdlSolver solver{{ldl::optKrylovRefinement, c.krylov}, {ldl::optMaxRefineIter, c.asked}};
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        ASSERT_EQ(solver.symbolic->numPerturbed > 0, c.perturbed);
        Array<double> b = randomVector(random, matrix.n());
        b[7] = 0;
        Array<double> x = b;
        const int code = solver.solve(matrix, x);
        EXPECT_TRUE(c.tested ? code == ldl::refined || code == ldl::notRefined : code == ldl::ok);
        EXPECT_EQ(solver.handle->maxRefineIter, c.applied);
        EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    }
}

TEST(SparseSolve, EveryVariantOfTheKrylovMethodRepairsPoorPivots) {
    // An indefinite matrix whose restricted pivots are poor: its first application is worth little.
    std::mt19937 random(7);
    for (const std::int32_t variant : {0, 1, 2})
        for (const std::int32_t restart : {1, 4, 40})
            for (int trial = 0; trial < 20; ++trial) {
                const Judged judged = judge(random, grid(random, 7, Kind::saddle));
                if (judged.condition < 1e-6) continue;
                LdlSolver solver{{ldl::optOrthogonalization, variant},
                                 {ldl::optInitialRestart, restart},
                                 {ldl::optMaxRestart, 40}};
                ASSERT_EQ(solver.analyse(judged.matrix), ldl::ok);
                expectLikeLapack(solver, judged);
                Array<double> zero(49);
                EXPECT_EQ(solver.solve(judged.matrix, zero), ldl::refined);
                EXPECT_EQ(solver.handle->backwardError, 0);
                EXPECT_EQ(largest(zero), 0);
            }
}

/// w = V h + what is left, which two sweeps make orthogonal to V even where it is a small part of
/// w.
TEST(SparseSolve, EveryVariantOfGramSchmidtSplitsAVector) {
    std::mt19937 random(8);
    constexpr std::int32_t n = 37, most = 11;
    Array<double> basis, work(most);
    for (std::int32_t count = 0; count <= most; ++count) {
        const Array<double> small = randomVector(random, n), size = randomVector(random, most);
        Array<double> w = small, next;
        for (std::int32_t k = 0; k < n * count; ++k) w[k % n] += 1e7 * size[k / n] * basis[k];
        for (const std::int32_t variant : {0, 1, 2}) {
            Array<double> left = w, h(most, NAN);
            ovrelin::orthogonalise(variant, n, count, basis.data(), left.data(), h.data(),
                                   work.data());
            Array<double> sum = left, angle(most);
            for (std::int32_t k = 0; k < n * count; ++k) {
                sum[k % n] += h[k / n] * basis[k];
                angle[k / n] += left[k % n] * basis[k];
            }
            for (std::int32_t i = 0; i < n; ++i) ASSERT_NEAR(sum[i], w[i], 1e-7) << variant;
            ASSERT_LT(largest(angle), variant == 0 ? 1e-7 : 1e-13) << variant << ' ' << count;
            next = left;
        }
        double norm = 0;
        for (const double v : next) norm += v * v;
        for (const double v : next) basis.push_back(v / std::sqrt(norm));
    }
}

/// P A P', both triangles: of the upper one the factorisation must take nothing.
TestMatrix permuted(const TestMatrix& a, const ovrelin::LdlSymbolic& symbolic) {
    TestMatrix out{{"permuted", a.n(), {0}, {}}, {}};
    for (const std::int32_t old : symbolic.perm) {
        for (std::int32_t e = a.begin()[old]; e < a.begin()[old + 1]; ++e) {
            out.pattern.rowIndex.push_back(symbolic.inversePerm[a.row()[e]]);
            out.value.push_back(a.value[e]);
        }
        out.pattern.colBegin.push_back(static_cast<std::int32_t>(out.value.size()));
    }
    return out;
}

TEST(SparseSolve, WorksInTheOrderOfTheFactorsToo) {
    std::mt19937 random(11);
    for (const std::int32_t krylov : {0, 1}) {
        const TestMatrix matrix = grid(random, 9, krylov ? Kind::saddle : Kind::quasiDefinite);
        LdlSolver solver{{ldl::optKrylovRefinement, krylov}, {ldl::optInitialRestart, 81}};
        // Spoils the factors: without them in the right order there is no way back.
        if (krylov != 0) solver.handle->parameters.pivotTolerance = 0.3;
        const auto factorInOrder = [&](const TestMatrix& a) {
            return ovrelin::sparseLdlNumeric(1, a.n(), a.begin(), a.row(), a.value.data(),
                                             solver.handle, solver.symbolic, solver.numeric);
        };
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        const TestMatrix inOrder = permuted(matrix, *solver.symbolic);
        const Array<double> b = randomVector(random, matrix.n());
        Array<double> x = b, same = b, c, y;
        for (const std::int32_t old : solver.symbolic->perm) c.push_back(b[old]);
        const int code = solver.solve(matrix, x);
        // Each way knows the other's pattern for a strange one.
        EXPECT_EQ(factorInOrder(matrix), ldl::mismatch);
        ASSERT_EQ(factorInOrder(inOrder), ldl::ok);
        EXPECT_EQ(solver.factor(inOrder), ldl::mismatch);
        ASSERT_EQ(factorInOrder(inOrder), ldl::ok);
        EXPECT_EQ(solver.solve(matrix, same), code);
        EXPECT_EQ(same, x);
        y = c;
        EXPECT_EQ(ovrelin::sparseLdlSolve(1, inOrder.begin(), inOrder.row(), inOrder.value.data(),
                                          y.data(), solver.handle, solver.symbolic, solver.numeric),
                  code);
        EXPECT_LT(backwardError(inOrder, y, c), 1e-15);
    }
}

/// One cycle decides: what it makes worse is refused; and where it gains little and the next basis,
/// twice as long, may not be made, it was the last, and the refinement says so.
TEST(SparseSolve, ACycleThatGainsLittleWantsALongerBasis) {
    std::mt19937 random(7);
    int worse = 0, little = 0, much = 0;
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        const TestMatrix matrix = grid(random, 7, Kind::saddle);
        LdlSolver solver{{ldl::optInitialRestart, 2}};
        solver.handle->parameters.pivotTolerance = 0.3;  // spoils the factors
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        solver.symbolic->numPerturbed = 0;
        const Array<double> b = randomVector(random, 49);
        const auto solve = [&](std::int32_t limit, std::int32_t longest, int* code) {
            solver.handle->maxRefineIter = limit;
            solver.handle->maxRestart = longest;
            Array<double> x = b;
            *code = solver.solve(matrix, x);
            return x;
        };
        int code = -1;
        const Array<double> first = solve(0, 49, &code), once = solve(2, 49, &code);
        const double before = backwardError(matrix, first, b);
        const double after = solver.handle->backwardError;
        if (code != ldl::notRefined || before < 1e-14) continue;
        EXPECT_EQ(once == first, after >= before);
        worse += after >= before ? 1 : 0;
        const Array<double> last = solve(49, 3, &code);
        if (after < 0.3 * before) {
            ++much;
            EXPECT_NE(solver.handle->backwardError, after);
        } else {
            ++little;
            EXPECT_EQ(code, ldl::notRefined);
            EXPECT_EQ(solver.handle->backwardError, after);
            EXPECT_EQ(last, first);
        }
        solver.handle->initialRestart = 49;
        EXPECT_LT(backwardError(matrix, solve(49, 49, &code), b), 1e-14);
    }
    EXPECT_GT(std::min({worse, little - worse, much}), 10);
}

/// A path whose pivots all cancel and are replaced, each in a front of its own, so that the inverse
/// of the factors is huge: it carries a tiny right-hand side, but no residual of unit length.
TEST(SparseSolve, ARefinementMayOverflowWhereTheFirstPassDoesNot) {
    constexpr std::int32_t n = 26;
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) edges.emplace_back(i, i);
    for (std::int32_t i = 1; i < n; ++i) edges.emplace_back(i, i - 1);
    TestMatrix matrix{patternFromEdges("path", n, edges), {}};
    matrix.pattern.forEach([&](auto i, auto j) {
        const bool end = i == 0 || i == n - 1;
        matrix.value.push_back(i != j ? 0x1p20 : end ? 0 : 0x1p66);
    });
    LdlSolver solver{{ldl::optOrderingMethod, 0}};
    ovrelin::SparseParameters& parameters = solver.handle->parameters;
    parameters.pivotTolerance = 0x1p-26;
    parameters.mergeAlwaysBelow = parameters.mergeSmallBelow = parameters.mergeFreeZeros = 0;
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    Array<double> b(n);
    // Squares stay within range, as not every BLAS scales its norms.
    b[0] = 0x1p-700;
    for (const bool refined : {false, true}) {
        solver.handle->refineTolerance = refined ? 1e-40 : 2;
        Array<double> x = b;
        EXPECT_EQ(solver.solve(matrix, x), refined ? ldl::overflow : ldl::refined);
        if (!refined) {
            EXPECT_GT(largest(x), 0x1p300);
        }
    }
}

/// One pass over the factors, first with no room for a sparse copy of its mostly empty blocks, then
/// with room for some of them and with enough: the same up to rounding.
TEST(SparseSolve, TheSparseCopyStandsForTheBlocks) {
    std::mt19937 random(9);
    int copies = 0;
    for (const Kind kind : {Kind::indefinite, Kind::quasiDefinite, Kind::definite})
        for (int trial = 0; trial < 60; ++trial) {
            const TestPattern patterns[] = {tridiagonalPattern(90), randomTree(random, 150),
                                            columnsOfAnyLength(random, 120)};
            const TestMatrix matrix = withValues(random, patterns[trial % 3], kind);
            LdlSolver solver{{ldl::optMaxRefineIter, 0}};
            ASSERT_EQ(solver.analyse(matrix), ldl::ok);
            const Array<double> b = randomVector(random, matrix.n());
            const std::int32_t capacity = solver.symbolic->thin.capacity;
            EXPECT_LE(capacity, 3 * solver.symbolic->numFactorEntries);
            Array<double> dense;
            for (const std::int32_t room : {0, capacity / 3, capacity}) {
                solver.symbolic->thin.capacity = room;
                ASSERT_EQ(solver.factor(matrix), ldl::ok);
                solver.symbolic->numPerturbed = 0;
                Array<double> x = b;
                ASSERT_EQ(solver.solve(matrix, x), ldl::ok);
                copies += solver.symbolic->thin.numRuns > 1 ? 1 : 0;
                if (room == 0) dense = x;
                for (std::int32_t i = 0; i < matrix.n(); ++i)
                    ASSERT_NEAR(x[i], dense[i], 1e-11 * largest(dense)) << trial << ' ' << room;
            }
        }
    EXPECT_GT(copies, 100);
}

TEST(SparseSolve, WithoutFactorsIsRefused) {
    std::mt19937 random(3);
    const FakeHost host;
    const TestMatrix matrix = grid(random, 6, Kind::definite);
    const TestMatrix other = withValues(random, densePattern(36), Kind::definite);
    LdlSolver solver;
    Array<double> x(36, 1.0);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    EXPECT_EQ(solver.solve(matrix, x), ldl::mismatch);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.solve(matrix, x), ldl::refined);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(solver.factor(matrix), ldl::stopped);
    FakeHost::context().stopFlag = 0;
    EXPECT_EQ(solver.solve(matrix, x), ldl::mismatch);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.factor(other), ldl::mismatch);
    EXPECT_EQ(solver.solve(matrix, x), ldl::mismatch);
    // The analysis asks for its two records first: the second one is missing.
    solver.freeFactors();
    solver.pool.failRequest(1);
    EXPECT_EQ(solver.analyse(matrix), ldl::noMemory);
    EXPECT_EQ(solver.solve(matrix, x), ldl::mismatch);
    EXPECT_EQ(solver.factor(TestMatrix{diagonalPattern(0), {}}), ldl::mismatch);
}

TEST(SparseSolve, AHugeValueInASweepIsAnOverflow) {
    for (const std::int32_t limit : {0, 5}) {
        const TestMatrix matrix{diagonalPattern(2), {1e-5, 1}};
        LdlSolver solver{{ldl::optMaxRefineIter, limit}};
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        Array<double> x;
        for (const double huge : {1e300, double{INFINITY}, double{NAN}}) {
            x = {huge, 1};
            EXPECT_EQ(solver.solve(matrix, x), ldl::overflow) << huge;
        }
        x = {1, 1};
        EXPECT_NE(solver.solve(matrix, x), ldl::overflow);
    }
}

}  // namespace
