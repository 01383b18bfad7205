// What goes wrong from outside must end a solve cleanly at every point: memory refused, the
// caller's break, the stop flag, the time limit. Afterwards the same instance solves the model.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>

#include "bent_models.hpp"
#include "support/models.hpp"
#include "support/quiet_host.hpp"

namespace {

struct Named {
    const char* name;
    ov::Problem (*make)();
    int returnValue = OVRELIN_OPTIMAL;
    int numLate = 14;  // polls at the end with nothing behind them that a flag could stop
};

class Sweep : public testing::TestWithParam<Named> {
protected:
    ov::Host host{ovtest::quietHost()};
    ov::Solver solver{host};
    ov::Problem problem = GetParam().make();
};

TEST_P(Sweep, EveryRefusedAllocationEndsAsOutOfMemory) {
    const double objective = solver.solve(problem).objective;
    const ov::MemoryCounters before = host.memory();
    ASSERT_EQ(solver.solve(problem).returnValue, GetParam().returnValue);
    const std::uint64_t count = host.memory().allocations - before.allocations;
    ASSERT_GT(count, 10u);
    EXPECT_EQ(host.memory().liveBlocks, before.liveBlocks);
    for (std::uint64_t k = 1; k <= count; ++k) {
        host.failAllocation(k);
        EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_OUT_OF_MEMORY) << "allocation " << k;
        host.failAllocation(0);
        EXPECT_EQ(host.memory().liveBlocks, before.liveBlocks) << "allocation " << k;
        EXPECT_EQ(host.memory().livePools, before.livePools) << "allocation " << k;
        const ov::Result again = solver.solve(problem);
        ASSERT_EQ(again.returnValue, GetParam().returnValue) << "after allocation " << k;
        EXPECT_EQ(again.objective, objective);
    }
    EXPECT_EQ(host.memory().leakedBlocks, 0u);
    EXPECT_EQ(host.memory().misuses, 0u);
}

TEST_P(Sweep, EveryBreakAndEveryRaisedFlagInterrupts) {
    int polls = 0;
    solver.setBreak([&] { return ++polls, false; });
    ASSERT_EQ(solver.solve(problem).returnValue, GetParam().returnValue);
    const int count = polls;
    const std::uint64_t live = host.memory().liveBlocks;
    for (int k = 1; k <= count; k += 1 + count / 300) {
        for (const bool byFlag : {false, true}) {
            int seen = 0;
            solver.setBreak([&] {
                if (++seen != k) return false;
                if (byFlag) host.raiseStop();
                return !byFlag;
            });
            const int value = solver.solve(problem).returnValue;
            host.clearStop();
            const bool late = byFlag && k > count - GetParam().numLate;
            EXPECT_TRUE(value == OVRELIN_INTERRUPTED || (late && value == GetParam().returnValue))
                << k << " of " << count << ": " << value;
            if (!byFlag) {
                EXPECT_EQ(seen, k);
            }
            EXPECT_EQ(host.memory().liveBlocks, live);
        }
    }
    solver.setBreak({});
    EXPECT_EQ(solver.solve(problem).returnValue, GetParam().returnValue);
}

/// Near the edge, so that the search for the eigenvalue is long.
template <ov::Problem (*make)(double)>
Named bent(const char* name) {
    return {name, [] { return make(1.9997); }, OVRELIN_NOT_CONVEX, 1};
}

INSTANTIATE_TEST_SUITE_P(Models, Sweep,
                         testing::Values(Named{"Quadratic", ovtest::smallQuadratic},
                                         Named{"Separable", ovtest::smallSeparable},
                                         Named{"Reducible", ovtest::reducibleQuadratic},
                                         Named{"Grid", [] { return ovtest::gridObstacle(6, 1); }},
                                         bent<ovtest::withInequality>("BentInequality"),
                                         bent<ovtest::freeEquations>("BentEquations"),
                                         bent<ovtest::longChain>("BentChain")),
                         [](const auto& drawn) { return std::string(drawn.param.name); });

// The first round waits for the flag at a poll, so that it is raised in mid-solve on any machine.
TEST(StopFlag, RaisedFromAnotherThreadLeavesAUsableInstance) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    const ov::Problem problem = ovtest::gridObstacle(60, 2);
    std::atomic<bool> started = false, raised = false;
    for (int delay = 0; delay < 10; ++delay) {
        started = raised = false;
        solver.setBreak([&] {
            started = true;
            while (delay == 0 && !raised) std::this_thread::yield();
            return false;
        });
        std::thread other([&] {
            while (!started) std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(2 * delay));
            host.raiseStop();
            raised = true;
        });
        const ov::Result result = solver.solve(problem);
        other.join();
        host.clearStop();
        EXPECT_TRUE(result.returnValue == OVRELIN_INTERRUPTED || (delay > 0 && result.isSolved()))
            << result.returnValue;
    }
    solver.setBreak({});
    EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_OPTIMAL);
}

// The limit is far beyond what the solve takes, and half of the way through it is used up: CPU time
// spent is also time passed.
TEST(TimeLimit, EndsTheSolveAndKeepsItsPoint) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    const ov::Problem problem = ovtest::gridObstacle(30, 3);
    for (const int realTime : {0, 1}) {
        solver.options().realTime = realTime;
        solver.options().timeLimit = OVRELIN_MAX_DOUBLE;
        int polls = 0;
        solver.setBreak([&] { return ++polls, false; });
        const ov::Result full = solver.solve(problem);
        ASSERT_EQ(full.returnValue, OVRELIN_OPTIMAL);
        const double limit = 0.1 + 3 * full.solveSeconds;
        solver.options().timeLimit = limit;
        int seen = 0;
        solver.setBreak([&] {
            const std::clock_t begin = std::clock();
            while (seen == polls / 2 &&
                   static_cast<double>(std::clock() - begin) < limit * CLOCKS_PER_SEC) {
            }
            return ++seen, false;
        });
        const ov::Result cut = solver.solve(problem);
        EXPECT_EQ(cut.returnValue, OVRELIN_TIME_LIMIT);
        EXPECT_LT(cut.iterations, full.iterations);
        double norm = 0;
        for (const double x : cut.x) norm += x * x;
        EXPECT_GT(norm, 0);
        solver.setBreak({});
        solver.options().timeLimit = 0;
        EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_TIME_LIMIT);
    }
}

// One after the other and side by side, on one host.
TEST(Determinism, TheSameInputGivesTheSameBits) {
    const ov::Problem problem = ovtest::gridObstacle(25, 4);
    ov::Host host(ovtest::quietHost());
    const ov::Result first = ov::Solver(host).solve(problem);
    ASSERT_TRUE(first.isSolved());
    const auto solveAgain = [&] {
        ov::Solver solver(host);
        for (int run = 0; run < 4; ++run) {
            const ov::Result result = solver.solve(problem);
            EXPECT_EQ(result.iterations, first.iterations);
            EXPECT_EQ(result.x, first.x);
            EXPECT_EQ(result.dual, first.dual);
        }
    };
    solveAgain();
    std::thread other(solveAgain);
    solveAgain();
    other.join();
}

}  // namespace
