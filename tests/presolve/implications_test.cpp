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
    std::vector<double> lower, upper;
    for (const Bound& c : columns) {
        lower.push_back(c.lower);
        upper.push_back(c.upper);
    }
    SmallProblem p = ovtest::box(lower, upper);
    for (const Row& r : rows)
        ovtest::addRow(p, r.sense, r.low, r.high,
                       columns.size() > 1 ? std::vector{r.a, r.b} : std::vector{r.a});
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
constexpr Bound wide{-10, 10};

const auto nameOf = [](const auto& drawn) { return std::string(drawn.param.name); };

/// Names a failing case.
template <class Case>
requires requires(Case c) {
    c.name;
}
void PrintTo(const Case& drawn, std::ostream* out) {
    *out << drawn.name;
}

/// A row of x alone, which is in `wide`, and what becomes of it.

struct Single {
    const char* name;
    Row row;
    Status status;
    int state;
    double lower, upper;
    bool ownsLower, ownsUpper;
};

class SingletonRow : public testing::TestWithParam<Single> {};

TEST_P(SingletonRow, BecomesTheBoundThatItIs) {
    const Single& s = GetParam();
    PresolveRun run(make({wide}, {s.row}), ovtest::checkedOptions(), modelTypeLp);
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

Single becomes(const char* name, Row row, int state, double lower, double upper) {
    const bool fixes = state == ROWMAP_RANGE || state == ROWMAP_FIXED;
    const bool ownsLower = fixes || state == ROWMAP_LOWER,
               ownsUpper = fixes || state == ROWMAP_UPPER;
    return {name, row, Status::ok, state, lower, upper, ownsLower, ownsUpper};
}

Single missed(const char* name, Row row, int state = 0) {
    return {name, row, Status::primalInfeasible, state, 0, 0, false, false};
}

INSTANTIATE_TEST_SUITE_P(
    Senses, SingletonRow,
    testing::Values(becomes("LessPositive", less(2, 0, 6), ROWMAP_UPPER, -10, 3),
                    becomes("LessNegative", less(-2, 0, 6), ROWMAP_LOWER, -3, 10),
                    becomes("GreaterPositive", more(2, 0, 6), ROWMAP_LOWER, 3, 10),
                    becomes("GreaterNegative", more(-2, 0, 6), ROWMAP_UPPER, -10, -3),
                    becomes("UpperAsksNothing", less(1, 0, 10), ROWMAP_FREE, -10, 10),
                    becomes("LowerAsksNothing", more(1, 0, -10), ROWMAP_FREE, -10, 10),
                    becomes("UpperJustMet", less(1, 0, -10 - 0.9 * tol), ROWMAP_UPPER, -10,
                            -10 - 0.9 * tol),
                    missed("UpperMissed", less(1, 0, -10 - 1.1 * tol)),
                    missed("LowerMissed", more(1, 0, 10 + 1.1 * tol)),
                    becomes("Equation", equal(-2, 0, 6), ROWMAP_FIXED, -3, -3),
                    missed("EquationBelow", equal(1, 0, -11)),
                    missed("EquationAbove", equal(1, 0, 11)),
                    becomes("RangePositive", range(2, 0, -4, 6), ROWMAP_RANGE, -2, 3),
                    becomes("RangeNegative", range(-2, 0, -4, 6), ROWMAP_RANGE, -3, 2),
                    becomes("RangeLowOnly", range(1, 0, -4, 12), ROWMAP_LOWER, -4, 10),
                    becomes("RangeHighOnly", range(1, 0, -12, 4), ROWMAP_UPPER, -10, 4),
                    becomes("RangeAsksNothing", range(1, 0, -12, 12), ROWMAP_FREE, -10, 10),
                    missed("RangeMissed", range(1, 0, 11, 12), ROWMAP_LOWER),
                    becomes("RangeAlmostClosed", range(1, 0, 4, 4 + 0.5e-8), ROWMAP_RANGE, 4, 4)),
    nameOf);

// A bound that displaces another moves the other row's state down; the row map is read after the
// passes, rows in the order in which the sweep meets them.
struct Displacement {
    const char* name;
    Row first, second;
    int firstState, secondState;
    int lbRow, ubRow;
};

class DisplacedRows : public testing::TestWithParam<Displacement> {};

TEST_P(DisplacedRows, LoseWhatTheyDefined) {
    const Displacement& d = GetParam();
    PresolveRun run(make({wide}, {d.first, d.second}), ovtest::checkedOptions(), modelTypeLp);
    EXPECT_EQ(run.presolve(), Status::optimal);
    const Presolver& p = run.presolver();
    EXPECT_EQ(p.rowMap[0], d.firstState);
    EXPECT_EQ(p.rowMap[1], d.secondState);
    EXPECT_EQ(p.lbMap[0], d.lbRow);
    EXPECT_EQ(p.ubMap[0], d.ubRow);
    EXPECT_TRUE(ovtest::takeFaults().empty());
}

const Row reach = range(1, 0, -4, 4);

INSTANTIATE_TEST_SUITE_P(
    States, DisplacedRows,
    testing::Values(
        Displacement{"LowerByLower", more(1, 0, -4), more(1, 0, -3), ROWMAP_FREE, ROWMAP_LOWER, 1,
                     -1},
        Displacement{"UpperByUpper", less(1, 0, 4), less(1, 0, 3), ROWMAP_FREE, ROWMAP_UPPER, -1,
                     1},
        Displacement{"RangeLosesLower", reach, more(1, 0, -3), ROWMAP_UPPER, ROWMAP_LOWER, 1, 0},
        Displacement{"RangeLosesUpper", reach, less(1, 0, 3), ROWMAP_LOWER, ROWMAP_UPPER, 0, 1},
        Displacement{"RangeLosesBoth", reach, range(2, 0, -6, 6), ROWMAP_FREE, ROWMAP_RANGE, 1, 1},
        Displacement{"BothByAnEquation", reach, equal(1, 0, 2), ROWMAP_FREE, ROWMAP_FIXED, 1, 1},
        Displacement{"WithinToleranceKeepsItsOrigin", less(1, 0, 4), less(1, 0, 4 - 0.5 * tol),
                     ROWMAP_UPPER, ROWMAP_FREE, -1, 0}),
    nameOf);

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

Pair infeasible(const char* name, Row row) {
    return {name, unit, unit, row, Status::primalInfeasible, 0, 0, 0, {}, {}};
}
Pair fixes(const char* name, Row row, double x, double y) {
    return {name, unit, unit, row, Status::ok, ROWMAP_FIXED, 0, 0, {x, x}, {y, y}};
}
Pair redundant(const char* name, Row row) {
    return {name, unit, unit, row, Status::ok, ROWMAP_FREE, 0, 0, unit, unit};
}
Pair lives(const char* name, Bound x, Bound y, Row row, char sense, double rhs, Bound newX,
           Bound newY) {
    return {name, x, y, row, Status::ok, 0, sense, rhs, newX, newY};
}

constexpr double nearOne = 1 + 0.5 * tol;

INSTANTIATE_TEST_SUITE_P(
    Tables, RowActivity,
    testing::Values(
        infeasible("LessInfeasible", less(1, 1, -1.1 * tol)),
        fixes("LessForcing", less(1, -1, -1), 0, 1), redundant("LessRedundant", less(1, -1, 1)),
        lives("LessTightens", unit, unit, less(2, -4, -1), 'L', -1, unit, {0.25, 1}),
        lives("LessOneInfinite", unit, upward, less(1, 2, 4), 'L', 4, unit, {0, 2}),
        infeasible("GreaterInfeasible", more(1, 1, 2 + 1.1 * tol)),
        fixes("GreaterForcing", more(1, -1, 1), 1, 0),
        redundant("GreaterRedundant", more(1, -1, -1)),
        lives("GreaterTightens", unit, unit, more(4, -2, 1), 'G', 1, {0.25, 1}, unit),
        lives("GreaterOneInfinite", upward, unit, more(1, -2, 3), 'G', 3, {3, maxDouble}, unit),
        infeasible("EqualBelow", equal(1, 1, -0.1)), infeasible("EqualAbove", equal(1, 1, 2.1)),
        fixes("EqualForcingLow", equal(1, 1, 0), 0, 0),
        fixes("EqualForcingHigh", equal(1, -1, 1), 1, 0),
        lives("EqualTightens", unit, {0, 4}, equal(1, 1, 2), 'E', 2, unit, {1, 2}),
        infeasible("RangeBelow", range(1, 1, -2, -1)), infeasible("RangeAbove", range(1, 1, 3, 4)),
        fixes("RangeForcingLow", range(1, 1, -1, 0), 0, 0),
        fixes("RangeForcingHigh", range(1, 1, 2, 3), 1, 1),
        redundant("RangeRedundant", range(1, 1, -1, 2)),
        lives("RangeLosesHigh", unit, unit, range(1, 1, 0.5, 3), 'G', 0.5, unit, unit),
        lives("RangeKeepsAHighLimitThatIsJustReached", unit, unit, range(1, 1, 0.5, 2), 'R', 2,
              unit, unit),
        lives("RangeLosesLow", unit, unit, range(1, 1, -1, 1.5), 'L', 1.5, unit, unit),
        lives("RangeTightens", {0, 8}, unit, range(1, 1, 3, 5), 'R', 5, {2, 5}, unit),
        lives("InsideToleranceIsIgnored", unit, unit, less(1, 1, nearOne), 'L', nearOne, unit,
              unit),
        lives("TwoInfinite", upward, upward, more(1, 1, 3), 'G', 3, upward, upward)),
    nameOf);

}  // namespace
