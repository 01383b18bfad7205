// The sparse solver against LAPACK on thousands of small random matrices.
#include <gtest/gtest.h>

#include <cmath>

#include "support/ldl_solver.hpp"

namespace {

using namespace ovtest;
using ovrelin::LdlSymbolic;
namespace ldl = ovrelin::ldl;

double largest(const std::vector<double>& x) {
    double size = 0;
    for (const double entry : x) size = std::max(size, std::fabs(entry));
    return size;
}

/// Smallest over largest absolute eigenvalue.
double reciprocalCondition(const std::vector<double>& eigenvalues) {
    double low = 1e300, high = 0;
    for (const double value : eigenvalues) {
        low = std::min(low, std::fabs(value));
        high = std::max(high, std::fabs(value));
    }
    return high > 0 ? low / high : 0;
}

struct Outcome {
    int tested = 0;
    int wrongInertia = 0;
};

/// Backward error below 1e-14 wherever the matrix is not numerically singular; inertia as the
/// eigenvalues tell wherever no pivot was replaced; a forward error like LAPACK's.
void checkMatrix(std::mt19937& random, const TestMatrix& matrix, Outcome& outcome) {
    LdlSolver solver;
    ASSERT_EQ(solver.set(ldl::optPivotStatistics, 1), ldl::ok);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    const std::vector<double> b = randomVector(random, matrix.n());
    std::vector<double> x = b;
    const int code = solver.solve(matrix, x);
    EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    const std::vector<double> eigenvalues = denseEigenvalues(matrix);
    const double condition = reciprocalCondition(eigenvalues);
    if (condition < 1e-10) return;
    ++outcome.tested;
    EXPECT_TRUE(code == ldl::refined || code == ldl::notRefined) << code;
    EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    const std::vector<double> reference = denseSolve(matrix, b);
    for (std::size_t i = 0; i < x.size(); ++i)
        ASSERT_NEAR(x[i], reference[i], 1e-12 / condition * (1 + largest(reference)));
    if (solver.symbolic->numPerturbed > 0) return;
    std::int32_t positive = 0;
    for (const double value : eigenvalues) positive += value > 0 ? 1 : 0;
    EXPECT_EQ(solver.handle->numPositivePivots, positive);
    EXPECT_EQ(solver.handle->numNegativePivots, matrix.n() - positive);
}

struct Case {
    Kind kind;
    const char* name;
    int atLeast;  // matrices that are not numerically singular
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

class AgainstLapack : public testing::TestWithParam<Case> {};

TEST_P(AgainstLapack, RandomPatterns) {
    std::mt19937 random(20 + static_cast<unsigned>(GetParam().kind));
    Outcome outcome;
    for (int trial = 0; trial < 600; ++trial) {
        SCOPED_TRACE(trial);
        const TestPattern pattern = randomPattern(random, trial % 10 == 0 ? 120 : 24);
        checkMatrix(random, withValues(random, pattern, GetParam().kind), outcome);
        if (HasFatalFailure()) return;
    }
    EXPECT_GE(outcome.tested, GetParam().atLeast);
}

TEST_P(AgainstLapack, ShapesThatStressTheSupernodes) {
    std::mt19937 random(70 + static_cast<unsigned>(GetParam().kind));
    Outcome outcome;
    const std::vector<TestPattern> patterns = {densePattern(1),
                                               densePattern(2),
                                               densePattern(5),
                                               densePattern(33),
                                               densePattern(97),
                                               densePattern(130),
                                               densePattern(200),
                                               tridiagonalPattern(60),
                                               arrowPattern(80),
                                               gridPattern(12, 9),
                                               gridPattern(20, 20),
                                               diagonalPattern(30),
                                               randomTree(random, 100),
                                               cliquePairPattern(120, 30, 90),
                                               cliquePairPattern(200, 60, 70),
                                               starOfCliquesPattern(12, 3, 40),
                                               starOfCliquesPattern(6, 20, 80),
                                               starOfCliquesPattern(40, 1, 25)};
    for (const TestPattern& pattern : patterns) {
        SCOPED_TRACE(pattern.name);
        checkMatrix(random, withValues(random, pattern, GetParam().kind), outcome);
        if (HasFatalFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, AgainstLapack,
                         testing::Values(Case{Kind::indefinite, "indefinite", 100},
                                         Case{Kind::quasiDefinite, "quasiDefinite", 100},
                                         Case{Kind::saddle, "saddle", 30},
                                         Case{Kind::badlyScaled, "badlyScaled", 50},
                                         Case{Kind::singular, "singular", 0},
                                         Case{Kind::definite, "definite", 100}),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
