// The stages of the sparse solver one after the other: what each returns, leaves behind and
// forgives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "sparse/fake_host.hpp"
#include "support/ldl_solver.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

TestMatrix dense(std::int32_t n, const std::vector<double>& lower) {
    TestMatrix matrix{densePattern(n), {}};
    for (std::int32_t j = 0; j < n; ++j)
        for (std::int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k) {
            const std::int32_t high = std::max(matrix.row()[k], j),
                               low = std::min(matrix.row()[k], j);
            matrix.value.push_back(lower[static_cast<std::size_t>(high * (high + 1) / 2 + low)]);
        }
    return matrix;
}

TestMatrix grid(std::mt19937& random, std::int32_t width, Kind kind) {
    return withValues(random, gridPattern(width, width), kind);
}

TEST(SparseNumeric, CountsReplacedPivotsAndStillSolvesTheRest) {
    // Column 1 is zero; b lies in the range of the matrix.
    const TestMatrix matrix = dense(3, {4, 0, 0, 1, 0, 3});
    LdlSolver solver;
    ASSERT_EQ(solver.set(ldl::optPivotStatistics, 1), ldl::ok);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.symbolic->numPerturbed, 1);
    EXPECT_EQ(solver.symbolic->pivotTolerance, std::sqrt(0x1p-53));
    EXPECT_EQ(solver.handle->numPositivePivots, 3);
    const std::vector<double> b = {5, 0, 4};
    std::vector<double> x = b;
    EXPECT_EQ(solver.solve(matrix, x), ldl::refined);
    EXPECT_LT(backwardError(matrix, x, b), 1e-15);
}

TEST(SparseNumeric, PivotStatisticsOfAHandMadeMatrix) {
    LdlSolver solver;
    ASSERT_EQ(solver.set(ldl::optPivotStatistics, 1), ldl::ok);
    const TestMatrix pair = dense(2, {0, 1, 0});
    ASSERT_EQ(solver.analyse(pair), ldl::ok);
    ASSERT_EQ(solver.factor(pair), ldl::ok);
    EXPECT_EQ(solver.symbolic->numPerturbed, 0);
    EXPECT_EQ(solver.handle->numPositivePivots, 1);
    EXPECT_EQ(solver.handle->numNegativePivots, 1);
    EXPECT_EQ(solver.handle->pivotRatio, 0);  // no diagonal entry to compare
    TestMatrix diagonal{diagonalPattern(3), {8, -2, 4}};
    ASSERT_EQ(solver.analyse(diagonal), ldl::ok);
    ASSERT_EQ(solver.factor(diagonal), ldl::ok);
    EXPECT_EQ(solver.handle->numNegativePivots, 1);
    EXPECT_EQ(solver.handle->pivotRatio, 0.25);
}

TEST(SparseNumeric, AnotherPatternIsAMismatch) {
    std::mt19937 random(1);
    const TestMatrix analysed = grid(random, 6, Kind::definite);
    LdlSolver solver;
    ASSERT_EQ(solver.analyse(analysed), ldl::ok);
    for (const TestMatrix& other :
         {withValues(random, diagonalPattern(36), Kind::definite),
          withValues(random, densePattern(36), Kind::definite), grid(random, 5, Kind::definite)}) {
        EXPECT_EQ(solver.factor(other), ldl::mismatch);
        EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    }
    // As many entries, in places that the analysis knows nothing of.
    TestPattern moved = analysed.pattern;
    for (std::int32_t& row : moved.rowIndex) row = (row * 5 + 1) % 36;
    (void)solver.factor({moved, analysed.value});
    EXPECT_EQ(solver.factor(analysed), ldl::ok);
}

