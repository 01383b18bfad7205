// The wrappers of the sparse solver: statuses, the mirror in the instance, the clock.
#include <gtest/gtest.h>

#include "sparse/fake_host.hpp"
#include "sparse/kkt_solver.hpp"
#include "support/sparse_matrices.hpp"
#include "support/test_pool.hpp"

namespace {

using namespace ovtest;
using namespace ovrelin;

KktMatrix view(const TestMatrix& a) {
    return {a.n(), a.begin(), a.row(), a.value.data()};
}

struct Wrapped : testing::Test {
    Wrapped() {
        perf.sample = [](PerfObject*, PerfSample*, std::uint64_t, std::uint64_t) { return 0; };
        perf.difference = [](PerfObject*, const PerfCpuPart*, const PerfCpuPart*, PerfInterval*) {
            return 0;
        };
        timer.realTime = 1;
        timer.perfTimer = &perf;
        timer.microsPerSecond = 1e6;
        timer.instance = &instance;
        instance.pool = pool.get();
        slots.instance = &instance;
        slots.pool = pool.get();
    }
    ~Wrapped() override {
        kktSolverFree(slots);
        EXPECT_EQ(pool.numLive(), 0);
        expectMirrored();
    }

    void expectMirrored() const {
        EXPECT_EQ(instance.sparseSolver, slots.sparseSolver);
        EXPECT_EQ(instance.sparseFactor, slots.sparseFactor);
        EXPECT_EQ(instance.sparseSymbolic, slots.sparseSymbolic);
    }
    KktClock clock() { return {&timer, &seconds}; }
    Status create() { return kktSolverCreate(slots, nullptr, 20, 1, SparseParameters{}); }

