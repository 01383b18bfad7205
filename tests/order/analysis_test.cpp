// The whole analysis against dense symbolic elimination, and its ways to fail.
#include "support/dense_symbolic.hpp"
#include "support/fake_host.hpp"
#include "support/ldl_solver.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

void expectSound(LdlSolver& solver, const TestPattern& pattern) {
    ASSERT_EQ(solver.analyse(pattern), ldl::ok) << pattern.name;
    expectSoundAnalysis(pattern, *solver.symbolic, *solver.numeric);
    EXPECT_EQ(solver.symbolic->parallelMode, 0);
    EXPECT_EQ(solver.symbolic->storageForm, 1);
    EXPECT_EQ(solver.handle->numThreads, 1);
}

TEST(Analysis, IsSoundOnShapesUnderEveryMethod) {
    std::vector<TestPattern> patterns{gridPattern(12, 9), gridPattern(30, 30), densePattern(130)};
    for (const std::int32_t n : {0, 1, 2, 3, 5, 30, 40})
        for (const auto& shape : {diagonalPattern(n), densePattern(n), tridiagonalPattern(n),
                                  arrowPattern(n), patternFromEdges("no entries", n, {})})
            patterns.push_back(shape);
    for (const TestPattern& pattern : patterns)
        for (std::int32_t method = -1; method <= 4; ++method) {
            LdlSolver solver{{ldl::optOrderingMethod, method}, {ldl::optNumThreads, 4}};
            expectSound(solver, pattern);
            const LdlSymbolic& symbolic = *solver.symbolic;
            if (pattern.name == "dense 40") {
                EXPECT_EQ(symbolic.numSuper, 1);
                EXPECT_EQ(symbolic.maxSuperCols, 40);
                EXPECT_EQ(symbolic.updateSize, 0);
                EXPECT_EQ(solver.handle->orderingMethod, ldl::methodNatural);
            } else if (pattern.name == "diagonal 40") {
                EXPECT_EQ(symbolic.numSuper, 40);
            }
            const Indices first(symbolic.perm.begin(), symbolic.perm.end());
            ASSERT_EQ(solver.set(ldl::optOrderingMethod, method), ldl::ok);
            ASSERT_EQ(solver.analyse(pattern), ldl::ok);
            EXPECT_EQ(Indices(solver.symbolic->perm.begin(), solver.symbolic->perm.end()), first);
        }
}

// Without any allowance the supernodes hold no explicit zero; the defaults make fewer of them.
TEST(Analysis, IsSoundOnThousandsOfRandomPatterns) {
    std::mt19937 random(2024);
    std::int64_t numExact = 0, numMerged = 0;
    for (int trial = 0; trial < 4000; ++trial) {
        SCOPED_TRACE(trial);
        const TestPattern pattern = randomPattern(random, trial % 20 == 0 ? 90 : 28);
        LdlSolver solver{{ldl::optOrderingMethod, trial % 4 - 1},
                         {ldl::optMatrixClass, trial % 6},
                         {ldl::optNumThreads, 4}};
        expectSound(solver, pattern);
        const std::int32_t merged = solver.symbolic->numSuper;
        ASSERT_EQ(solver.set(ldl::optOrderingMethod, trial % 4 - 1), ldl::ok);
        SparseParameters& parameters = solver.handle->parameters;
        parameters.mergeAlwaysBelow = 0;
        parameters.mergeFreeZeros = -1;
        parameters.mergeMediumShare = parameters.mergeLargeShare = -1.0;
        expectSound(solver, pattern);
        if (HasFailure()) return;
        const LdlSymbolic& exact = *solver.symbolic;
        double stored = 0.0;
        for (std::int32_t s = 0; s < exact.numSuper; ++s) {
            const double k = exact.superFirstCol[s + 1] - exact.superFirstCol[s];
            const auto r = static_cast<double>(exact.rowBegin[s + 1] - exact.rowBegin[s]);
            stored += k * r - k * (k - 1.0) / 2.0;
        }
        EXPECT_EQ(stored, exact.numLowerEntries + pattern.n);
        EXPECT_EQ(exact.supernodeOps, exact.flopEstimate);
        EXPECT_LE(merged, exact.numSuper);
        numExact += exact.numSuper;
        numMerged += merged;
    }
    EXPECT_LT(numMerged, numExact);
}

