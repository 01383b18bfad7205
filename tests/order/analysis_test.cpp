// The whole analysis against dense symbolic elimination, and its ways to fail.
#include <gtest/gtest.h>

#include "support/analysis_fixture.hpp"
#include "support/dense_symbolic.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

std::vector<TestPattern> shapes() {
    std::vector<TestPattern> patterns;
    for (const std::int32_t n : {0, 1, 2, 3, 5, 30}) {
        patterns.push_back(diagonalPattern(n));
        patterns.push_back(densePattern(n));
        patterns.push_back(tridiagonalPattern(n));
        patterns.push_back(arrowPattern(n));
        patterns.push_back(patternFromEdges("no entries", n, {}));
    }
    patterns.push_back(gridPattern(12, 9));
    patterns.push_back(densePattern(130));
    return patterns;
}

void expectSound(Analysis& analysis, const TestPattern& pattern) {
    ASSERT_EQ(analysis.run(pattern), ldl::ok) << pattern.name;
    EXPECT_EQ(checkAnalysis(pattern, *analysis.symbolic, *analysis.numeric), "") << pattern.name;
    EXPECT_EQ(analysis.symbolic->state, ldl::stateIdle);
    EXPECT_EQ(analysis.symbolic->parallelMode, 0);
    EXPECT_EQ(analysis.symbolic->storageForm, 1);
    EXPECT_EQ(analysis.handle.numThreads, 1);
}

TEST(Analysis, ShapesUnderEveryMethod) {
    for (const TestPattern& pattern : shapes()) {
        for (std::int32_t method = -1; method <= 4; ++method) {
            Analysis analysis;
            analysis.handle.orderingMethod = method;
            expectSound(analysis, pattern);
        }
    }
}

TEST(Analysis, ThousandsOfRandomPatterns) {
    std::mt19937 random(2024);
    for (int trial = 0; trial < 4000; ++trial) {
        Analysis analysis;
        analysis.handle.orderingMethod = trial % 4 - 1;
        analysis.handle.matrixClass = trial % 6;
        expectSound(analysis, randomPattern(random, trial % 20 == 0 ? 90 : 28));
        if (HasFailure()) FAIL() << "trial " << trial;
    }
}

TEST(Analysis, SpecialForms) {
    Analysis analysis;
    ASSERT_EQ(analysis.run(densePattern(40)), ldl::ok);
    EXPECT_EQ(analysis.symbolic->numSuper, 1);
    EXPECT_EQ(analysis.symbolic->maxSuperCols, 40);
    EXPECT_EQ(analysis.handle.orderingMethod, ldl::methodNatural);
    EXPECT_EQ(analysis.symbolic->updateSize, 0);

    analysis.resetHandle();
    ASSERT_EQ(analysis.run(diagonalPattern(40)), ldl::ok);
    EXPECT_EQ(analysis.symbolic->numSuper, 40);
    EXPECT_EQ(analysis.symbolic->numLowerEntries, 0.0);

    analysis.resetHandle();
    ASSERT_EQ(analysis.run(gridPattern(30, 30)), ldl::ok);
    const std::vector<std::int32_t> first(analysis.symbolic->perm.begin(),
                                          analysis.symbolic->perm.end());
    ASSERT_EQ(analysis.run(gridPattern(30, 30)), ldl::ok);
    EXPECT_TRUE(std::equal(first.begin(), first.end(), analysis.symbolic->perm.begin()));
}