TEST(SparseNumeric, TakesAPermutedTriangleAsItIs) {
    std::mt19937 random(2);
    const TestMatrix matrix = grid(random, 9, Kind::quasiDefinite);
    LdlSolver plain, reused;
    ASSERT_EQ(plain.analyse(matrix), ldl::ok);
    ASSERT_EQ(plain.factor(matrix), ldl::ok);
    ASSERT_EQ(reused.analyse(matrix), ldl::ok);
    const ovrelin::LdlNumeric& lower = *plain.numeric;
    const std::vector<std::int32_t> begin(lower.lowerBegin.begin(), lower.lowerBegin.end());
    ASSERT_EQ(ovrelin::sparseLdlNumeric(1, matrix.n(), begin.data(), lower.lowerRow.data(),
                                        lower.lowerValue.data(), reused.handle, reused.symbolic,
                                        reused.numeric),
              ldl::ok);
    std::vector<double> x = randomVector(random, matrix.n()), y = x;
    EXPECT_EQ(plain.solve(matrix, x), reused.solve(matrix, y));
    EXPECT_EQ(x, y);
}

TEST(SparseNumeric, KnowsANewPatternFromTheOneBefore) {
    std::mt19937 random(9);
    const TestMatrix matrix = grid(random, 9, Kind::indefinite);
    TestMatrix backwards = matrix;
    for (std::int32_t j = 0; j < matrix.n(); ++j) {
        std::reverse(backwards.pattern.rowIndex.begin() + matrix.begin()[j],
                     backwards.pattern.rowIndex.begin() + matrix.begin()[j + 1]);
        std::reverse(backwards.value.begin() + matrix.begin()[j],
                     backwards.value.begin() + matrix.begin()[j + 1]);
    }
    TestMatrix doubled = matrix;
    for (double& value : doubled.value) value *= 2;
    LdlSolver solver;
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    const auto pivotsNow = [&] {
        return std::vector<std::int32_t>(solver.symbolic->pivotIndex.begin(),
                                         solver.symbolic->pivotIndex.end());
    };
    const std::vector<std::int32_t> pivots = pivotsNow();
    const std::vector<double> b = randomVector(random, matrix.n());
    std::vector<double> expected = b;
    (void)solver.solve(matrix, expected);
    // Other orders and other values in turn; a mismatch in between must not be remembered.
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(solver.factor(backwards), ldl::ok);
        EXPECT_EQ(pivotsNow(), pivots);
        std::vector<double> x = b;
        (void)solver.solve(backwards, x);
        for (std::size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(x[i], expected[i], 1e-9);
        ASSERT_EQ(solver.factor(doubled), ldl::ok);
        x = b;
        (void)solver.solve(doubled, x);
        for (std::size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(2 * x[i], expected[i], 1e-9);
        EXPECT_EQ(solver.factor(withValues(random, densePattern(81), Kind::definite)),
                  ldl::mismatch);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        x = b;
        (void)solver.solve(matrix, x);
        EXPECT_EQ(x, expected);
    }
}

TEST(SparseNumeric, TheSameInputGivesTheSameBits) {
    std::mt19937 random(3);
    for (const Kind kind : {Kind::indefinite, Kind::quasiDefinite, Kind::saddle}) {
        const TestMatrix matrix = grid(random, 24, kind);
        const std::vector<double> b = randomVector(random, matrix.n());
        std::vector<double> first;
        for (int trial = 0; trial < 3; ++trial) {
            LdlSolver solver;
            ASSERT_EQ(solver.analyse(matrix), ldl::ok);
            for (int repeat = 0; repeat <= trial; ++repeat)
                ASSERT_EQ(solver.factor(matrix), ldl::ok);
            std::vector<double> x = b;
            (void)solver.solve(matrix, x);
            if (trial == 0) first = x;
            ASSERT_EQ(std::memcmp(first.data(), x.data(), x.size() * sizeof(double)), 0);
        }
    }
}

TEST(SparseNumeric, StopFlagEndsItAndLeavesItUsable) {
    std::mt19937 random(4);
    const TestMatrix matrix = grid(random, 10, Kind::definite);
    const FakeHost host;
    LdlSolver solver;
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(solver.factor(matrix), ldl::stopped);
    EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    FakeHost::context().stopFlag = 0;
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    const std::vector<double> b = randomVector(random, matrix.n());
    std::vector<double> x = b;
    EXPECT_EQ(solver.solve(matrix, x), ldl::refined);
    EXPECT_LT(backwardError(matrix, x, b), 1e-15);
}

TEST(SparseSolve, ZeroRightHandSideNeedsNoIteration) {
    std::mt19937 random(5);
    const TestMatrix matrix = grid(random, 5, Kind::indefinite);
    LdlSolver solver;
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    std::vector<double> x(25, 0.0);
    EXPECT_EQ(solver.solve(matrix, x), ldl::refined);
    EXPECT_EQ(solver.handle->backwardError, 0);
    EXPECT_EQ(x, std::vector<double>(25, 0.0));
    x.assign(25, NAN);
    EXPECT_EQ(solver.solve(matrix, x), ldl::notRefined);
}

struct LimitCase {
    std::int32_t krylov, asked;
    bool perturbed;
    std::int32_t applied;
    std::vector<int> codes;
};

TEST(SparseSolve, LimitsOfTheRefinement) {
    std::mt19937 random(6);
    const TestMatrix regular = grid(random, 12, Kind::definite);
    TestMatrix singular = regular;
    for (std::int32_t j = 0; j < singular.n(); ++j)
        for (std::int32_t k = singular.begin()[j]; k < singular.begin()[j + 1]; ++k)
            if (j == 7 || singular.row()[k] == 7) singular.value[static_cast<std::size_t>(k)] = 0;
    const std::vector<int> refinedOrNot = {ldl::refined, ldl::notRefined};
    const LimitCase cases[] = {
        {1, 0, false, 0, {ldl::ok}},     {1, 0, true, 64, refinedOrNot},
        {0, 0, false, 0, {ldl::ok}},     {0, 0, true, 2, {ldl::ok}},
        {0, 3, false, 3, {ldl::ok}},     {1, 1000, false, 144, refinedOrNot},
        {0, 1000, true, 144, {ldl::ok}},
    };
    for (const LimitCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.krylov << ' ' << c.asked << ' ' << c.perturbed);
        const TestMatrix& matrix = c.perturbed ? singular : regular;
        LdlSolver solver;
        ASSERT_EQ(solver.set(ldl::optKrylovRefinement, c.krylov), ldl::ok);
        ASSERT_EQ(solver.set(ldl::optMaxRefineIter, c.asked), ldl::ok);
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        ASSERT_EQ(solver.symbolic->numPerturbed > 0, c.perturbed);
        std::vector<double> b = randomVector(random, matrix.n());
        b[7] = 0;
        std::vector<double> x = b;
        const int code = solver.solve(matrix, x);
        EXPECT_NE(std::find(c.codes.begin(), c.codes.end(), code), c.codes.end()) << code;
        EXPECT_EQ(solver.handle->maxRefineIter, c.applied);
        EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    }
}

