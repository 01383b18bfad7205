// The move of duals from tightened bounds to rows, and the bookkeeping that it leans on, on records
// made by hand: every case of the two, one by one.

#include <gtest/gtest.h>

#include <memory>

#include "presolve/bound_map.hpp"
#include "presolve/model_values.hpp"
#include "presolve/reductions.hpp"
#include "presolve_fixture.hpp"

namespace {

using namespace ovrelin;

class Records : public testing::Test {
protected:
    ovtest::SmallProblem small;
    std::unique_ptr<ovtest::PresolveRun> run;

    /// Columns in [0, 10] with the given costs; rows 'E' with activity 0 at x = 0.
    void make(std::vector<double> costs, std::vector<std::vector<double>> rows) {
        small = ovtest::box(std::vector<double>(costs.size(), 0.0),
                            std::vector<double>(costs.size(), 10.0));
        small.c = std::move(costs);
        for (const auto& row : rows) ovtest::addRow(small, 'E', 0, 0, row);
        run = std::make_unique<ovtest::PresolveRun>(small, ovtest::checkedOptions(), modelTypeLp);
        ASSERT_TRUE(isOk(run->makeByHand()));
        recomputeModelValues(run->model());
    }
    Presolver& presolver() { return run->presolver(); }
    IpmSolution& full() { return *run->inSolution(); }
    Status recover() {
        return restoreDualSolution(&run->instance(), run->model(), run->options(), presolver(),
                                   full(), &run->transform());
    }
    void TearDown() override { ovtest::takeFaults(); }
};

// ---------------------------------------------------------------- states of displaced rows

TEST_F(Records, ADisplacedRowMovesDownByTheTable) {
    struct Line {
        int state, byLower, byUpper;
        const char* report;
    };
    const Line table[] = {
        {3, 3, 3, nullptr},
        {ROWMAP_LOWER, ROWMAP_FREE, ROWMAP_LOWER, nullptr},
        {ROWMAP_UPPER, ROWMAP_UPPER, ROWMAP_FREE, nullptr},
        {ROWMAP_RANGE, ROWMAP_UPPER, ROWMAP_LOWER, nullptr},
        {ROWMAP_FREE, ROWMAP_FREE, ROWMAP_FREE, "ROWMAP_FREE case should not happen."},
        {ROWMAP_FIXED, ROWMAP_FIXED, ROWMAP_FIXED, "ROWMAP_FIXED shall never change bound again."},
        {ROWMAP_EMPTY, ROWMAP_EMPTY, ROWMAP_EMPTY, "ROWMAP_EMPTY shall never change bound again."},
        {ROWMAP_POSTDET, ROWMAP_POSTDET, ROWMAP_POSTDET,
         "ROWMAP_POSTDET shall never change bound again."},
        {-9, -9, -9, "unknown rowMap type."},
    };
    make({1}, {{1}, {1}});
    for (const Line& line : table) {
        for (const Side side : {Side::lower, Side::upper}) {
            SCOPED_TRACE(testing::Message() << line.state << (side == Side::lower ? " L" : " U"));
            PoolArray<int32_t>& map = boundMapOf(presolver(), side);
            map[0] = 0;
            presolver().rowMap[0] = line.state;
            updateMap(&run->instance(), presolver(), side, 0, 1);
            EXPECT_EQ(map[0], 1);
            EXPECT_EQ(presolver().rowMap[0], side == Side::lower ? line.byLower : line.byUpper);
            const std::vector<std::string> faults = ovtest::takeFaults();
            ASSERT_EQ(faults.size(), line.report != nullptr ? 1u : 0u);
            if (line.report == nullptr) continue;
            EXPECT_NE(faults[0].find(line.report), std::string::npos) << faults[0];
            EXPECT_NE(faults[0].find("col=0  row=1  "), std::string::npos) << faults[0];
            const bool named = faults[0].find(side == Side::lower ? "Error updateMapLower: "
                                                                  : "Error updateMapUpper: ") == 0;
            EXPECT_EQ(named, line.state != -9);
        }
    }
    // A bound of the caller's, and one that the row has defined already, displace nothing.
    presolver().rowMap[1] = ROWMAP_LOWER;
    updateMap(&run->instance(), presolver(), Side::lower, 0, 1);
    EXPECT_EQ(presolver().rowMap[1], ROWMAP_LOWER);
}

TEST_F(Records, RemovingWhatIsNotThereIsReported) {
    make({1, 1, 1}, {{1, 2, 3}});
    LiveLists& rows = presolver().rows;
    removeElement(&run->instance(), 1, 0, rows);
    EXPECT_EQ(rows.length[0], 2);
    EXPECT_EQ(rows.index[1], 2);
    EXPECT_EQ(rows.index[2], 1);  // behind the live part
    EXPECT_EQ(rows.value[2], 2);
    EXPECT_TRUE(ovtest::takeFaults().empty());
    removeElement(&run->instance(), 1, 0, rows);
    EXPECT_EQ(rows.length[0], 1);
    EXPECT_EQ(ovtest::takeFaults(),
              std::vector<std::string>{"Error removeElement: minor 1 not found in major 0"});
}

// ---------------------------------------------------------------- residuals of one column

TEST_F(Records, ResidualsGoToTheDualsByTheirSigns) {
    struct Case {
        double cost, lowerDual, upperDual;  // residual = cost - lowerDual + upperDual
        double newLower, newUpper;
    };
    for (const Case& c : {
             Case{-2, 0, 0, 0, 2},     // to the upper dual
             Case{3, 0, 0, 3, 0},      // to the lower one
             Case{-2, 5e-7, 1, 0, 2},  // a dual below the tolerance is dropped
             Case{1, 4, 0, 1, 0},      // taken off the lower dual
             Case{-2, 1, 0, 0, 2},     // ... and the overshoot found again
             Case{-1, 0, 4, 0, 1},     // taken off the upper dual
             Case{3, 0, 2, 3, 0},      // ... and handed over
             Case{5e-7, 0, 0, 0, 0},   // below the tolerance
         }) {
        SCOPED_TRACE(c.cost);
        make({c.cost}, {});
        full().lowerDual[0] = c.lowerDual;
        full().upperDual[0] = c.upperDual;
        ASSERT_TRUE(isOk(recover()));
        EXPECT_NEAR(full().lowerDual[0], c.newLower, 1e-6);
        EXPECT_NEAR(full().upperDual[0], c.newUpper, 1e-6);
    }
}

// ---------------------------------------------------------------- transfers

// x0 has the dual 6 on a lower bound that row 0, 2 x0 - 3 x1 = 0, has implied: the row takes 3, and
// x1 the residual of 9, on its own bound or on the row that implied that.
TEST_F(Records, ADualMovesToItsRowAndOn) {
    for (const bool onward : {false, true}) {
        make({6, 1}, {{2, -3}, {0, 4}});
        presolver().lower[0] = 1;
        presolver().lbMap[0] = 0;
        full().lowerDual[0] = 6;
        if (onward) {
            presolver().lower[1] = 1;
            presolver().lbMap[1] = 1;
        }
        full().lowerDual[1] = 1;
        full().lowerSlack[0] = -1;
        ASSERT_TRUE(isOk(recover()));
        EXPECT_EQ(full().solDual[0], 3);
        EXPECT_EQ(full().lowerDual[0], 0);
        EXPECT_EQ(full().lowerSlack[0], 0);  // from the caller's bound
        EXPECT_EQ(full().lowerDual[1], onward ? 0 : 10);
        EXPECT_EQ(full().solDual[1], onward ? 2.5 : 0);
        EXPECT_EQ(run->model().reducedCost[0], 0);
        EXPECT_EQ(run->model().reducedCost[1], onward ? 0 : 10);
    }
}

TEST_F(Records, AnUpperDualMovesTheOtherWay) {
    make({-6, 1}, {{2, -3}});
    presolver().upper[0] = 5;
    presolver().ubMap[0] = 0;
    full().upperDual[0] = 6;
    full().lowerDual[1] = 1;
    ASSERT_TRUE(isOk(recover()));
    EXPECT_EQ(full().solDual[0], -3);
    EXPECT_EQ(full().upperDual[0], 0);
    EXPECT_EQ(full().upperSlack[0], 10);
    EXPECT_EQ(full().lowerDual[1], 0);  // 1 - 9
    EXPECT_EQ(full().upperDual[1], 8);
    EXPECT_EQ(run->model().reducedCost[1], -8);
}

TEST_F(Records, WhatIsNotTightenedKeepsItsDual) {
    struct Case {
        double lower, dual;
        double newDual, rowDual;
    };
    for (const Case& c : {Case{0.9e-6, 6, 6, 0}, Case{1.1e-6, 6, 0, 3}, Case{1, 0.9e-6, 0, 0}}) {
        make({c.dual, 0}, {{2, -3}});
        presolver().lower[0] = c.lower;
        presolver().lbMap[0] = 0;
        presolver().rowMap[0] = ROWMAP_FREE;  // a redundant row takes the dual all the same
        full().lowerDual[0] = c.dual;
        ASSERT_TRUE(isOk(recover()));
        EXPECT_EQ(full().lowerDual[0], c.newDual);
        EXPECT_EQ(full().solDual[0], c.rowDual);
    }
}

// Two bounds that imply each other through one row would hand the dual back and forth; the row of
// the closed column's other side takes it.
TEST_F(Records, ACircleIsBrokenByAnEquation) {
    make({1, 5}, {{1, -1}, {0, 1}});
    Presolver& p = presolver();
    p.lower[0] = p.upper[0] = 3;
    p.lbMap[0] = p.ubMap[0] = 0;
    p.lower[1] = p.upper[1] = 3;
    p.lbMap[1] = 0;
    p.ubMap[1] = 1;
    ASSERT_TRUE(isOk(recover()));
    EXPECT_EQ(full().solDual[0], 1);
    EXPECT_EQ(full().solDual[1], 6);
    for (const int j : {0, 1}) EXPECT_EQ(run->model().reducedCost[j], 0);
}

// Without an equation to turn to, a circle that grows is given up: the duals are those of the solve
// and the bound duals make up the reduced costs.
TEST_F(Records, ACircleThatGrowsIsGivenUp) {
    make({1, 5}, {{1, -2}, {-2, 1}});
    run->model().rowSense[0] = run->model().rowSense[1] = 'L';
    Presolver& p = presolver();
    p.lower[0] = p.upper[0] = 3;
    p.lbMap[0] = p.ubMap[0] = 0;
    p.lower[1] = p.upper[1] = 3;
    p.lbMap[1] = p.ubMap[1] = 1;
    full().solDual[0] = 0.5;
    recomputeModelValues(run->model());
    ASSERT_TRUE(isOk(recover()));
    EXPECT_EQ(full().solDual[0], 0.5);
    EXPECT_EQ(full().solDual[1], 0);
    for (const int j : {0, 1})
        EXPECT_EQ(run->model().reducedCost[j], full().lowerDual[j] - full().upperDual[j]);
}

TEST_F(Records, ARowWithoutTheColumnIsReported) {
    make({6, 1}, {{0, -3}});
    presolver().lower[0] = 1;
    presolver().lbMap[0] = 0;
    presolver().upper[1] = 5;
    presolver().ubMap[1] = 0;
    full().lowerDual[0] = 6;
    ASSERT_TRUE(isOk(recover()));
    EXPECT_EQ(full().lowerDual[0], 6);
    EXPECT_EQ(
        ovtest::takeFaults(),
        std::vector<std::string>{"this should not happen: nonzero dual on tighter lower bound."});
}

// The direction keeps its ratio to the value that it belongs to.
TEST_F(Records, DirectionsFollowTheirValues) {
    make({6, 1}, {{2, -3}});
    presolver().lower[0] = 1;
    presolver().lbMap[0] = 0;
    full().lowerDual[0] = 6;
    full().lowerDual[1] = 1;
    full().solDual[0] = 1;
    full().lowerSlack[0] = 2;
    full().solPrimal[0] = 4;
    recomputeModelValues(run->model());
    TransformRecord& transform = run->transform();
    MemoryPool* pool = run->pool().get();
    ASSERT_TRUE(isOk(transform.direction.make(pool)));
    DirectionRecord& d = *transform.direction;
    for (PoolArray<double>* array : {&d.lowerSlackDelta, &d.upperSlackDelta, &d.lowerDualDelta,
                                     &d.upperDualDelta, &d.solDualDelta}) {
        ASSERT_TRUE(isOk(array->make(pool, 2, Fill::zero)));
        (*array)[0] = (*array)[1] = 0.5;
    }
    ASSERT_TRUE(isOk(recover()));
    EXPECT_EQ(full().lowerSlack[0], 4);
    EXPECT_EQ(d.lowerSlackDelta[0], 1);  // doubled with the slack
    EXPECT_EQ(d.lowerDualDelta[0], 0);
    EXPECT_EQ(d.lowerDualDelta[1], 0.5 * full().lowerDual[1]);
    EXPECT_EQ(d.solDualDelta[0], 0.5 * full().solDual[0]);
}

TEST_F(Records, RowSlacksComeFromTheActivities) {
    make({0}, {{1}, {1}, {1}, {1}, {1}, {1}});
    Model& model = run->model();
    const char senses[] = {'G', 'L', 'R', 'E', 'L', 'n'};
    const int states[] = {ROWMAP_LOWER, ROWMAP_FREE,  ROWMAP_RANGE,
                          ROWMAP_EMPTY, ROWMAP_FIXED, ROWMAP_FREE};
    const double slacks[] = {3, -3, -3, 0, 7, 7};
    for (int i = 0; i < 6; ++i) {
        model.rowSense[i] = senses[i];
        model.rhs[i] = 1;
        presolver().rowMap[i] = states[i];
        full().ineqnSlack[i] = 7;
    }
    model.solPrimal[0] = 4;
    recomputeModelValues(model);
    restoreIneqnSlack(model, presolver(), full());
    for (int i = 0; i < 6; ++i) EXPECT_EQ(full().ineqnSlack[i], slacks[i]) << i;
}

}  // namespace
