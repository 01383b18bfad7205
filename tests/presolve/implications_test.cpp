// What single rows imply, decision by decision: each line is a small model whose presolve must end
// in the named states, bounds and origins. Columns are x, y; every row sees only these.

#include <gtest/gtest.h>

#include "presolve_fixture.hpp"

namespace {

using namespace ovrelin;
using ovtest::absent;

struct Bound {
    double lower, upper;
    bool operator==(const Bound&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Bound& b) {
    return out << b.lower << " .. " << b.upper;
}

struct Row {
    char sense;
    double low, high;
    double a, b;  // of x and y
};

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

constexpr double tol = 1e-6, nearOne = 1 + 0.5 * tol;
constexpr Bound wide{-10, 10}, unit{0, 1}, upward{0, maxDouble};
constexpr int live = 0, missed = 1;  // besides the states of removed rows

struct Case {
    const char* name;
    std::vector<Bound> columns;
    Row row;
    int state;  // missed: the row proves that there is no point
    std::vector<Bound> bounds = {};
    char sense = 0;  // of the row afterwards, where it has changed
};

// A row of x alone.
const Case singletons[] = {
    {"LessPositive", {wide}, less(2, 0, 6), ROWMAP_UPPER, {{-10, 3}}},
    {"LessNegative", {wide}, less(-2, 0, 6), ROWMAP_LOWER, {{-3, 10}}},
    {"GreaterPositive", {wide}, more(2, 0, 6), ROWMAP_LOWER, {{3, 10}}},
    {"GreaterNegative", {wide}, more(-2, 0, 6), ROWMAP_UPPER, {{-10, -3}}},
    {"UpperAsksNothing", {wide}, less(1, 0, 10), ROWMAP_FREE, {wide}},
    {"LowerAsksNothing", {wide}, more(1, 0, -10), ROWMAP_FREE, {wide}},
    {"UpperJustMet", {wide}, less(1, 0, -10 - 0.9 * tol), ROWMAP_UPPER, {{-10, -10 - 0.9 * tol}}},
    {"UpperMissed", {wide}, less(1, 0, -10 - 1.1 * tol), missed},
    {"LowerMissed", {wide}, more(1, 0, 10 + 1.1 * tol), missed},
    {"Equation", {wide}, equal(-2, 0, 6), ROWMAP_FIXED, {{-3, -3}}},
    {"EquationBelow", {wide}, equal(1, 0, -11), missed},
    {"EquationAbove", {wide}, equal(1, 0, 11), missed},
    {"RangePositive", {wide}, range(2, 0, -4, 6), ROWMAP_RANGE, {{-2, 3}}},
    {"RangeNegative", {wide}, range(-2, 0, -4, 6), ROWMAP_RANGE, {{-3, 2}}},
    {"RangeLowOnly", {wide}, range(1, 0, -4, 12), ROWMAP_LOWER, {{-4, 10}}},
    {"RangeHighOnly", {wide}, range(1, 0, -12, 4), ROWMAP_UPPER, {{-10, 4}}},
    {"RangeAsksNothing", {wide}, range(1, 0, -12, 12), ROWMAP_FREE, {wide}},
    {"RangeMissed", {wide}, range(1, 0, 11, 12), missed},
    {"RangeAlmostClosed", {wide}, range(1, 0, 4, 4 + 0.5e-8), ROWMAP_RANGE, {{4, 4}}},
};

// A row of both: its activity at either end decides.
const Case pairs[] = {
    {"LessInfeasible", {unit, unit}, less(1, 1, -1.1 * tol), missed},
    {"LessForcing", {unit, unit}, less(1, -1, -1), ROWMAP_FIXED, {{0, 0}, {1, 1}}},
    {"LessRedundant", {unit, unit}, less(1, -1, 1), ROWMAP_FREE, {unit, unit}},
    {"LessTightens", {unit, unit}, less(2, -4, -1), live, {unit, {0.25, 1}}},
    {"LessOneInfinite", {unit, upward}, less(1, 2, 4), live, {unit, {0, 2}}},
    {"GreaterInfeasible", {unit, unit}, more(1, 1, 2 + 1.1 * tol), missed},
    {"GreaterForcing", {unit, unit}, more(1, -1, 1), ROWMAP_FIXED, {{1, 1}, {0, 0}}},
    {"GreaterRedundant", {unit, unit}, more(1, -1, -1), ROWMAP_FREE, {unit, unit}},
    {"GreaterTightens", {unit, unit}, more(4, -2, 1), live, {{0.25, 1}, unit}},
    {"GreaterOneInfinite", {upward, unit}, more(1, -2, 3), live, {{3, maxDouble}, unit}},
    {"EqualBelow", {unit, unit}, equal(1, 1, -0.1), missed},
    {"EqualAbove", {unit, unit}, equal(1, 1, 2.1), missed},
    {"EqualForcingLow", {unit, unit}, equal(1, 1, 0), ROWMAP_FIXED, {{0, 0}, {0, 0}}},
    {"EqualForcingHigh", {unit, unit}, equal(1, -1, 1), ROWMAP_FIXED, {{1, 1}, {0, 0}}},
    {"EqualTightens", {unit, {0, 4}}, equal(1, 1, 2), live, {unit, {1, 2}}},
    {"RangeBelow", {unit, unit}, range(1, 1, -2, -1), missed},
    {"RangeAbove", {unit, unit}, range(1, 1, 3, 4), missed},
    {"RangeForcingLow", {unit, unit}, range(1, 1, -1, 0), ROWMAP_FIXED, {{0, 0}, {0, 0}}},
    {"RangeForcingHigh", {unit, unit}, range(1, 1, 2, 3), ROWMAP_FIXED, {{1, 1}, {1, 1}}},
    {"RangeRedundant", {unit, unit}, range(1, 1, -1, 2), ROWMAP_FREE, {unit, unit}},
    {"RangeLosesHigh", {unit, unit}, range(1, 1, 0.5, 3), live, {unit, unit}, 'G'},
    {"RangeJustReachesHigh", {unit, unit}, range(1, 1, 0.5, 2), live, {unit, unit}},
    {"RangeLosesLow", {unit, unit}, range(1, 1, -1, 1.5), live, {unit, unit}, 'L'},
    {"RangeTightens", {{0, 8}, unit}, range(1, 1, 3, 5), live, {{2, 5}, unit}},
    {"InsideToleranceIsIgnored", {unit, unit}, less(1, 1, nearOne), live, {unit, unit}},
    {"TwoInfinite", {upward, upward}, more(1, 1, 3), live, {upward, upward}},
};

ovtest::SmallProblem make(const std::vector<Bound>& columns, const std::vector<Row>& rows) {
    std::vector<double> lower, upper;
    for (const Bound& c : columns) lower.push_back(c.lower), upper.push_back(c.upper);
    ovtest::SmallProblem p = ovtest::box(lower, upper);
    for (const Row& r : rows)
        ovtest::addRow(p, r.sense, r.low, r.high,
                       columns.size() > 1 ? std::vector{r.a, r.b} : std::vector{r.a});
    return p;
}

void expectImplied(const Case& c) {
    SCOPED_TRACE(c.name);
    ovtest::PresolveRun run(make(c.columns, {c.row}), ovtest::checkedOptions(), modelTypeLp);
    const Status status = run.presolve();
    const Presolver& p = *run.presolver;
    if (c.state == missed) {
        EXPECT_EQ(status, Status::primalInfeasible);
        EXPECT_EQ(p.infeasibleRow, 0);
        return;
    }
    EXPECT_EQ(status, c.state == live ? Status::ok : Status::optimal);
    EXPECT_EQ(p.rowMap[0], c.state);
    EXPECT_EQ(p.numRemovedRow, c.state == live ? 0 : 1);
    // Where only bounds have changed, the model holds the new ones and the presolver the old ones.
    const bool exchanged = p.preControl == PRECONTROL_BOUND;
    const double* lower = exchanged ? run.model->lower : p.lower.data();
    const double* upper = exchanged ? run.model->upper : p.upper.data();
    for (std::size_t j = 0; j < c.columns.size(); ++j) {
        EXPECT_EQ((Bound{lower[j], upper[j]}), c.bounds[j]) << "column " << j;
        if (c.state == ROWMAP_FIXED && c.columns.size() > 1) continue;  // its own way of owning
        EXPECT_EQ(p.lbMap[j], c.bounds[j].lower != c.columns[j].lower ? 0 : -1);
        EXPECT_EQ(p.ubMap[j], c.bounds[j].upper != c.columns[j].upper ? 0 : -1);
    }
    if (c.state == live) {
        const char sense = c.sense != 0 ? c.sense : c.row.sense;
        EXPECT_EQ(run.model->rowSense[0], sense);
        EXPECT_EQ(run.model->rhs[0], sense == 'G' || sense == 'E' ? c.row.low : c.row.high);
        EXPECT_EQ(p.numChangeRange, c.sense != 0 ? 1 : 0);
    }
    EXPECT_TRUE(c.columns.size() == 1 || ovtest::takeFaults().empty());
    ovtest::takeFaults();
}

TEST(Implications, OfASingletonAreTheBoundThatItIs) {
    for (const Case& c : singletons) expectImplied(c);
}

TEST(Implications, OfTwoColumnsAreDecidedByTheEnds) {
    for (const Case& c : pairs) expectImplied(c);
}

// A bound that displaces another moves the other row's state down; the row map is read after the
// passes, rows in the order in which the sweep meets them.
TEST(Implications, OfALaterRowTakeAwayWhatAnEarlierOneDefined) {
    const Row reach = range(1, 0, -4, 4);
    struct {
        const char* name;
        Row first, second;
        int firstState, secondState, lbRow, ubRow;
    } const cases[] = {
        {"LowerByLower", more(1, 0, -4), more(1, 0, -3), ROWMAP_FREE, ROWMAP_LOWER, 1, -1},
        {"UpperByUpper", less(1, 0, 4), less(1, 0, 3), ROWMAP_FREE, ROWMAP_UPPER, -1, 1},
        {"RangeLosesLower", reach, more(1, 0, -3), ROWMAP_UPPER, ROWMAP_LOWER, 1, 0},
        {"RangeLosesUpper", reach, less(1, 0, 3), ROWMAP_LOWER, ROWMAP_UPPER, 0, 1},
        {"RangeLosesBoth", reach, range(2, 0, -6, 6), ROWMAP_FREE, ROWMAP_RANGE, 1, 1},
        {"BothByAnEquation", reach, equal(1, 0, 2), ROWMAP_FREE, ROWMAP_FIXED, 1, 1},
        {"WithinTolerance", less(1, 0, 4), less(1, 0, 4 - 0.5 * tol), ROWMAP_UPPER, ROWMAP_FREE, -1,
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ovtest::PresolveRun run(make({wide}, {c.first, c.second}), ovtest::checkedOptions(),
                                modelTypeLp);
        EXPECT_EQ(run.presolve(), Status::optimal);
        const Presolver& p = *run.presolver;
        EXPECT_EQ(std::pair(p.rowMap[0], p.rowMap[1]), std::pair(c.firstState, c.secondState));
        EXPECT_EQ(std::pair(p.lbMap[0], p.ubMap[0]), std::pair(c.lbRow, c.ubRow));
        EXPECT_TRUE(ovtest::takeFaults().empty());
    }
}

}  // namespace