TEST(Analysis, BadPatternsAreMismatches) {
    const struct {
        TestPattern pattern;
        int code;
    } cases[] = {
        {{"lower triangle only", 3, {0, 2, 3, 3}, {1, 2, 2}}, ldl::mismatch},
        {{"upper triangle only", 2, {0, 0, 1}, {0}}, ldl::mismatch},
        {{"directed circle", 3, {0, 1, 2, 3}, {2, 0, 1}}, ldl::mismatch},
        {{"equal counts, other rows", 4, {0, 2, 3, 4, 6}, {2, 3, 2, 1, 0, 1}}, ldl::mismatch},
        {{"row beyond the end", 2, {0, 1, 2}, {5, 0}}, ldl::mismatch},
        {{"row just beyond the end", 2, {0, 1, 2}, {1, 2}}, ldl::mismatch},
        {{"negative row", 2, {0, 1, 2}, {-7, 0}}, ldl::mismatch},
        {{"columns running backwards", 3, {0, 3, 1, 2}, {1, 0}}, ldl::mismatch},
        {{"negative start", 2, {-1, 1, 2}, {1, 0}}, ldl::mismatch},
        {{"negative order", -1, {0}, {}}, ldl::mismatch},
        {{"negative count of entries", 2, {0, 0, -4}, {}}, ldl::mismatch},
        {{"repeated on one side", 2, {0, 2, 3}, {1, 1, 0}}, ldl::mismatch},
        {{"repeated instead of another", 3, {0, 2, 3, 4}, {1, 1, 0, 0}}, ldl::mismatch},
        {{"repeated on both sides", 2, {0, 2, 4}, {1, 1, 0, 0}}, ldl::ok},
        {{"repeated diagonal", 2, {0, 2, 3}, {0, 0, 1}}, ldl::ok},
    };
    for (const auto& c : cases) {
        LdlSolver solver;
        EXPECT_EQ(solver.analyse(c.pattern), c.code) << c.pattern.name;
    }
}

// Random indices, most of them no symmetric pattern at all: a code, never a crash.
TEST(Analysis, GarbageNeverCrashes) {
    std::mt19937 random(99);
    for (int trial = 0; trial < 3000; ++trial) {
        std::uniform_int_distribution<std::int32_t> size(1, 8);
        const std::int32_t n = size(random);
        std::uniform_int_distribution<std::int32_t> row(trial % 3 == 0 ? -1 : 0, n - 1);
        TestPattern pattern{"garbage", n, {0}, {}};
        for (std::int32_t j = 0; j < n; ++j) {
            for (std::int32_t k = size(random) - 1; k > 0; --k)
                pattern.rowIndex.push_back(row(random));
            pattern.colBegin.push_back(static_cast<std::int32_t>(pattern.rowIndex.size()));
        }
        LdlSolver solver{{ldl::optOrderingMethod, trial % 2}};
        const int code = solver.analyse(pattern);
        EXPECT_TRUE(code == ldl::ok || code == ldl::mismatch) << trial;
    }
}

// With pairs of columns and clusters, and without.
TEST(Analysis, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    std::mt19937 random(13);
    const TestMatrix a = withValues(random, gridPattern(20, 20), Kind::indefinite);
    for (const std::int32_t method : {0, 2})
        for (const std::int32_t pass : {0, 1}) {
            LdlSolver solver{{ldl::optMatchingMode, method / 2}, {ldl::optOrderingPostPass, pass}};
            const auto analyse = [&] {
                EXPECT_EQ(solver.set(ldl::optOrderingMethod, method), ldl::ok);
                const int code = solver.analyse(a);
                solver.freeFactors();
                return code;
            };
            refuseEveryRequest(solver.pool, analyse, ldl::ok, ldl::noMemory);
        }
}

// A flag raised while the k-th block is asked for is seen at the next level of the dissection.
TEST(Analysis, StopFlagEndsItAndLeavesItUsable) {
    const FakeHost host;
    const TestPattern pattern = gridPattern(40, 40);
    LdlSolver solver;
    Indices perm;
    std::int64_t numStopped = 0, count = 1;
    for (std::int64_t k = -1; k < count; ++k) {
        ASSERT_EQ(solver.set(ldl::optOrderingMethod, 2), ldl::ok);
        solver.pool.failRequest(-1);
        solver.pool.onRequest(k, [] { FakeHost::context().stopFlag = 1; });
        const int code = solver.analyse(pattern);
        FakeHost::context().stopFlag = 0;
        numStopped += code == ldl::stopped ? 1 : 0;
        if (code == ldl::stopped) continue;
        ASSERT_EQ(code, ldl::ok);
        if (k < 0) {
            count = solver.pool.numRequests();
            perm = Indices(solver.symbolic->perm.begin(), solver.symbolic->perm.end());
        }
        EXPECT_TRUE(std::equal(perm.begin(), perm.end(), solver.symbolic->perm.begin()));
    }
    EXPECT_EQ(numStopped, count);
    solver.pool.onRequest(-1, {});
}

}  // namespace
