// The move of duals from tightened bounds to rows, and the bookkeeping that it leans on, on records
// made by hand: every case of the two, one by one.

#include <gtest/gtest.h>

#include "presolve/bound_map.hpp"
#include "presolve/model_values.hpp"
#include "presolve/reductions.hpp"
#include "presolve_fixture.hpp"

namespace {

using namespace ovrelin;
using Numbers = std::vector<double>;

/// A record on columns in [0, 10] with the given costs and rows 'E' with activity 0 at x = 0.
struct Records {
    Records(const char* name, const Numbers& costs, const std::vector<Numbers>& rows)
        : trace(__FILE__, __LINE__, name),
          run(model(costs, rows), ovtest::checkedOptions(), modelTypeLp) {
        EXPECT_TRUE(isOk(run.makeByHand()));
    }
    ~Records() { ovtest::takeFaults(); }

    static ovtest::SmallProblem model(const Numbers& costs, const std::vector<Numbers>& rows) {
        ovtest::SmallProblem p =
            ovtest::box(Numbers(costs.size(), 0.0), Numbers(costs.size(), 10.0));
        p.c = costs;
        for (const Numbers& row : rows) ovtest::addRow(p, 'E', 0, 0, row);
        return p;
    }
    Presolver& presolver() { return *run.presolver; }
    IpmSolution& full() { return *run.inSolution; }

    /// A bound of column j that row i has implied.
    Records& tight(int j, Side side, double bound, int i) {
        (side == Side::lower ? presolver().lower : presolver().upper)[j] = bound;
        boundMapOf(presolver(), side)[j] = i;
        return *this;
    }
    Records& duals(const Numbers& lower, const Numbers& upper) {
        std::copy(lower.begin(), lower.end(), full().lowerDual.data());
        std::copy(upper.begin(), upper.end(), full().upperDual.data());
        return *this;
    }
    void recover() {
        recomputeModelValues(*run.model);
        ASSERT_TRUE(isOk(restoreDualSolution(&run.instance, *run.model, run.options, presolver(),
                                             full(), &run.transform)));
    }
    Records& becomes(const Numbers& row, const Numbers& lower, const Numbers& upper) {
        recover();
        for (std::size_t i = 0; i < row.size(); ++i)
            EXPECT_EQ(full().solDual[i], row[i]) << "row " << i;
        for (std::size_t j = 0; j < lower.size(); ++j) {
            EXPECT_NEAR(full().lowerDual[j], lower[j], 1e-6) << "column " << j;
            EXPECT_NEAR(full().upperDual[j], upper[j], 1e-6) << "column " << j;
        }
        return *this;
    }

