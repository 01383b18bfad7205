// Every engine against LAPACK, against the sequential one, and against itself.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

/// Smallest over largest absolute eigenvalue.
double reciprocalCondition(const std::vector<double>& eigenvalues) {
    double low = 1e300, high = 0;
    for (const double value : eigenvalues) {
        low = std::min(low, std::fabs(value));
        high = std::max(high, std::fabs(value));
    }
    return high > 0 ? low / high : 0;
}

std::vector<TestPattern> patterns(std::mt19937& random) {
    std::vector<TestPattern> all = {
        densePattern(1),        densePattern(7),       densePattern(31),   densePattern(90),
        tridiagonalPattern(50), arrowPattern(60),      gridPattern(12, 9), gridPattern(17, 17),
        diagonalPattern(30),    randomTree(random, 90)};
    for (int trial = 0; trial < 25; ++trial)
        all.push_back(randomPattern(random, trial % 5 == 0 ? 130 : 50));
    return all;
}

class Engines : public testing::TestWithParam<EngineCase> {
protected:
    ThreadedHost host_;
};

void checkAgainstLapack(std::mt19937& random, const TestMatrix& matrix, const EngineCase& engine,
                        int* tested) {
    const double condition = reciprocalCondition(denseEigenvalues(matrix));
    if (condition < 1e-8) return;
    LdlSolver solver;
    force(solver, engine);
    ASSERT_EQ(solver.set(ldl::optPivotStatistics, 1), ldl::ok);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    const std::vector<double> b = randomVector(random, matrix.n());
    std::vector<double> x = b;
    const int code = solver.solve(matrix, x);
    EXPECT_TRUE(code == ldl::refined || code == ldl::notRefined) << code;
    EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    ++*tested;
    if (solver.symbolic->numPerturbed > 0) return;
    std::int32_t positive = 0;
    for (const double value : denseEigenvalues(matrix)) positive += value > 0 ? 1 : 0;
    EXPECT_EQ(solver.handle->numPositivePivots, positive);
    EXPECT_EQ(solver.handle->numNegativePivots, matrix.n() - positive);
}

TEST_P(Engines, SolveAndCountEigenvaluesAsLapackDoes) {
    std::mt19937 random(11);
    int tested = 0;
    for (const TestPattern& pattern : patterns(random))
        for (const Kind kind : {Kind::definite, Kind::quasiDefinite, Kind::indefinite, Kind::saddle,
                                Kind::badlyScaled}) {
            SCOPED_TRACE(testing::Message() << pattern.name << ' ' << static_cast<int>(kind));
            checkAgainstLapack(random, withValues(random, pattern, kind), GetParam(), &tested);
            if (HasFatalFailure()) return;
        }
    EXPECT_GT(tested, 60);
}

TEST_P(Engines, GiveTheSameBitsInEveryRun) {
    if (GetParam().schedulingMode == 0 && GetParam().numThreads > 1)
        GTEST_SKIP() << "updates come in the order in which they are ready";
    std::mt19937 random(12);
    for (const Kind kind : {Kind::definite, Kind::saddle, Kind::indefinite}) {
        const TestMatrix matrix = withValues(random, gridPattern(26, 24), kind);
        LdlSolver first;
        force(first, GetParam());
        ASSERT_EQ(first.analyse(matrix), ldl::ok);
        ASSERT_EQ(first.factor(matrix), ldl::ok);
        const std::vector<double> factor(first.symbolic->factorValues.begin(),
                                         first.symbolic->factorValues.end());
        const std::vector<double> b = randomVector(random, matrix.n());
        std::vector<double> x = b;
        (void)first.solve(matrix, x);
        for (int trial = 0; trial < 6; ++trial) {
            LdlSolver again;
            force(again, GetParam());
            ASSERT_EQ(again.analyse(matrix), ldl::ok);
            for (int repeat = 0; repeat < 2; ++repeat) ASSERT_EQ(again.factor(matrix), ldl::ok);
            std::vector<double> y = b;
            (void)again.solve(matrix, y);
            ASSERT_EQ(std::memcmp(x.data(), y.data(), x.size() * sizeof(double)), 0);
        }
    }
}

TEST_P(Engines, ReplaceASmallPivotAndSayHowMany) {
    std::mt19937 random(13);
    TestMatrix matrix = withValues(random, gridPattern(15, 14), Kind::definite);
    for (std::int32_t j = 0; j < matrix.n(); ++j)
        for (std::int32_t k = matrix.begin()[j]; k < matrix.begin()[j + 1]; ++k)
            if (j % 70 == 3 || matrix.row()[k] % 70 == 3)
                matrix.value[static_cast<std::size_t>(k)] = 0;
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    for (int repeat = 0; repeat < 3; ++repeat) {
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        EXPECT_EQ(solver.symbolic->numPerturbed, 3);
    }
}

TEST_P(Engines, AnotherPatternIsAMismatchAndHarmless) {
    std::mt19937 random(14);
    const TestMatrix analysed = withValues(random, gridPattern(13, 13), Kind::quasiDefinite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(analysed), ldl::ok);
    EXPECT_EQ(solver.factor(withValues(random, gridPattern(12, 12), Kind::definite)),
              ldl::mismatch);
    TestPattern moved = analysed.pattern;
    for (std::int32_t& row : moved.rowIndex) row = (row * 5 + 1) % 169;
    (void)solver.factor({moved, analysed.value});
    EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    ASSERT_EQ(solver.factor(analysed), ldl::ok);
    const std::vector<double> b = randomVector(random, analysed.n());
    std::vector<double> x = b;
    (void)solver.solve(analysed, x);
    EXPECT_LT(backwardError(analysed, x, b), 1e-14);
}

INSTANTIATE_TEST_SUITE_P(All, Engines, testing::ValuesIn(engineCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
