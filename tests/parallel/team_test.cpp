// Teams under stress: services that fail, breaks at any moment, memory that runs out, and factors
// freed under a running factorisation.
#include <atomic>
#include <thread>

#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

class Teams : public testing::TestWithParam<EngineCase> {
protected:
    void analyse(std::int32_t width, Kind kind) { analyse(gridPattern(width, width), kind); }
    void analyse(const TestPattern& pattern, Kind kind) {
        matrix_ = withValues(random_, pattern, kind);
        force(solver_, GetParam());
        ASSERT_EQ(solver_.analyse(matrix_), ldl::ok);
    }
    void expectWorks() {
        ASSERT_EQ(solver_.factor(matrix_), ldl::ok);
        EXPECT_LT(solver_.solveError(matrix_), 1e-15);
    }
    [[nodiscard]] bool isDynamic() const { return GetParam().schedulingMode == 0; }

    ThreadedHost host_;
    std::mt19937 random_{31};
    TestMatrix matrix_;
    LdlSolver solver_;
};

TEST_P(Teams, EveryRefusedThreadOrEventIsReportedAndHarmless) {
    analyse(20, Kind::quasiDefinite);
    host_.failNone();
    expectWorks();
    const std::int64_t count = host_.calls(ThreadedHost::thread);
    // Two phases; the calling thread is a member.
    ASSERT_EQ(count, 2 * std::max(0, GetParam().numThreads - 1));
    ASSERT_EQ(host_.calls(ThreadedHost::event), count);
    for (std::int64_t k = 0; k < count; ++k)
        for (const auto service : {ThreadedHost::thread, ThreadedHost::event}) {
            host_.fail(service, k);
            EXPECT_EQ(solver_.factor(matrix_), ldl::noMemory) << service << ' ' << k;
            host_.failNone();
            expectWorks();
        }
}

TEST_P(Teams, ARefusedLockEndsTheAnalysis) {
    host_.failNone();
    analyse(14, Kind::definite);
    const std::int64_t count = host_.calls(ThreadedHost::mutex);
    EXPECT_EQ(count > 0, isDynamic());
    for (std::int64_t k = 0; k < count; ++k) {
        host_.fail(ThreadedHost::mutex, k);
        force(solver_, GetParam());
        EXPECT_EQ(solver_.analyse(matrix_), ldl::noMemory) << k;
    }
    host_.failNone();
    analyse(14, Kind::definite);
    expectWorks();
}

TEST_P(Teams, AFailingWaitOrAMissingContextLeavesNoThreadBehind) {
    if (GetParam().numThreads == 0) GTEST_SKIP() << "no team";
    analyse(20, Kind::definite);
    HostContext* const context = ovrelin::currentContext();
    const auto waitAll = context->waitAll;
    context->waitAll = [](HostContext*, const WaitList*) { return std::int32_t{1}; };
    for (int trial = 0; trial < 10; ++trial) EXPECT_EQ(solver_.factor(matrix_), ldl::mismatch);
    context->waitAll = waitAll;
    expectWorks();
    HostServices* const table = ovrelin::hostServices;
    ovrelin::hostServices = nullptr;
    EXPECT_EQ(solver_.factor(matrix_), ldl::mismatch);
    ovrelin::hostServices = table;
    expectWorks();
}

TEST_P(Teams, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    analyse(9, Kind::definite);
    solver_.freeFactors();
    const auto road = [&] {
        int code = solver_.analyse(matrix_);
        const std::int64_t before = solver_.pool.numRequests();
        if (code == ldl::ok) code = solver_.factor(matrix_);
        EXPECT_EQ(solver_.pool.numRequests(), before);  // the numeric stage allocates nothing
        solver_.freeFactors();
        return code;
    };
    refuseEveryRequest(solver_.pool, road, ldl::ok, ldl::noMemory);
}

TEST_P(Teams, TheTaskPoolGrowsOrReportsThatItCannot) {
    if (!isDynamic()) GTEST_SKIP() << "no tasks";
    // The end of the last bush makes a task of each of the hub's seven strips, whoever is how fast.
    analyse(bushesOnHubPattern(6, 20, 100), Kind::definite);
    ovrelin::TaskPool& tasks = solver_.numeric->team.taskPool;
    for (std::int64_t k = -1; k < 6; ++k) {
        solver_.pool.failRequest(-1);
        ASSERT_TRUE(isOk(tasks.task.make(solver_.pool.get(), 1)));
        ASSERT_TRUE(isOk(tasks.link.make(solver_.pool.get(), 1)));
        solver_.pool.failRequest(k);
        EXPECT_EQ(solver_.factor(matrix_), k < 0 ? ldl::ok : ldl::noMemory) << k;
        solver_.pool.failRequest(-1);
        expectWorks();
        EXPECT_GE(tasks.link.size(), 8U);
    }
}

TEST_P(Teams, AStopFlagAtAnyMomentEndsAllOfThem) {
    analyse(45, Kind::quasiDefinite);
    HostContext* const own = ovrelin::currentContext();
    int numStopped = 0;
    // On a busy machine the flag may come late time after time.
    for (int trial = 0; trial < 60 || (numStopped == 0 && trial < 5000); ++trial) {
        std::atomic<bool> started{false};
        std::thread breaker([&, delay = random_() % 60000] {
            while (!started) std::this_thread::yield();
            for (std::atomic<unsigned> i{0}; i < delay;) ++i;
            // Every thread of the host, or only the one that called.
            trial % 2 == 0 ? host_.raiseStop() : ov::Host::raiseStop(own);
        });
        started = true;
        const int code = solver_.factor(matrix_);
        breaker.join();
        host_.clearStop();
        ov::Host::clearStop(own);
        EXPECT_TRUE(code == ldl::ok || code == ldl::stopped) << code;
        numStopped += code == ldl::stopped ? 1 : 0;
        if (trial % 10 == 0) expectWorks();
    }
    EXPECT_GT(numStopped, 0);
    host_.raiseStop();
    EXPECT_EQ(solver_.factor(matrix_), ldl::stopped);
    host_.clearStop();
    expectWorks();
}

TEST_P(Teams, FreeingTheFactorsEndsARunningFactorisation) {
    if (GetParam().numThreads == 0) GTEST_SKIP() << "no team";
    for (int trial = 0; trial < 8; ++trial) {
        analyse(60, Kind::definite);
        std::atomic<int> code{-1};
        ovrelin::LdlSymbolic* const symbolic = solver_.symbolic;
        std::thread runner([&] {
            code = ovrelin::sparseLdlNumeric(0, matrix_.n(), matrix_.begin(), matrix_.row(),
                                             matrix_.value.data(), solver_.handle, symbolic,
                                             solver_.numeric);
        });
        while (code == -1 &&
               __atomic_load_n(&symbolic->state, __ATOMIC_ACQUIRE) != ldl::stateNumeric)
            std::this_thread::yield();
        solver_.freeFactors();
        runner.join();
        EXPECT_TRUE(code == ldl::ok || code == ldl::stopped) << code;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Teams,
                         testing::Values(EngineCase{"sequential", 1, 0, 0},
                                         EngineCase{"static2", 1, 2, 16},
                                         EngineCase{"static5", 1, 5, 16},
                                         EngineCase{"dynamic2", 0, 2, 16},
                                         EngineCase{"dynamic5", 0, 5, 16}),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

}  // namespace
