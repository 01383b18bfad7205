// Whatever order the analysis chooses, the factors tell the same inertia and solve as accurately.
#include <gtest/gtest.h>

#include <algorithm>

#include "sparse/fake_host.hpp"
#include "support/ldl_solver.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

struct Variant {
    std::int32_t method;
    std::int32_t postPass;
    std::int32_t matching;
    std::int32_t blockMatching;
};

std::vector<Variant> allVariants() {
    std::vector<Variant> variants;
    for (std::int32_t method = -1; method <= 2; ++method)
        for (const std::int32_t postPass : {0, 1})
            for (std::int32_t pairs = 0; pairs <= 2; ++pairs)
                variants.push_back({method, postPass, pairs == 1 ? 1 : 0, pairs == 2 ? 1 : 0});
    return variants;
}

void expectSoundSolve(LdlSolver& solver, const TestMatrix& matrix, std::int32_t numPositive,
                      const std::vector<double>& b) {
    ASSERT_EQ(solver.factor(matrix), ldl::ok);
    std::vector<double> x = b;
    (void)solver.solve(matrix, x);
    EXPECT_LT(backwardError(matrix, x, b), 1e-14);
    if (solver.symbolic->numPerturbed > 0) return;
    EXPECT_EQ(solver.handle->numPositivePivots, numPositive);
    EXPECT_EQ(solver.handle->numNegativePivots, matrix.n() - numPositive);
}

TEST(Orderings, TellTheSameInertiaAndSolveAsWell) {
    std::mt19937 random(71);
    int numDissected = 0;
    for (int trial = 0; trial < 12; ++trial) {
        SCOPED_TRACE(trial);
        const Kind kinds[] = {Kind::indefinite, Kind::quasiDefinite, Kind::saddle};
        const TestPattern pattern = trial % 2 == 0 ? gridPattern(18, 14) : cubePattern(7, 6, 6);
        const TestMatrix matrix = withValues(random, pattern, kinds[trial % 3]);
        const std::vector<double> eigenvalues = denseEigenvalues(matrix);
        const auto numPositive = static_cast<std::int32_t>(
            std::count_if(eigenvalues.begin(), eigenvalues.end(), [](double v) { return v > 0; }));
        const std::vector<double> b = randomVector(random, matrix.n());
        for (const Variant& v : allVariants()) {
            LdlSolver solver;
            ASSERT_EQ(solver.set(ldl::optPivotStatistics, 1), ldl::ok);
            ASSERT_EQ(solver.set(ldl::optOrderingMethod, v.method), ldl::ok);
            ASSERT_EQ(solver.set(ldl::optOrderingPostPass, v.postPass), ldl::ok);
            ASSERT_EQ(solver.set(ldl::optMatchingMode, v.matching), ldl::ok);
            ASSERT_EQ(solver.set(ldl::optBlockMatchingMode, v.blockMatching), ldl::ok);
            ASSERT_EQ(solver.set(ldl::optFirstBlockSize, matrix.n() / 2), ldl::ok);
            const int code = solver.analyse(matrix);
            // A zero block has nothing to match.
            if (v.blockMatching != 0 && code == ldl::noMatching) continue;
            ASSERT_EQ(code, ldl::ok);
            numDissected += solver.handle->orderingMethod == ldl::methodDissection ? 1 : 0;
            expectSoundSolve(solver, matrix, numPositive, b);
        }
    }
    EXPECT_GT(numDissected, 40);
}

TEST(Orderings, StopFlagEndsTheAnalysisAndLeavesItUsable) {
    std::mt19937 random(72);
    const TestMatrix matrix = withValues(random, gridPattern(40, 40), Kind::definite);
    const FakeHost host;
    LdlSolver solver;
    ASSERT_EQ(solver.set(ldl::optOrderingMethod, 2), ldl::ok);
    solver.pool.failRequest(-1);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    const std::int64_t numRequests = solver.pool.numRequests();
    const std::vector<std::int32_t> perm(solver.symbolic->perm.begin(),
                                         solver.symbolic->perm.end());
    int numStopped = 0;
    for (std::int64_t k = 0; k < numRequests; k += 3) {
        solver.freeFactors();
        solver.pool.failRequest(-1);
        solver.pool.onRequest(k, [] { FakeHost::context().stopFlag = 1; });
        const int code = solver.analyse(matrix);
        FakeHost::context().stopFlag = 0;
        ASSERT_TRUE(code == ldl::stopped || code == ldl::ok);
        numStopped += code == ldl::stopped ? 1 : 0;
        EXPECT_EQ(solver.symbolic->state, ldl::stateIdle);
    }
    solver.pool.onRequest(-1, {});
    EXPECT_GT(numStopped, 20);
    ASSERT_EQ(solver.analyse(matrix), ldl::ok);
    EXPECT_TRUE(std::equal(perm.begin(), perm.end(), solver.symbolic->perm.begin()));
    EXPECT_EQ(solver.factor(matrix), ldl::ok);
}

}  // namespace