TEST(SparseSolve, EveryVariantOfTheKrylovMethodRepairsReplacedPivots) {
    // An indefinite matrix whose restricted pivots are poor: its first application is worth little.
    std::mt19937 random(7);
    for (const std::int32_t variant : {0, 1, 2})
        for (const std::int32_t restart : {1, 4, 40})
            for (int trial = 0; trial < 20; ++trial) {
                TestMatrix matrix = withValues(random, gridPattern(7, 7), Kind::saddle);
                const double condition = [&] {
                    double low = 1e300, high = 0;
                    for (const double value : denseEigenvalues(matrix)) {
                        low = std::min(low, std::fabs(value));
                        high = std::max(high, std::fabs(value));
                    }
                    return low / high;
                }();
                if (condition < 1e-6) continue;
                LdlSolver solver;
                ASSERT_EQ(solver.set(ldl::optOrthogonalization, variant), ldl::ok);
                ASSERT_EQ(solver.set(ldl::optInitialRestart, restart), ldl::ok);
                ASSERT_EQ(solver.set(ldl::optMaxRestart, 40), ldl::ok);
                ASSERT_EQ(solver.analyse(matrix), ldl::ok);
                ASSERT_EQ(solver.factor(matrix), ldl::ok);
                const std::vector<double> b = randomVector(random, matrix.n());
                std::vector<double> x = b;
                const int code = solver.solve(matrix, x);
                EXPECT_TRUE(code == ldl::refined || code == ldl::notRefined);
                EXPECT_LT(backwardError(matrix, x, b), 1e-14);
                EXPECT_NEAR(solver.handle->backwardError, backwardError(matrix, x, b), 1e-15);
            }
}