    testing::ScopedTrace trace;
    ovtest::PresolveRun run;
};

// ---------------------------------------------------------------- states of displaced rows

TEST(BoundMap, ADisplacedRowMovesDownByTheTable) {
    struct {
        int state, byLower, byUpper;
        const char* report;
    } const table[] = {
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
    Records r("", {1}, {{1}, {1}});
    for (const auto& line : table) {
        for (const Side side : {Side::lower, Side::upper}) {
            SCOPED_TRACE(testing::Message() << line.state << (side == Side::lower ? " L" : " U"));
            r.tight(0, side, 0, 0);
            r.presolver().rowMap[0] = line.state;
            updateMap(&r.run.instance, r.presolver(), side, 0, 1);
            EXPECT_EQ(boundMapOf(r.presolver(), side)[0], 1);
            EXPECT_EQ(r.presolver().rowMap[0], side == Side::lower ? line.byLower : line.byUpper);
            const std::vector<std::string> faults = ovtest::takeFaults();
            ASSERT_EQ(faults.size(), line.report != nullptr ? 1u : 0u);
            if (line.report == nullptr) continue;
            EXPECT_NE(faults[0].find(line.report), std::string::npos) << faults[0];
            EXPECT_NE(faults[0].find("col=0  row=1  "), std::string::npos) << faults[0];
        }
    }
    // A bound of the caller's, and one that the row has defined already, displace nothing.
    r.presolver().rowMap[1] = ROWMAP_LOWER;
    updateMap(&r.run.instance, r.presolver(), Side::lower, 0, 1);
    EXPECT_EQ(r.presolver().rowMap[1], ROWMAP_LOWER);
}

TEST(LiveLists, ARemovedElementMovesBehindTheLivePart) {
    Records r("", {1, 1, 1}, {{1, 2, 3}});
    LiveLists& rows = r.presolver().rows;
    removeElement(&r.run.instance, 1, 0, rows);
    EXPECT_EQ(rows.length[0], 2);
    EXPECT_EQ(rows.index[2], 1);
    EXPECT_EQ(rows.value[2], 2);
    removeElement(&r.run.instance, 1, 0, rows);
    EXPECT_EQ(ovtest::takeFaults(),
              std::vector<std::string>{"Error removeElement: minor 1 not found in major 0"});
}

// ---------------------------------------------------------------- transfers

// What is left of cost = lowerDual - upperDual goes to the one or the other by its sign; below the
// tolerance of 1e-6 nothing counts.
TEST(DualRecovery, ResidualsGoToTheDualsByTheirSigns) {
    Records("to the upper dual", {-2}, {}).duals({0}, {0}).becomes({}, {0}, {2});
    Records("to the lower dual", {3}, {}).duals({0}, {0}).becomes({}, {3}, {0});
    Records("a small dual is dropped", {-2}, {}).duals({5e-7}, {1}).becomes({}, {0}, {2});
    Records("off the lower dual", {1}, {}).duals({4}, {0}).becomes({}, {1}, {0});
    Records("and the overshoot found again", {-2}, {}).duals({1}, {0}).becomes({}, {0}, {2});
    Records("off the upper dual", {-1}, {}).duals({0}, {4}).becomes({}, {0}, {1});
    Records("and the overshoot handed over", {3}, {}).duals({0}, {2}).becomes({}, {3}, {0});
    Records("below the tolerance", {5e-7}, {}).duals({0}, {0}).becomes({}, {0}, {0});
}

// x0 has the dual 6 on a lower bound that row 0, 2 x0 - 3 x1 = 0, has implied: the row takes 3, and
// x1 the residual of 9, on its own bound or on the row that implied that.
TEST(DualRecovery, DualsMoveToTheRowsOfTheirBounds) {
    Records moved("to its row", {6, 1}, {{2, -3}, {0, 4}});
    moved.full().lowerSlack[0] = -1;
    moved.tight(0, Side::lower, 1, 0).duals({6, 1}, {0, 0}).becomes({3, 0}, {0, 10}, {0, 0});
    EXPECT_EQ(moved.full().lowerSlack[0], 0);  // from the caller's bound
    EXPECT_EQ(moved.run.model->reducedCost[0], 0);
    EXPECT_EQ(moved.run.model->reducedCost[1], 10);
    Records("and on", {6, 1}, {{2, -3}, {0, 4}})
        .tight(0, Side::lower, 1, 0)
        .tight(1, Side::lower, 1, 1)
        .duals({6, 1}, {0, 0})
        .becomes({3, 2.5}, {0, 0}, {0, 0});
    Records other("an upper dual the other way", {-6, 1}, {{2, -3}});
    other.tight(0, Side::upper, 5, 0).duals({0, 1}, {6, 0}).becomes({-3}, {0, 0}, {0, 8});
    EXPECT_EQ(other.full().upperSlack[0], 10);
    EXPECT_EQ(other.run.model->reducedCost[1], -8);

    Records("a bound that was not tightened", {6, 0}, {{2, -3}})
        .tight(0, Side::lower, 0.9e-6, 0)
        .duals({6, 0}, {0, 0})
        .becomes({0}, {6, 0}, {0, 0});
    Records redundant("a redundant row takes the dual all the same", {6, 0}, {{2, -3}});
    redundant.presolver().rowMap[0] = ROWMAP_FREE;
    redundant.tight(0, Side::lower, 1.1e-6, 0).duals({6, 0}, {0, 0}).becomes({3}, {0, 9}, {0, 0});
    Records small("a dual below the tolerance", {0.9e-6, 0}, {{2, -3}});
    small.tight(0, Side::lower, 1, 0).duals({0.9e-6, 0}, {0, 0}).becomes({0}, {0, 0}, {0, 0});
    EXPECT_EQ(small.full().lowerDual[0], 0);
    Records("a row without the column", {6, 1}, {{0, -3}})
        .tight(0, Side::lower, 1, 0)
        .tight(1, Side::upper, 5, 0)
        .duals({6, 0}, {0, 0})
        .becomes({0}, {6, 1}, {0, 0});
}

// Two bounds that imply each other through one row would hand the dual back and forth; the row of
// the closed column's other side takes it, where that is an equation. Otherwise a circle that grows
// is given up: the duals are those of the solve and the bound duals make up the reduced costs.
TEST(DualRecovery, CirclesAreBrokenOrGivenUp) {
    Records("broken", {1, 5}, {{1, -1}, {0, 1}})
        .tight(0, Side::lower, 3, 0)
        .tight(0, Side::upper, 3, 0)
        .tight(1, Side::lower, 3, 0)
        .tight(1, Side::upper, 3, 1)
        .becomes({1, 6}, {0, 0}, {0, 0});
    Records growing("given up", {1, 5}, {{1, -2}, {-2, 1}});
    growing.run.model->rowSense[0] = growing.run.model->rowSense[1] = 'L';
    for (const int j : {0, 1})
        for (const Side side : {Side::lower, Side::upper}) growing.tight(j, side, 3, j);
    growing.full().solDual[0] = 0.5;
    growing.becomes({0.5, 0}, {0.5, 6}, {0, 0});
}

// The direction keeps its ratio to the value that it belongs to.
TEST(DualRecovery, DirectionsFollowTheirValues) {
    Records r("", {6, 1}, {{2, -3}});
    r.tight(0, Side::lower, 1, 0).duals({6, 1}, {0, 0});
    IpmSolution& full = r.full();
    full.solDual[0] = 1;
    full.lowerSlack[0] = 2;
    full.solPrimal[0] = 4;
    MemoryPool* pool = r.run.pool.get();
    ASSERT_TRUE(isOk(r.run.transform.direction.make(pool)));
    DirectionRecord& d = *r.run.transform.direction;
    for (PoolArray<double>* array : {&d.lowerSlackDelta, &d.upperSlackDelta, &d.lowerDualDelta,
                                     &d.upperDualDelta, &d.solDualDelta}) {
        ASSERT_TRUE(isOk(array->make(pool, 2, Fill::zero)));
        (*array)[0] = (*array)[1] = 0.5;
    }
    r.recover();
    EXPECT_EQ(full.lowerSlack[0], 4);
    EXPECT_EQ(d.lowerSlackDelta[0], 1);  // doubled with the slack
    EXPECT_EQ(d.lowerDualDelta[0], 0);
    EXPECT_EQ(d.lowerDualDelta[1], 0.5 * full.lowerDual[1]);
    EXPECT_EQ(d.solDualDelta[0], 0.5 * full.solDual[0]);
}

TEST(DualRecovery, RowSlacksComeFromTheActivities) {
    Records r("", {0}, {{1}, {1}, {1}, {1}, {1}, {1}});
    const struct {
        char sense;
        int state;
        double slack;
    } rows[] = {{'G', ROWMAP_LOWER, 3}, {'L', ROWMAP_FREE, -3}, {'R', ROWMAP_RANGE, -3},
                {'E', ROWMAP_EMPTY, 0}, {'L', ROWMAP_FIXED, 7}, {'n', ROWMAP_FREE, 7}};
    Model& model = *r.run.model;
    for (int i = 0; i < 6; ++i) {
        model.rowSense[i] = rows[i].sense;
        model.rhs[i] = 1;
        r.presolver().rowMap[i] = rows[i].state;
        r.full().ineqnSlack[i] = 7;
    }
    model.solPrimal[0] = 4;
    recomputeModelValues(model);
    restoreIneqnSlack(model, r.presolver(), r.full());
    for (int i = 0; i < 6; ++i) EXPECT_EQ(r.full().ineqnSlack[i], rows[i].slack) << i;
}

}  // namespace
