// What a single row implies, decision by decision: each line is a small model whose presolve must
// end in the named states, bounds and origins. Columns are x, y; every row sees only these.

#include <gtest/gtest.h>

#include "presolve_fixture.hpp"

namespace {

using namespace ovrelin;
using ovtest::absent;
using ovtest::PresolveRun;
using ovtest::SmallProblem;

struct Bound {
    double lower, upper;
};

struct Row {
    char sense;
    double low, high;
    double a, b;  // of x and y
};

SmallProblem make(const std::vector<Bound>& columns, const std::vector<Row>& rows) {
    SmallProblem p;
    p.numCol = static_cast<int>(columns.size());
    p.numRow = static_cast<int>(rows.size());
    for (const Bound& c : columns) {
        p.lower.push_back(c.lower);
        p.upper.push_back(c.upper);
    }
    p.c.assign(columns.size(), 1.0);
    p.q.assign(columns.size() * columns.size(), 0.0);
    for (const Row& r : rows) {
        p.rowSense += r.sense;
        p.rowLower.push_back(r.low);
        p.rowUpper.push_back(r.high);
        p.a.push_back(r.a);
        if (p.numCol > 1) p.a.push_back(r.b);
    }
    return p;
}

Row less(double a, double b, double rhs) {
    return {'L', -absent, rhs, a, b};
}
Row more(double a, double b, double rhs) {
    return {'G', rhs, absent, a, b};
}
Row equal(double a, double b, double rhs) {
    return {'E', rhs, rhs, a, b};
}
Row range(double a, double b, double low, double high) {
    return {'R', low, high, a, b};
}

constexpr double tol = 1e-6;

struct Single {
    const char* name;
    Bound x;
    Row row;
    Status status;
    int state;
    double lower, upper;
    bool ownsLower, ownsUpper;
};

void PrintTo(const Single& drawn, std::ostream* out) {
    *out << drawn.name;
}

class SingletonRow : public testing::TestWithParam<Single> {};

TEST_P(SingletonRow, BecomesTheBoundThatItIs) {
    const Single& s = GetParam();
    PresolveRun run(make({s.x}, {s.row}), ovtest::checkedOptions(), modelTypeLp);
    const Status status = run.presolve();
    const Presolver& p = run.presolver();
    EXPECT_EQ(p.rowMap[0], s.state);
    EXPECT_EQ(p.numRemovedRow, 1);
    EXPECT_EQ(p.numRemovedElement, 1);
    if (s.status != Status::ok) {
        EXPECT_EQ(status, s.status);
        EXPECT_EQ(p.infeasibleRow, 0);
        return;
    }
    EXPECT_EQ(status, Status::optimal);  // nothing is left
    EXPECT_EQ(p.lower[0], s.lower);
    EXPECT_EQ(p.upper[0], s.upper);
    EXPECT_EQ(p.lbMap[0], s.ownsLower ? 0 : -1);
    EXPECT_EQ(p.ubMap[0], s.ownsUpper ? 0 : -1);
    ovtest::takeFaults();
}

constexpr Bound wide{-10, 10};

INSTANTIATE_TEST_SUITE_P(
    Senses, SingletonRow,
    testing::Values(
        Single{"LessPositive", wide, less(2, 0, 6), Status::ok, ROWMAP_UPPER, -10, 3, false, true},
        Single{"LessNegative", wide, less(-2, 0, 6), Status::ok, ROWMAP_LOWER, -3, 10, true, false},
        Single{"GreaterPositive", wide, more(2, 0, 6), Status::ok, ROWMAP_LOWER, 3, 10, true,
               false},
        Single{"GreaterNegative", wide, more(-2, 0, 6), Status::ok, ROWMAP_UPPER, -10, -3, false,
               true},
        Single{"UpperAsksNothing", wide, less(1, 0, 10), Status::ok, ROWMAP_FREE, -10, 10, false,
               false},
        Single{"LowerAsksNothing", wide, more(1, 0, -10), Status::ok, ROWMAP_FREE, -10, 10, false,
               false},
        Single{"UpperJustMet", wide, less(1, 0, -10 - 0.9 * tol), Status::ok, ROWMAP_UPPER, -10,
               -10 - 0.9 * tol, false, true},
        Single{"UpperMissed", wide, less(1, 0, -10 - 1.1 * tol), Status::primalInfeasible, 0, 0, 0,
               false, false},
        Single{"LowerMissed", wide, more(1, 0, 10 + 1.1 * tol), Status::primalInfeasible, 0, 0, 0,
               false, false},
        Single{"Equation", wide, equal(-2, 0, 6), Status::ok, ROWMAP_FIXED, -3, -3, true, true},
        Single{"EquationBelow", wide, equal(1, 0, -11), Status::primalInfeasible, 0, 0, 0, false,
               false},
        Single{"EquationAbove", wide, equal(1, 0, 11), Status::primalInfeasible, 0, 0, 0, false,
               false},
        Single{"RangePositive", wide, range(2, 0, -4, 6), Status::ok, ROWMAP_RANGE, -2, 3, true,
               true},
        Single{"RangeNegative", wide, range(-2, 0, -4, 6), Status::ok, ROWMAP_RANGE, -3, 2, true,
               true},
        Single{"RangeLowOnly", wide, range(1, 0, -4, 12), Status::ok, ROWMAP_LOWER, -4, 10, true,
               false},
        Single{"RangeHighOnly", wide, range(1, 0, -12, 4), Status::ok, ROWMAP_UPPER, -10, 4, false,
               true},
        Single{"RangeAsksNothing", wide, range(1, 0, -12, 12), Status::ok, ROWMAP_FREE, -10, 10,
               false, false},
        Single{"RangeMissed", wide, range(1, 0, 11, 12), Status::primalInfeasible, ROWMAP_LOWER, 0,
               0, false, false},
        Single{"RangeAlmostClosed", wide, range(1, 0, 4, 4 + 0.5e-8), Status::ok, ROWMAP_RANGE, 4,
               4, true, true}),
    [](const auto& drawn) { return std::string(drawn.param.name); });

// A bound that displaces another moves the other row's state down; the row map is read after the
// passes, rows in the order in which the sweep meets them.
struct Displacement {
    const char* name;
    std::vector<Row> rows;
    std::vector<int> states;
    int lbRow, ubRow;
};

void PrintTo(const Displacement& drawn, std::ostream* out) {
    *out << drawn.name;
}

class DisplacedRows : public testing::TestWithParam<Displacement> {};

TEST_P(DisplacedRows, LoseWhatTheyDefined) {
    const Displacement& d = GetParam();
    PresolveRun run(make({wide}, d.rows), ovtest::checkedOptions(), modelTypeLp);
    EXPECT_EQ(run.presolve(), Status::optimal);
    const Presolver& p = run.presolver();
    for (std::size_t i = 0; i < d.states.size(); ++i)
        EXPECT_EQ(p.rowMap[i], d.states[i]) << "row " << i;
    EXPECT_EQ(p.lbMap[0], d.lbRow);
    EXPECT_EQ(p.ubMap[0], d.ubRow);
    EXPECT_TRUE(ovtest::takeFaults().empty());
}

INSTANTIATE_TEST_SUITE_P(
    States, DisplacedRows,
    testing::Values(
        Displacement{
            "LowerByLower", {more(1, 0, -4), more(1, 0, -3)}, {ROWMAP_FREE, ROWMAP_LOWER}, 1, -1},
        Displacement{
            "UpperByUpper", {less(1, 0, 4), less(1, 0, 3)}, {ROWMAP_FREE, ROWMAP_UPPER}, -1, 1},
        Displacement{"RangeLosesLower",
                     {range(1, 0, -4, 4), more(1, 0, -3)},
                     {ROWMAP_UPPER, ROWMAP_LOWER},
                     1,
                     0},
        Displacement{"RangeLosesUpper",
                     {range(1, 0, -4, 4), less(1, 0, 3)},
                     {ROWMAP_LOWER, ROWMAP_UPPER},
                     0,
                     1},
        Displacement{"RangeLosesBoth",
                     {range(1, 0, -4, 4), range(2, 0, -6, 6)},
                     {ROWMAP_FREE, ROWMAP_RANGE},
                     1,
                     1},
        Displacement{"BothByAnEquation",
                     {range(1, 0, -4, 4), equal(1, 0, 2)},
                     {ROWMAP_FREE, ROWMAP_FIXED},
                     1,
                     1},
        Displacement{"WithinToleranceKeepsItsOrigin",
                     {less(1, 0, 4), less(1, 0, 4 - 0.5 * tol)},
                     {ROWMAP_UPPER, ROWMAP_FREE},
                     -1,
                     0}),
    [](const auto& drawn) { return std::string(drawn.param.name); });

// Rows of two columns.
struct Pair {
    const char* name;
    Bound x, y;
    Row row;
    Status status;
    int state;   // of the row; 0 is a live one
    char sense;  // of the row afterwards
    double rhs;
    Bound newX, newY;
};

void PrintTo(const Pair& drawn, std::ostream* out) {
    *out << drawn.name;
}

class RowActivity : public testing::TestWithParam<Pair> {};

TEST_P(RowActivity, DecidesAsItsEndsSay) {
    const Pair& c = GetParam();
    PresolveRun run(make({c.x, c.y}, {c.row}), ovtest::checkedOptions(), modelTypeLp);
    const Status status = run.presolve();
    const Presolver& p = run.presolver();
    EXPECT_EQ(p.rowMap[0], c.state);
    if (c.status == Status::primalInfeasible) {
        EXPECT_EQ(status, c.status);
        EXPECT_EQ(p.infeasibleRow, 0);
        return;
    }
    EXPECT_TRUE(status == Status::ok || status == Status::optimal);
    // Where only bounds have changed, the model holds the new ones and the presolver the old ones.
    const bool exchanged = p.preControl == PRECONTROL_BOUND;
    const double* lower = exchanged ? run.model().lower : p.lower.data();
    const double* upper = exchanged ? run.model().upper : p.upper.data();
    EXPECT_EQ(lower[0], c.newX.lower);
    EXPECT_EQ(upper[0], c.newX.upper);
    EXPECT_EQ(lower[1], c.newY.lower);
    EXPECT_EQ(upper[1], c.newY.upper);
    if (c.state >= 0) {
        EXPECT_EQ(run.model().rowSense[0], c.sense);
        EXPECT_EQ(run.model().rhs[0], c.rhs);
        EXPECT_EQ(p.numChangeRange, c.sense == c.row.sense ? 0 : 1);
        EXPECT_EQ(p.lbMap[0], c.newX.lower != c.x.lower ? 0 : -1);
        EXPECT_EQ(p.ubMap[0], c.newX.upper != c.x.upper ? 0 : -1);
        EXPECT_EQ(p.lbMap[1], c.newY.lower != c.y.lower ? 0 : -1);
        EXPECT_EQ(p.ubMap[1], c.newY.upper != c.y.upper ? 0 : -1);
    }
    EXPECT_TRUE(ovtest::takeFaults().empty());
}

constexpr Bound unit{0, 1};
constexpr Bound upward{0, maxDouble};

INSTANTIATE_TEST_SUITE_P(
    Tables, RowActivity,
    testing::Values(
        Pair{"LessInfeasible",
             unit,
             unit,
             less(1, 1, -1.1 * tol),
             Status::primalInfeasible,
             0,
             0,
             0,
             {},
             {}},
        Pair{"LessForcing",
             unit,
             unit,
             less(1, -1, -1),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {0, 0},
             {1, 1}},
        Pair{"LessRedundant", unit, unit, less(1, -1, 1), Status::ok, ROWMAP_FREE, 0, 0, unit,
             unit},
        Pair{"LessTightens", unit, unit, less(2, -4, -1), Status::ok, 0, 'L', -1, unit, {0.25, 1}},
        Pair{"LessOneInfinite", unit, upward, less(1, 2, 4), Status::ok, 0, 'L', 4, unit, {0, 2}},
        Pair{"GreaterInfeasible",
             unit,
             unit,
             more(1, 1, 2 + 1.1 * tol),
             Status::primalInfeasible,
             0,
             0,
             0,
             {},
             {}},
        Pair{"GreaterForcing",
             unit,
             unit,
             more(1, -1, 1),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {1, 1},
             {0, 0}},
        Pair{"GreaterRedundant", unit, unit, more(1, -1, -1), Status::ok, ROWMAP_FREE, 0, 0, unit,
             unit},
        Pair{"GreaterTightens", unit, unit, more(4, -2, 1), Status::ok, 0, 'G', 1, {0.25, 1}, unit},
        Pair{"GreaterOneInfinite",
             upward,
             unit,
             more(1, -2, 3),
             Status::ok,
             0,
             'G',
             3,
             {3, maxDouble},
             unit},
        Pair{
            "EqualBelow", unit, unit, equal(1, 1, -0.1), Status::primalInfeasible, 0, 0, 0, {}, {}},
        Pair{"EqualAbove", unit, unit, equal(1, 1, 2.1), Status::primalInfeasible, 0, 0, 0, {}, {}},
        Pair{"EqualForcingLow",
             unit,
             unit,
             equal(1, 1, 0),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {0, 0},
             {0, 0}},
        Pair{"EqualForcingHigh",
             unit,
             unit,
             equal(1, -1, 1),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {1, 1},
             {0, 0}},
        Pair{"EqualTightens", unit, {0, 4}, equal(1, 1, 2), Status::ok, 0, 'E', 2, unit, {1, 2}},
        Pair{"RangeBelow",
             unit,
             unit,
             range(1, 1, -2, -1),
             Status::primalInfeasible,
             0,
             0,
             0,
             {},
             {}},
        Pair{
            "RangeAbove", unit, unit, range(1, 1, 3, 4), Status::primalInfeasible, 0, 0, 0, {}, {}},
        Pair{"RangeForcingLow",
             unit,
             unit,
             range(1, 1, -1, 0),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {0, 0},
             {0, 0}},
        Pair{"RangeForcingHigh",
             unit,
             unit,
             range(1, 1, 2, 3),
             Status::ok,
             ROWMAP_FIXED,
             0,
             0,
             {1, 1},
             {1, 1}},
        Pair{"RangeRedundant", unit, unit, range(1, 1, -1, 2), Status::ok, ROWMAP_FREE, 0, 0, unit,
             unit},
        Pair{"RangeLosesHigh", unit, unit, range(1, 1, 0.5, 3), Status::ok, 0, 'G', 0.5, unit,
             unit},
        Pair{"RangeKeepsAHighLimitThatIsJustReached", unit, unit, range(1, 1, 0.5, 2), Status::ok,
             0, 'R', 2, unit, unit},
        Pair{"RangeLosesLow", unit, unit, range(1, 1, -1, 1.5), Status::ok, 0, 'L', 1.5, unit,
             unit},
        Pair{"RangeTightens", {0, 8}, unit, range(1, 1, 3, 5), Status::ok, 0, 'R', 5, {2, 5}, unit},
        Pair{"InsideToleranceIsIgnored", unit, unit, less(1, 1, 1 - 0.5 * tol + 1 * tol),
             Status::ok, 0, 'L', 1 - 0.5 * tol + 1 * tol, unit, unit},
        Pair{"TwoInfinite", upward, upward, more(1, 1, 3), Status::ok, 0, 'G', 3, upward, upward}),
    [](const auto& drawn) { return std::string(drawn.param.name); });

// A forcing row all of whose columns are closed already has nothing to fix.
TEST(RowActivity, ForcingClosedColumnsLeavesAnEmptyRow) {
    PresolveRun run(make({{1, 1}, {2, 2}}, {equal(1, 1, 3)}), ovtest::checkedOptions());
    EXPECT_EQ(run.presolve(), Status::optimal);
    EXPECT_EQ(run.presolver().rowMap[0], ROWMAP_EMPTY);
    EXPECT_TRUE(ovtest::takeFaults().empty());
}

}  // namespace
