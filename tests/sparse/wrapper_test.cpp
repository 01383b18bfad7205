// The wrappers of the sparse solver: statuses, the mirror in the instance, the clock.
#include "sparse/kkt_solver.hpp"
#include "support/fake_host.hpp"
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
        slots.instance = &instance;
        slots.pool = instance.pool = pool.get();
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
    Status create() { return kktSolverCreate(slots, nullptr, 20, 1, parameters); }
    Status analyse(const TestMatrix& a) { return kktAnalyze(slots, view(a), {&timer, &seconds}); }
    Status factor(const TestMatrix& a) { return kktFactor(slots, view(a), {&timer, &seconds}); }
    Status solve(const TestMatrix& a, Array<double>& rhsToX) {
        return kktSolve(slots, view(a), rhsToX.data(), {&timer, &seconds});
    }

    FakeHost host;
    TestPool pool;
    SolverInstance instance{};
    PerfObject perf{};
    SolverTimer timer{};
    KktSlots slots{};
    SparseParameters parameters;
    double seconds = 0;
    std::mt19937 random{11};
    const TestMatrix matrix = withValues(random, gridPattern(6, 5), Kind::quasiDefinite);
    const Array<double> rhs = randomVector(random, 30);
    Array<double> x = rhs;
};

TEST_F(Wrapped, TheRoadOfOneSystemAndItsClock) {
    // What is missing or occupied is refused without touching the clock.
    EXPECT_EQ(analyse(matrix), Status::failed);
    EXPECT_EQ(factor(matrix), Status::failed);
    parameters.krylovBreakdown *= 2;
    ASSERT_EQ(create(), Status::ok);
    EXPECT_EQ(slots.sparseSolver->firstBlockSize, 20);
    EXPECT_EQ(slots.sparseSolver->parameters.krylovBreakdown, parameters.krylovBreakdown);
    expectMirrored();
    EXPECT_EQ(factor(matrix), Status::failed);
    EXPECT_EQ(solve(matrix, x), Status::failed);
    EXPECT_EQ(FakeHost::readings(), 0);
    ASSERT_EQ(analyse(matrix), Status::ok);
    expectMirrored();
    EXPECT_EQ(analyse(matrix), Status::failed);
    ASSERT_EQ(factor(matrix), Status::ok);
    ASSERT_EQ(solve(matrix, x), Status::ok);
    EXPECT_LT(backwardError(matrix, x, rhs), 1e-15);
    EXPECT_EQ(FakeHost::readings(), 6);
    EXPECT_EQ(seconds, 3);  // one tick between the two readings of a stage
    kktFreeFactors(slots);
    EXPECT_NE(slots.sparseSolver, nullptr);
    EXPECT_EQ(slots.sparseSymbolic, nullptr);
    expectMirrored();
    EXPECT_EQ(kktAnalyze(slots, view(matrix), {}), Status::ok);
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
    EXPECT_EQ(analyse(unsymmetric), Status::failed);
    EXPECT_EQ(factor(matrix), Status::failed);
    EXPECT_EQ(solve(matrix, x), Status::solveFailed);
    kktFreeFactors(slots);
    pool.failRequest(1);
    EXPECT_EQ(analyse(matrix), Status::outOfMemory);
    expectMirrored();
    pool.failRequest(-1);
    kktFreeFactors(slots);
    ASSERT_EQ(analyse(matrix), Status::ok);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(factor(matrix), Status::interrupted);
    FakeHost::context().stopFlag = 0;
    EXPECT_EQ(factor(withValues(random, diagonalPattern(30), Kind::definite)), Status::failed);
    ASSERT_EQ(factor(matrix), Status::ok);
    pool.failRequest(0);
    EXPECT_EQ(solve(matrix, x), Status::outOfMemory);
    pool.failRequest(-1);
    x.assign(30, 1.5e308);
    EXPECT_EQ(solve(matrix, x), Status::solveFailed);
}

TEST_F(Wrapped, ARefinementAboveItsToleranceIsNoFailure) {
    const TestMatrix zero{diagonalPattern(2), {0, 1}};
    ASSERT_EQ(create(), Status::ok);
    ASSERT_EQ(analyse(zero), Status::ok);
    ASSERT_EQ(factor(zero), Status::ok);
    x = {1, 1};
    EXPECT_EQ(solve(zero, x), Status::ok);
    EXPECT_GT(slots.sparseSolver->backwardError, slots.sparseSolver->refineTolerance);
}

TEST_F(Wrapped, SolveOnceLeavesTheInstancesHandlesAlone) {
    ASSERT_EQ(create(), Status::ok);
    ASSERT_EQ(analyse(matrix), Status::ok);
    const TestMatrix small = withValues(random, densePattern(4), Kind::indefinite);
    const Array<double> b = randomVector(random, 4);
    const auto once = [&] {
        x = b;
        const Status status =
            kktSolveOnce(&instance, pool.get(), view(small), 4, 1, SparseParameters{}, x.data(),
                         &timer, &seconds, &seconds, &seconds);
        expectMirrored();
        return status;
    };
    FakeHost::readings() = 0;
    EXPECT_EQ(once(), Status::ok);
    EXPECT_LT(backwardError(small, x, b), 1e-15);
    EXPECT_EQ(FakeHost::readings(), 6);
    refuseEveryRequest(pool, once, Status::ok, Status::outOfMemory);
    FakeHost::context().stopFlag = 1;
    EXPECT_EQ(once(), Status::interrupted);
    FakeHost::context().stopFlag = 0;
    EXPECT_EQ(factor(matrix), Status::ok);
}

}  // namespace