    FakeHost host;
    TestPool pool;
    SolverInstance instance{};
    PerfObject perf{};
    SolverTimer timer{};
    KktSlots slots{};
    double seconds = 0;
    std::mt19937 random{11};
    TestMatrix matrix = withValues(random, gridPattern(6, 5), Kind::quasiDefinite);
    std::vector<double> rhs = randomVector(random, 30);
};

TEST_F(Wrapped, TheRoadOfOneSystem) {
    ASSERT_EQ(create(), Status::ok);
    EXPECT_EQ(slots.sparseSolver->firstBlockSize, 20);
    expectMirrored();
    ASSERT_EQ(kktAnalyze(slots, view(matrix), clock()), Status::ok);
    EXPECT_GT(seconds, 0);
    expectMirrored();
    ASSERT_EQ(kktFactor(slots, view(matrix), clock()), Status::ok);
    std::vector<double> x = rhs;
    ASSERT_EQ(kktSolve(slots, view(matrix), x.data(), clock()), Status::ok);
    EXPECT_LT(backwardError(matrix, x, rhs), 1e-15);
    EXPECT_EQ(seconds, FakeHost::readings() / 2);  // one tick between the two readings of a stage
    kktFreeFactors(slots);
    EXPECT_NE(slots.sparseSolver, nullptr);
    EXPECT_EQ(slots.sparseSymbolic, nullptr);
    expectMirrored();
    ASSERT_EQ(kktAnalyze(slots, view(matrix), {}), Status::ok);
}

TEST_F(Wrapped, StagesRefuseWhatIsMissingOrOccupiedWithoutTouchingTheClock) {
    EXPECT_EQ(kktAnalyze(slots, view(matrix), clock()), Status::failed);
    EXPECT_EQ(kktFactor(slots, view(matrix), clock()), Status::failed);
    ASSERT_EQ(create(), Status::ok);
    EXPECT_EQ(kktFactor(slots, view(matrix), clock()), Status::failed);
    EXPECT_EQ(kktSolve(slots, view(matrix), rhs.data(), clock()), Status::failed);
    ASSERT_EQ(kktAnalyze(slots, view(matrix), {}), Status::ok);
    EXPECT_EQ(kktAnalyze(slots, view(matrix), clock()), Status::failed);
    EXPECT_EQ(FakeHost::readings(), 0);
    EXPECT_EQ(seconds, 0);
}

TEST_F(Wrapped, CreationStatuses) {
    KktSlots poor{};
    EXPECT_EQ(kktSolverCreate(poor, nullptr, 1, 1, SparseParameters{}), Status::failed);
    pool.failRequest(0);
    EXPECT_EQ(create(), Status::outOfMemory);
    pool.failRequest(-1);
    EXPECT_EQ(kktSolverCreate(slots, pool.get(), 1, 0, SparseParameters{}), Status::failed);
    kktSolverFree(slots);
    EXPECT_EQ(kktSolverCreate(slots, pool.get(), -1, 1, SparseParameters{}), Status::failed);
}

TEST_F(Wrapped, LibraryCodesBecomeStatuses) {
    ASSERT_EQ(create(), Status::ok);
    TestMatrix unsymmetric = matrix;
    unsymmetric.pattern.rowIndex[0] = 29;
    EXPECT_EQ(kktAnalyze(slots, view(unsymmetric), {}), Status::failed);
    EXPECT_EQ(kktFactor(slots, view(matrix), {}), Status::failed);
    std::vector<double> x = rhs;
    EXPECT_EQ(kktSolve(slots, view(matrix), x.data(), {}), Status::solveFailed);
    kktFreeFactors(slots);
    pool.failRequest(1);
    EXPECT_EQ(kktAnalyze(slots, view(matrix), {}), Status::outOfMemory);
    expectMirrored();
    pool.failRequest(-1);
    kktFreeFactors(slots);
    ASSERT_EQ(kktAnalyze(slots, view(matrix), {}), Status::ok);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(kktFactor(slots, view(matrix), {}), Status::interrupted);
    FakeHost::context().stopFlag = 0;
    const TestMatrix other = withValues(random, diagonalPattern(30), Kind::definite);
    EXPECT_EQ(kktFactor(slots, view(other), {}), Status::failed);
    ASSERT_EQ(kktFactor(slots, view(matrix), {}), Status::ok);
    pool.failRequest(0);
    EXPECT_EQ(kktSolve(slots, view(matrix), x.data(), {}), Status::outOfMemory);
    pool.failRequest(-1);
    x.assign(30, 1.5e308);
    EXPECT_EQ(kktSolve(slots, view(matrix), x.data(), {}), Status::solveFailed);
}

TEST_F(Wrapped, ARefinementAboveItsToleranceIsNoFailure) {
    const TestMatrix zero{diagonalPattern(2), {0, 1}};
    ASSERT_EQ(create(), Status::ok);
    ASSERT_EQ(kktAnalyze(slots, view(zero), {}), Status::ok);
    ASSERT_EQ(kktFactor(slots, view(zero), {}), Status::ok);
    double x[] = {1, 1};
    EXPECT_EQ(kktSolve(slots, view(zero), x, {}), Status::ok);
    EXPECT_GT(slots.sparseSolver->backwardError, slots.sparseSolver->refineTolerance);
}

TEST_F(Wrapped, SolveOnceLeavesTheInstancesHandlesAlone) {
    ASSERT_EQ(create(), Status::ok);
    ASSERT_EQ(kktAnalyze(slots, view(matrix), {}), Status::ok);
    const std::int64_t live = pool.numLive();
    const TestMatrix small = withValues(random, densePattern(4), Kind::indefinite);
    const std::vector<double> b = randomVector(random, 4);
    const auto once = [&](std::vector<double>& x) {
        return kktSolveOnce(&instance, pool.get(), view(small), 4, 1, SparseParameters{}, x.data(),
                            &timer, &seconds, &seconds, &seconds);
    };
    std::vector<double> x = b;
    pool.failRequest(-1);
    EXPECT_EQ(once(x), Status::ok);
    EXPECT_LT(backwardError(small, x, b), 1e-15);
    EXPECT_EQ(FakeHost::readings(), 6);
    const std::int64_t count = pool.numRequests();
    for (std::int64_t k = 0; k < count; ++k) {
        pool.failRequest(k);
        x = b;
        EXPECT_EQ(once(x), Status::outOfMemory) << k;
        EXPECT_EQ(pool.numLive(), live);
        expectMirrored();
    }
    pool.failRequest(-1);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(once(x), Status::interrupted);
    FakeHost::context().stopFlag = 0;
    expectMirrored();
    EXPECT_EQ(kktFactor(slots, view(matrix), {}), Status::ok);
}

}  // namespace