// Without any allowance the supernodes hold no explicit zero; the defaults make fewer of them.
TEST(Analysis, AmalgamationTradesZerosForWidth) {
    std::mt19937 random(77);
    std::int64_t numExact = 0;
    std::int64_t numMerged = 0;
    for (int trial = 0; trial < 200; ++trial) {
        const TestPattern pattern = trial == 0 ? gridPattern(20, 20) : randomPattern(random, 60);
        Analysis exact;
        exact.handle.parameters.mergeAlwaysBelow = 0;
        exact.handle.parameters.mergeFreeZeros = -1;
        exact.handle.parameters.mergeMediumShare = -1.0;
        exact.handle.parameters.mergeLargeShare = -1.0;
        expectSound(exact, pattern);
        const LdlSymbolic& symbolic = *exact.symbolic;
        double stored = 0.0;
        for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
            const double k = symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s];
            const auto r = static_cast<double>(symbolic.rowBegin[s + 1] - symbolic.rowBegin[s]);
            stored += k * r - k * (k - 1.0) / 2.0;
        }
        EXPECT_EQ(stored, symbolic.numLowerEntries + pattern.n);
        EXPECT_EQ(symbolic.supernodeOps, symbolic.flopEstimate);
        numExact += symbolic.numSuper;
        Analysis merged;
        expectSound(merged, pattern);
        EXPECT_LE(merged.symbolic->numSuper, symbolic.numSuper);
        numMerged += merged.symbolic->numSuper;
    }
    EXPECT_LT(numMerged, numExact);
}

TEST(Analysis, BadPatternsAreMismatches) {
    struct Case {
        const char* name;
        std::int32_t n;
        std::vector<std::int32_t> colBegin;
        std::vector<std::int32_t> rowIndex;
        int code;
    };
    const Case cases[] = {{"lower triangle only", 3, {0, 2, 3, 3}, {1, 2, 2}, ldl::mismatch},
                          {"directed circle", 3, {0, 1, 2, 3}, {2, 0, 1}, ldl::mismatch},
                          {"row beyond the end", 2, {0, 1, 2}, {5, 0}, ldl::mismatch},
                          {"negative row", 2, {0, 1, 2}, {-7, 0}, ldl::mismatch},
                          {"columns running backwards", 3, {0, 3, 1, 2}, {1, 0}, ldl::mismatch},
                          {"negative order", -1, {0}, {}, ldl::mismatch},
                          {"negative count of entries", 2, {0, 0, -4}, {}, ldl::mismatch},
                          {"repeated on one side", 2, {0, 2, 3}, {1, 1, 0}, ldl::mismatch},
                          {"repeated on both sides", 2, {0, 2, 4}, {1, 1, 0, 0}, ldl::ok},
                          {"repeated diagonal", 2, {0, 2, 3}, {0, 0, 1}, ldl::ok}};
    for (const Case& c : cases) {
        Analysis analysis;
        EXPECT_EQ(analysis.run({c.name, c.n, c.colBegin, c.rowIndex}), c.code) << c.name;
        EXPECT_EQ(analysis.symbolic->state, ldl::stateIdle) << c.name;
        analysis.free();
        EXPECT_EQ(analysis.pool.numLive(), 0) << c.name;
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
            for (std::int32_t k = size(random) - 1; k > 0; --k) {
                pattern.rowIndex.push_back(row(random));
            }
            pattern.colBegin.push_back(static_cast<std::int32_t>(pattern.rowIndex.size()));
        }
        Analysis analysis;
        analysis.handle.orderingMethod = trial % 2;
        const int code = analysis.run(pattern);
        EXPECT_TRUE(code == ldl::ok || code == ldl::mismatch);
    }
}

TEST(Analysis, EveryRefusedAllocationIsReportedAndNothingLeaks) {
    const TestPattern pattern = gridPattern(7, 6);
    Analysis analysis;
    analysis.pool.failRequest(-1);
    ASSERT_EQ(analysis.run(pattern), ldl::ok);
    const std::int64_t numRequests = analysis.pool.numRequests();
    ASSERT_GT(numRequests, 10);
    for (std::int64_t k = 0; k < numRequests; ++k) {
        analysis.resetHandle();
        analysis.free();
        analysis.pool.failRequest(k);
        EXPECT_EQ(analysis.run(pattern), ldl::noMemory) << "request " << k;
        if (analysis.symbolic) {
            EXPECT_EQ(analysis.symbolic->state, ldl::stateIdle);
        }
        analysis.free();
        EXPECT_EQ(analysis.pool.numLive(), 0) << "request " << k;
    }
    analysis.resetHandle();
    analysis.pool.failRequest(-1);
    expectSound(analysis, pattern);
}

}  // namespace
