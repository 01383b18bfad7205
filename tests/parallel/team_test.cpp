// Teams under stress: services that fail, breaks at any moment, memory that runs out, factors freed
// under a running factorisation, and many matrices one after the other.
#include "sparse/numeric/tiles/team.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

constexpr EngineCase teams[] = {
    {"static2", 1, 2, 16}, {"static5", 1, 5, 16}, {"dynamic2", 0, 2, 16}, {"dynamic5", 0, 5, 16}};

TestMatrix grid(std::mt19937& random, std::int32_t width, Kind kind) {
    return withValues(random, gridPattern(width, width), kind);
}

class Teams : public testing::TestWithParam<EngineCase> {
protected:
    /// Factors and solves; the error is that of the solution.
    void expectWorks(LdlSolver& solver, const TestMatrix& matrix) {
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        const std::vector<double> b = randomVector(random_, matrix.n());
        std::vector<double> x = b;
        EXPECT_EQ(solver.solve(matrix, x), ldl::refined);
        EXPECT_LT(backwardError(matrix, x, b), 1e-15);
    }

    ThreadedHost host_;
    std::mt19937 random_{31};
};

TEST_P(Teams, EveryRefusedThreadOrEventIsReportedAndHarmless) {
    const TestMatrix matrix = grid(random_, 20, Kind::quasiDefinite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    host_.fail({});
    expectWorks(solver, matrix);
    const std::int64_t count = host_.numThreads();
    ASSERT_EQ(count, 2 * (GetParam().numThreads - 1));  // two phases
    ASSERT_EQ(host_.numEvents(), count);
    for (std::int64_t k = 0; k < count; ++k)
        for (const bool event : {false, true}) {
            ServiceFaults faults;
            (event ? faults.event : faults.thread) = k;
            host_.fail(faults);
            EXPECT_EQ(solver.factor(matrix), ldl::noMemory) << k << event;
            EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
            host_.fail({});
            expectWorks(solver, matrix);
        }
}

TEST_P(Teams, ARefusedLockEndsTheAnalysis) {
    const TestMatrix matrix = grid(random_, 14, Kind::definite);
    LdlSolver solver;
    force(solver, GetParam());
    host_.fail({});
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    const std::int64_t count = host_.numMutexes();
    EXPECT_EQ(count > 0, GetParam().schedulingMode == 0);
    for (std::int64_t k = 0; k < count; ++k) {
        ServiceFaults faults;
        faults.mutex = k;
        host_.fail(faults);
        force(solver, GetParam());
        EXPECT_EQ(solver.analyse(matrix), ldl::noMemory);
    }
    host_.fail({});
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    expectWorks(solver, matrix);
}

TEST_P(Teams, AFailingWaitServiceLeavesNoThreadBehind) {
    const TestMatrix matrix = grid(random_, 20, Kind::definite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    HostContext* const context = ovrelin::currentContext();
    const auto waitAll = context->waitAll;
    context->waitAll = [](HostContext*, const WaitList*) { return std::int32_t{1}; };
    for (int trial = 0; trial < 10; ++trial) EXPECT_EQ(solver.factor(matrix), ldl::mismatch);
    context->waitAll = waitAll;
    expectWorks(solver, matrix);
}

TEST_P(Teams, WithoutAContextThereIsNoTeam) {
    const TestMatrix matrix = grid(random_, 8, Kind::definite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    HostServices* const table = ovrelin::hostServices;
    ovrelin::hostServices = nullptr;
    EXPECT_EQ(solver.factor(matrix), ldl::mismatch);
    ovrelin::hostServices = table;
    expectWorks(solver, matrix);
}

TEST_P(Teams, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    const TestMatrix matrix = grid(random_, 9, Kind::definite);
    LdlSolver solver;
    force(solver, GetParam());
    solver.pool.failRequest(-1);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    const std::int64_t count = solver.pool.numRequests();
    for (std::int64_t k = 0; k < count; ++k) {
        solver.freeFactors();
        ASSERT_EQ(solver.pool.numLive(), 1);  // the object
        solver.pool.failRequest(k);
        EXPECT_EQ(solver.analyse(matrix), ldl::noMemory) << k;
    }
    solver.pool.failRequest(-1);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    const std::int64_t before = solver.pool.numRequests();
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    EXPECT_EQ(solver.pool.numRequests(), before);  // the numeric stage allocates nothing
}

TEST_P(Teams, TheTaskPoolGrowsOrReportsThatItCannot) {
    if (GetParam().schedulingMode != 0) GTEST_SKIP() << "no tasks";
    const TestMatrix matrix = grid(random_, 24, Kind::definite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    ovrelin::TaskPool& tasks = solver.numeric->team.taskPool;
    const auto shrink = [&] {
        ASSERT_TRUE(isOk(tasks.task.make(solver.pool.get(), 1)));
        ASSERT_TRUE(isOk(tasks.link.make(solver.pool.get(), 1)));
        solver.pool.failRequest(-1);
    };
    shrink();
    expectWorks(solver, matrix);
    EXPECT_GE(tasks.link.size(), 8U);
    for (std::int64_t k = 0; k < 6; ++k) {
        shrink();
        solver.pool.failRequest(k);
        EXPECT_EQ(solver.factor(matrix), ldl::noMemory) << k;
        solver.pool.failRequest(-1);
        expectWorks(solver, matrix);
    }
}

TEST_P(Teams, AStopFlagAtAnyMomentEndsAllOfThem) {
    const TestMatrix matrix = grid(random_, 45, Kind::quasiDefinite);
    LdlSolver solver;
    force(solver, GetParam());
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    HostContext* const own = ovrelin::currentContext();
    int stopped = 0;
    for (int trial = 0; trial < 60; ++trial) {
        std::atomic<bool> started{false};
        std::thread breaker([&, delay = random_() % 60000] {
            while (!started) std::this_thread::yield();
            for (std::atomic<unsigned> i{0}; i < delay;) ++i;
            // Every thread of the host, or only the one that called.
            if (trial % 2 == 0)
                host_.raiseStop();
            else
                ov::Host::raiseStop(own);
        });
        started = true;
        const int code = solver.factor(matrix);
        breaker.join();
        host_.clearStop();
        ov::Host::clearStop(own);
        EXPECT_TRUE(code == ldl::ok || code == ldl::stopped) << code;
        EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
        stopped += code == ldl::stopped ? 1 : 0;
        if (trial % 10 == 0) expectWorks(solver, matrix);
    }
    EXPECT_GT(stopped, 0);
    host_.raiseStop();
    EXPECT_EQ(solver.factor(matrix), ldl::stopped);
    host_.clearStop();
    expectWorks(solver, matrix);
}

TEST_P(Teams, FreeingTheFactorsEndsARunningFactorisation) {
    const TestMatrix matrix = grid(random_, 50, Kind::definite);
    for (int trial = 0; trial < 8; ++trial) {
        LdlSolver solver;
        force(solver, GetParam());
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        std::atomic<int> code{-1};
        std::atomic<bool> started{false};
        ovrelin::LdlSymbolic* const symbolic = solver.symbolic;
        std::thread runner([&, numeric = solver.numeric] {
            started = true;
            int last = ldl::ok;
            // Again and again, so that the other thread meets one of them.
            for (int run = 0; run < 3 && last == ldl::ok; ++run)
                last = ovrelin::sparseLdlNumeric(0, matrix.n(), matrix.begin(), matrix.row(),
                                                 matrix.value.data(), solver.handle, symbolic,
                                                 numeric);
            code = last;
        });
        while (!started ||
               __atomic_load_n(&symbolic->state, __ATOMIC_ACQUIRE) != ldl::stateNumeric) {
            if (code != -1) break;
            std::this_thread::yield();
        }
        if (code == -1) {
            // The factors must not go between two runs: the runner stops at the first break.
            host_.raiseStop();
            ovrelin::endRunningTeam(*solver.symbolic, *solver.numeric);
        }
        runner.join();
        host_.clearStop();
        EXPECT_TRUE(code == ldl::ok || code == ldl::stopped) << code;
        solver.freeFactors();
    }
}

TEST_P(Teams, HundredsOfMatrices) {
    for (int trial = 0; trial < 150; ++trial) {
        SCOPED_TRACE(trial);
        const Kind kind = trial % 2 == 0 ? Kind::quasiDefinite : Kind::definite;
        const TestPattern pattern = trial % 3 == 0
                                        ? gridPattern(5 + trial % 17, 4 + trial % 13)
                                        : randomPattern(random_, trial % 10 == 0 ? 150 : 60);
        const TestMatrix matrix = withValues(random_, pattern, kind);
        LdlSolver solver;
        EngineCase engine = GetParam();
        engine.numThreads = 2 + trial % 7;
        engine.tileSize = 8 + trial % 40;
        force(solver, engine);
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        ASSERT_EQ(solver.factor(matrix), ldl::ok);
        LdlSolver sequential;
        ASSERT_EQ(sequential.analyse(matrix), ldl::ok);
        ASSERT_EQ(sequential.factor(matrix), ldl::ok);
        EXPECT_EQ(solver.symbolic->numPerturbed > 0, sequential.symbolic->numPerturbed > 0);
        if (solver.symbolic->numPerturbed > 0) continue;  // singular
        const std::vector<double> b = randomVector(random_, matrix.n());
        std::vector<double> x = b;
        (void)solver.solve(matrix, x);
        EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Teams, testing::ValuesIn(teams),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
