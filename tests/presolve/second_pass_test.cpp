// The presolver on a point in mid-solve: what moves along, what the way back gives what has left,
// and which findings send the loop back without the pass.

#include "ipm/second_pass.hpp"

#include <gtest/gtest.h>

#include "presolve_fixture.hpp"
#include "support/small_ipm.hpp"

namespace {

using namespace ovrelin;
using ovtest::absent;

/// x0 in [0, 4], x1 = 2 (fixed), x2 >= 1 and x3 <= 3 in no row, x4 and x5 in no row with two
/// bounds:
///   G0: x0 + x1 >= 1     E1: 2 x1 = 4     G2: x1 >= -5
ovtest::SmallProblem model() {
    ovtest::SmallProblem p = ovtest::box({0, 2, 1, -absent, 0, 0}, {4, 2, absent, 3, 5, 5});
    p.c = {1, 1, 3, -2, 1, -1};
    p.q[0] = 2;
    p.q[7] = 1;
    ovtest::addRow(p, 'G', 1, absent, {1, 1, 0, 0, 0, 0});
    ovtest::addRow(p, 'E', 4, 4, {0, 2, 0, 0, 0, 0});
    ovtest::addRow(p, 'G', -5, absent, {0, 1, 0, 0, 0, 0});
    return p;
}

struct SecondPresolve : testing::Test, ovtest::SmallIpm {
    SecondPresolve() : SmallIpm(model(), ovtest::checkedOptions()) {
        for (int j = 0; j < 6; ++j) {
            solution->solPrimal[j] = 1.5 + 0.25 * j;
            solution->lowerSlack[j] = 0.5 + j;
            solution->upperSlack[j] = 1.5 + j;
            solution->lowerDual[j] = 0.1 * (j + 1);
            solution->upperDual[j] = 0.2 * (j + 1);
        }
        for (int i = 0; i < 3; ++i) {
            solution->solDual[i] = 0.5 * (i + 1) - 0.7;
            solution->ineqnSlack[i] = i == 1 ? 0 : 2.0 + i;
        }
    }
};

TEST_F(SecondPresolve, MovesThePointAndBringsItBack) {
    {
        SecondPass pass(*ipm, options, solution);
        bool solved = true;
        ASSERT_TRUE(isOk(openSecondPass(pass, transform, solved)));
        ASSERT_FALSE(solved);
        // Row 0 and column 0 are left: a column in a live row, and what has no curvature nor row
        // goes.
        ASSERT_EQ(ipm->numRow, 1);
        ASSERT_EQ(ipm->numCol, 1);
        EXPECT_EQ(ipm->rhs[0], -1);  // 1 - x1
        EXPECT_EQ(ipm->solPrimal[0], 1.5);
        EXPECT_EQ(ipm->solDual[0], 0.5 - 0.7);
        EXPECT_EQ(ipm->lowerSlack[0], 0.5);
        EXPECT_EQ(ipm->upperDual[0], 0.2);
        EXPECT_EQ(ipm->ineqnSlack[0], 2.0);
        EXPECT_EQ(options.startMode, startModeResume);
        ipm->solPrimal[0] = 0.75;
        ipm->solDual[0] = 0.25;
        closeSecondPass(pass);
        EXPECT_TRUE(pass.restarted);
        EXPECT_FALSE(pass.presolver);
    }
    EXPECT_EQ(ipm->numCol, 6);
    EXPECT_EQ(ipm->model, &data.model);
    const double x[] = {0.75, 2, 2, 2.25, 2.5, 2.75};  // empty columns keep theirs
    for (int j = 0; j < 6; ++j) EXPECT_EQ(data.solPrimal[static_cast<std::size_t>(j)], x[j]) << j;
    EXPECT_EQ(data.solDual[0], 0.25);
    EXPECT_EQ(data.solDual[1], 0);
    EXPECT_EQ(solution->ineqnSlack[1], 0);
    EXPECT_EQ(solution->ineqnSlack[2], 7);  // x1 + 5
    // Bound duals of the empty columns are their costs, on the nearer bound.
    EXPECT_EQ(solution->lowerDual[2], 3);
    EXPECT_EQ(solution->upperDual[3], 2);
    EXPECT_EQ(solution->lowerDual[4], 1);  // 2.5 is as near to 5: the lower one
    EXPECT_EQ(solution->upperDual[5], 1);  // 2.75 is nearer to 5
    EXPECT_TRUE(ovtest::takeFaults().empty());
}

// An equation that leaves with a large dual would throw the iterate off its path: not believed.
TEST_F(SecondPresolve, GivesWayToALargeDual) {
    solution->solDual[1] = 1.25;
    SecondPass pass(*ipm, options, solution);
    bool solved = true;
    ASSERT_TRUE(isOk(openSecondPass(pass, transform, solved)));
    EXPECT_FALSE(solved);
    EXPECT_EQ(transform.forceRecheck, 1);
    EXPECT_FALSE(pass.presolver);
    EXPECT_EQ(ipm->numCol, 6);
    EXPECT_EQ(ipm->solPrimal, data.model.solPrimal);
    EXPECT_EQ(pass.model->status, Status::newPass);
}

// So is a verdict on an iterate that may be far from feasible; a large dual goes before it.
TEST_F(SecondPresolve, GivesWayToAVerdict) {
    data.rhs[1] = 5;
    for (const double dual : {0.5, -1.5}) {
        solution->solDual[1] = dual;
        SecondPass pass(*ipm, options, solution);
        bool solved = true;
        ASSERT_TRUE(isOk(openSecondPass(pass, transform, solved)));
        EXPECT_FALSE(solved);
        EXPECT_EQ(pass.model->status, dual == 0.5 ? Status::primalInfeasible : Status::newPass);
    }
}

TEST_F(SecondPresolve, IsSolvedWhenNothingIsLeft) {
    data.lower[0] = data.upper[0] = 1;
    SecondPass pass(*ipm, options, solution);
    bool solved = false;
    ASSERT_TRUE(isOk(openSecondPass(pass, transform, solved)));
    EXPECT_TRUE(solved);
    closeSecondPass(pass);
    EXPECT_EQ(data.model.status, Status::optimal);
    EXPECT_EQ(data.solPrimal[0], 1);
}

TEST_F(SecondPresolve, EndsCleanlyWithoutMemory) {
    for (std::int64_t k = 0;; ++k) {
        const std::int64_t before = pool.numLive();
        pool.failRequest(k);
        Status status = Status::ok;
        {
            SecondPass pass(*ipm, options, solution);
            bool solved = false;
            status = openSecondPass(pass, transform, solved);
        }
        pool.failRequest(-1);
        EXPECT_EQ(pool.numLive(), before);
        if (isOk(status)) {
            EXPECT_GT(k, 30);
            return;
        }
        ASSERT_EQ(status, Status::outOfMemory) << "allocation " << k;
    }
}

}  // namespace