/// One pass over the factors, first with no room for a sparse copy of its mostly empty blocks, then
/// with room for some of them and with enough: the same up to rounding.
TEST(SparseSolve, TheSparseCopyStandsForTheBlocks) {
    std::mt19937 random(9);
    int copies = 0;
    for (const Kind kind : {Kind::indefinite, Kind::quasiDefinite, Kind::definite})
        for (int trial = 0; trial < 60; ++trial) {
            const TestMatrix matrix = withValues(
                random, trial % 3 == 0 ? tridiagonalPattern(90) : randomTree(random, 150), kind);
            LdlSolver solver;
            ASSERT_EQ(solver.analyse(matrix), ldl::ok);
            const std::vector<double> b = randomVector(random, matrix.n());
            const std::int32_t capacity = solver.symbolic->thin.capacity;
            std::vector<double> dense;
            for (const std::int32_t room : {0, capacity / 3, capacity}) {
                solver.symbolic->thin.capacity = room;
                ASSERT_EQ(solver.factor(matrix), ldl::ok);
                solver.symbolic->numPerturbed = 0;
                ASSERT_EQ(solver.set(ldl::optMaxRefineIter, 0), ldl::ok);
                std::vector<double> x = b;
                ASSERT_EQ(solver.solve(matrix, x), ldl::ok);
                copies += solver.symbolic->thin.numRuns > 1 ? 1 : 0;
                if (room == 0) dense = x;
                double size = 0;
                for (const double entry : dense) size = std::max(size, std::fabs(entry));
                for (std::size_t i = 0; i < x.size(); ++i)
                    ASSERT_NEAR(x[i], dense[i], 1e-11 * size) << trial << ' ' << room;
            }
        }
    EXPECT_GT(copies, 100);
}

TEST(SparseSolve, AHugeValueInASweepIsAnOverflow) {
    for (const std::int32_t limit : {0, 5}) {
        const TestMatrix matrix{diagonalPattern(2), {1e-5, 1}};
        LdlSolver solver;
        ASSERT_EQ(solver.set(ldl::optMaxRefineIter, limit), ldl::ok);
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        std::vector<double> x = {1e300, 1};
        EXPECT_EQ(solver.solve(matrix, x), ldl::overflow);
        EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
        x = {1, 1};
        EXPECT_NE(solver.solve(matrix, x), ldl::overflow);
    }
}

TEST(SparseSolve, OneUnknown) {
    for (const double entry : {3.0, -0.25, 1e-20}) {
        const TestMatrix matrix{diagonalPattern(1), {entry}};
        LdlSolver solver;
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        std::vector<double> x = {1.5};
        const int code = solver.solve(matrix, x);
        EXPECT_TRUE(code == ldl::refined || code == ldl::notRefined);
        if (std::fabs(entry) > 1e-8) {
            EXPECT_DOUBLE_EQ(x[0], 1.5 / entry);
        }
    }
}

TEST(SparseMemory, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    std::mt19937 random(8);
    const TestMatrix matrix = withValues(random, diagonalPattern(40), Kind::definite);
    const auto road = [&](LdlSolver& solver, std::vector<double>& x) {
        if (const int code = solver.analyse(matrix); code != ldl::ok) return code;
        if (const int code = solver.factor(matrix); code != ldl::ok) return code;
        return solver.solve(matrix, x);
    };
    LdlSolver solver;
    const std::vector<double> b = randomVector(random, matrix.n());
    std::vector<double> x = b;
    solver.pool.failRequest(-1);
    ASSERT_EQ(road(solver, x), ldl::refined);
    const std::int64_t count = solver.pool.numRequests();
    ASSERT_GT(count, 5);
    for (std::int64_t k = 0; k < count; ++k) {
        solver.freeFactors();
        ASSERT_EQ(solver.pool.numLive(), 1);  // the object
        solver.pool.failRequest(k);
        x = b;
        EXPECT_EQ(road(solver, x), ldl::noMemory) << k;
        if (solver.symbolic != nullptr) {
            EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
        }
    }
    solver.pool.failRequest(-1);
    x = b;
    EXPECT_EQ(road(solver, x), ldl::refined);
}

}  // namespace
