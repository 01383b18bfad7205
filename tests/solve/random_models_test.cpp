// Small random models of every kind through the loaded module, against enumeration of active sets.

#include <gtest/gtest.h>

#include <cmath>

#include "host/ov.hpp"
#include "support/ov_problem.hpp"
#include "support/quiet_host.hpp"
#include "support/small_problem.hpp"

namespace {

using ovtest::Shape;
using ovtest::Verdict;

struct Kind {
    const char* name;
    Shape shape;
    int count;
};

class RandomModels : public testing::TestWithParam<Kind> {};

// Objective, feasibility and duals of the returned point, in the caller's own problem.
TEST_P(RandomModels, AgreeWithEnumeration) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    solver.options().optimalityTol = 1e-9;
    solver.options().primalTol = 1e-9;
    solver.options().dualTol = 1e-9;
    int solved = 0;
    for (int seed = 1; seed <= GetParam().count; ++seed) {
        std::mt19937_64 random(static_cast<std::uint64_t>(seed));
        const ovtest::SmallProblem small = ovtest::drawProblem(random, GetParam().shape);
        const ovtest::Reference reference = ovtest::solveByEnumeration(small);
        const ov::Result result = solver.solve(ovtest::toProblem(small));
        if (reference.verdict != Verdict::optimal) {
            EXPECT_FALSE(result.isSolved()) << "seed " << seed;
            continue;
        }
        ++solved;
        EXPECT_TRUE(result.isSolved())
            << "seed " << seed << ": return value " << result.returnValue;
        if (!result.isSolved()) continue;
        EXPECT_NEAR(result.objective, reference.objective,
                    1e-6 * (1 + std::fabs(reference.objective)))
            << "seed " << seed;
        EXPECT_LT(ovtest::kktViolation(small, result.x, result.dual), 1e-4) << "seed " << seed;
        const std::vector<double> activity = small.activity(result.x);
        for (std::size_t i = 0; i < activity.size(); ++i)
            EXPECT_NEAR(result.activity[i], activity[i], 1e-9 * (1 + std::fabs(activity[i])));
    }
    EXPECT_GT(solved, GetParam().count / 3);
}

Shape linear() {
    Shape shape;
    shape.quadratic = false;
    shape.freeColumns = false;
    return shape;
}

Shape diagonal() {
    Shape shape;
    shape.offDiagonals = false;
    return shape;
}

Shape inequalitiesOnly() {
    Shape shape;
    shape.equalities = false;
    shape.freeRows = true;
    return shape;
}

INSTANTIATE_TEST_SUITE_P(Kinds, RandomModels,
                         testing::Values(Kind{"Quadratic", Shape{}, 300},
                                         Kind{"DiagonalQ", diagonal(), 150},
                                         Kind{"Linear", linear(), 200},
                                         Kind{"WithFreeRows", inequalitiesOnly(), 150}),
                         [](const auto& drawn) { return std::string(drawn.param.name); });

}  // namespace
