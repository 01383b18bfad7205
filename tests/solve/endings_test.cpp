// How solves end: return values, what the caller's arrays hold then, and what is said on the way.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/models.hpp"
#include "support/quiet_host.hpp"

namespace {

/// Collects the ids of the messages in order.
struct Listener {
    std::vector<std::uint32_t> ids;
    ov::HostOptions options() {
        ov::HostOptions out = ovtest::quietHost();
        out.output = [this](const ov::Line& line) {
            if (line.messageId != 0) ids.push_back(line.messageId);
        };
        return out;
    }
    [[nodiscard]] std::ptrdiff_t count(std::uint32_t id) const {
        return std::count(ids.begin(), ids.end(), id);
    }
};

/// x1 + x2 >= 3 with x <= 1: no point.
ov::Problem infeasible() {
    ov::Problem p;
    p.obj = {1, 1};
    p.quadDiag = {1, 0};
    p.matrix = {{0, 1, 2}, {0, 0}, {1, 1}};
    p.rowSense = {'G'};
    p.rhs = {3};
    p.lower = {0, 0};
    p.upper = {1, 1};
    return p;
}

/// min -x1 - x2 over x1 - x2 >= -1, x >= 0: no end.
ov::Problem unbounded() {
    ov::Problem p;
    p.obj = {-1, -1};
    p.quadDiag = {0, 0};
    p.matrix = {{0, 1, 2}, {0, 0}, {1, -1}};
    p.rowSense = {'G'};
    p.rhs = {-1};
    p.lower = {0, 0};
    p.upper = {1e20, 1e20};
    return p;
}

TEST(Endings, InfeasibleAndUnboundedModelsAreNotCalledSolved) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    const ov::Result none = solver.solve(infeasible());
    EXPECT_TRUE(none.returnValue == OVRELIN_PRIMAL_INFEASIBLE ||
                none.returnValue == OVRELIN_INFEASIBLE_OR_UNBOUNDED)
        << none.returnValue;
    const ov::Result endless = solver.solve(unbounded());
    EXPECT_TRUE(endless.returnValue == OVRELIN_DUAL_INFEASIBLE ||
                endless.returnValue == OVRELIN_INFEASIBLE_OR_UNBOUNDED)
        << endless.returnValue;
    for (const double x : none.x) EXPECT_EQ(x, 0);
    EXPECT_TRUE(solver.solve(ovtest::smallQuadratic()).isSolved());
}

TEST(Endings, IterationLimitKeepsItsPointAndCountsThePassesShown) {
    Listener listener;
    ov::Host host(listener.options());
    ov::Solver solver(host);
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

TEST(Endings, PrintFrequencyThinsTheIterationLog) {
    Listener listener;
    ov::Host host(listener.options());
    ov::Solver solver(host);
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

// Multiplying rows by -1 must not change the solution.
TEST(Endings, RowsWrittenTheOtherWayRoundHaveTheSameAnswer) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    solver.options().optimalityTol = solver.options().primalTol = solver.options().dualTol = 1e-9;
    const ov::Problem base = ovtest::smallQuadratic();
    const ov::Result expected = solver.solve(base);
    ASSERT_TRUE(expected.isSolved());

    ov::Problem flipped = base;  // 'G' rows written as 'L' and the other way round
    for (std::size_t k = 0; k < flipped.matrix.index.size(); ++k)
        if (flipped.matrix.index[k] < 2) flipped.matrix.value[k] = -flipped.matrix.value[k];
    std::swap(flipped.rowSense[0], flipped.rowSense[1]);
    flipped.rhs[0] = -flipped.rhs[0];
    flipped.rhs[1] = -flipped.rhs[1];
    const ov::Result mirrored = solver.solve(flipped);
    ASSERT_TRUE(mirrored.isSolved());
    EXPECT_NEAR(mirrored.objective, expected.objective, 1e-8);
    for (std::size_t j = 0; j < base.obj.size(); ++j)
        EXPECT_NEAR(mirrored.x[j], expected.x[j], 1e-6);
    EXPECT_NEAR(mirrored.dual[0], -expected.dual[0], 1e-6);
    EXPECT_NEAR(mirrored.dual[1], -expected.dual[1], 1e-6);
}

// x3 ends at its bound, the others where the slopes x1 - 1 and 2 x2 - 2 meet.
TEST(SingleConstraint, IsSolvedThroughTheFace) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    ov::SeparableProblem p;
    p.quadDiag = {1, 2, 4};
    p.linear = {-1, -2, -4};
    p.lower = {-ov::infinity, -1, -1e300};
    p.upper = {1e20, 5, 0.25};
    p.rhs = 2;
    p.primalTol = p.dualTol = p.gapTol = 1e-10;
    const ov::SeparableResult result = solver.solveSingleConstraintQp(p);
    ASSERT_EQ(result.returnValue, OVRELIN_SINGLE_SOLVED);
    const double x[] = {5.0 / 6, 11.0 / 12, 0.25};
    double objective = 0;
    for (std::size_t j = 0; j < 3; ++j) {
        EXPECT_NEAR(result.x[j], x[j], 1e-8);
        objective += (0.5 * p.quadDiag[j] * x[j] + p.linear[j]) * x[j];
    }
    EXPECT_NEAR(result.objective, objective, 1e-8);
    EXPECT_LE(std::max({result.primalResidual, result.dualResidual, result.gap}), 1e-10);
    p.maxIterations = result.iterations - 1;
    EXPECT_EQ(solver.solveSingleConstraintQp(p).returnValue, OVRELIN_SINGLE_ITERATION_LIMIT);
    p.primalTol = p.dualTol = p.gapTol = 1e-3;
    EXPECT_EQ(solver.solveSingleConstraintQp(p).returnValue, OVRELIN_SINGLE_SOLVED);
    p.rhs = -1;
    p.lower = {0, 0, 0};
    EXPECT_EQ(solver.solveSingleConstraintQp(p).returnValue, OVRELIN_SINGLE_INFEASIBLE);
}

}  // namespace
