// How solves end: return values, what the caller's arrays hold then, and what is said on the way.

#include <gtest/gtest.h>

#include <algorithm>

#include "support/models.hpp"
#include "support/quiet_host.hpp"

namespace {

struct Endings : testing::Test {
    ovtest::Listener listener;
    ov::Host host{listener.options()};
    ov::Solver solver{host};
};

TEST_F(Endings, IterationLimitKeepsItsPointAndCountsThePassesShown) {
    const ov::Problem problem = ovtest::gridObstacle(10, 5);
    const std::int32_t full = solver.solve(problem).iterations;
    ASSERT_GT(full, 4);
    for (std::int32_t limit = 0; limit < full; ++limit) {
        solver.options().iterationLimit = limit;
        listener.ids.clear();
        const ov::Result result = solver.solve(problem);
        EXPECT_EQ(result.returnValue, OVRELIN_ITERATION_LIMIT);
        EXPECT_EQ(result.iterations, limit);
        EXPECT_EQ(listener.count(OVRELIN_MSG_ITERATION), limit + 1);
        EXPECT_EQ(listener.count(OVRELIN_MSG_ITERATION_LIMIT), 1);
        EXPECT_NE(std::count_if(result.x.begin(), result.x.end(), [](double x) { return x != 0; }),
                  0);
    }
}

TEST_F(Endings, PrintFrequencyThinsTheIterationLog) {
    const ov::Problem problem = ovtest::gridObstacle(10, 6);
    const std::int32_t passes = solver.solve(problem).iterations;
    for (const int frequency : {-1, 0, 1, 2, 5, 1000}) {
        solver.options().printFrequency = frequency;
        listener.ids.clear();
        ASSERT_TRUE(solver.solve(problem).isSolved());
        const std::int32_t expected =
            frequency < 1 ? 0 : passes / frequency + 1 + (passes % frequency != 0 ? 1 : 0);
        EXPECT_EQ(listener.count(OVRELIN_MSG_ITERATION), expected) << frequency;
        EXPECT_EQ(listener.count(OVRELIN_MSG_HEADING_FIRST), frequency < 1 ? 0 : 1);
        EXPECT_EQ(listener.count(OVRELIN_MSG_OPTIMAL), 1);
        EXPECT_EQ(listener.ids.back(), OVRELIN_MSG_SOLVE_TIME);
    }
}

}  // namespace
