// The check of a problem before the module sees it: each fault is named by array, index and reason.

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

#include "host/ov.hpp"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Three columns, two rows, Q with an entry below the diagonal.
ov::Problem sound() {
    ov::Problem p;
    p.obj = {1, 2, 3};
    p.quadDiag = {1, 1, 1};
    p.quad = {{0, 1, 1, 1}, {2}, {0.5}};
    p.matrix = {{0, 2, 3, 4}, {0, 1, 1, 0}, {1, 2, 3, 4}};
    p.rowSense = {'G', 'R'};
    p.rhs = {1, 2};
    p.range = {0, 5};
    p.lower = {0, -ov::infinity, 2};
    p.upper = {1e20, ov::infinity, 1};  // crossing: the solver's to answer
    return p;
}

struct Fault {
    std::function<void(ov::Problem&)> make;
    const char* message;
};

const Fault faults[] = {
    {[](auto& p) { p.objSense = 0; }, "objSense: 0 is neither 1 (minimise) nor -1 (maximise)"},
    {[](auto& p) { p.objConstant = nan; }, "objConstant: is NaN"},
    {[](auto& p) { p.objConstant = ov::infinity; }, "objConstant: is infinite"},
    {[](auto& p) { p.obj[1] = nan; }, "obj[1]: is NaN"},
    {[](auto& p) { p.obj[2] = -ov::infinity; }, "obj[2]: is infinite"},
    {[](auto& p) { p.lower.pop_back(); }, "lower: 2 entries where there are 3 columns"},
    {[](auto& p) { p.upper.push_back(0); }, "upper: 4 entries where there are 3 columns"},
    {[](auto& p) { p.lower[0] = nan; }, "lower[0]: is NaN"},
    {[](auto& p) { p.upper[2] = nan; }, "upper[2]: is NaN"},
    {[](auto& p) { p.quadDiag.pop_back(); }, "quadDiag: 2 entries where there are 3 columns"},
    {[](auto& p) { p.quadDiag[2] = nan; }, "quadDiag[2]: is NaN"},
    {[](auto& p) { p.rhs.pop_back(); }, "rhs: 1 entries where there are 2 rows"},
    {[](auto& p) { p.rhs[1] = nan; }, "rhs[1]: is NaN"},
    {[](auto& p) { p.rhs[1] = ov::infinity; }, "rhs[1]: is infinite"},
    {[](auto& p) { p.range.push_back(1); }, "range: 3 entries where there are 2 rows"},
    {[](auto& p) { p.range.clear(); }, "range: is empty while row 1 is an 'R' row"},
    {[](auto& p) { p.range[1] = -1; }, "range[1]: -1 is negative"},
    {[](auto& p) { p.range[0] = nan; }, "range[0]: is NaN"},
    {[](auto& p) { p.rowSense[0] = 'g'; }, "rowSense[0]: 'g' is not one of E, G, L, R, N"},
    {[](auto& p) { p.rowSense[0] = '\0'; }, "rowSense[0]: code 0 is not one of E, G, L, R, N"},
    {[](auto& p) { p.matrix.begin.clear(); }, "matrix.begin: is empty while matrix.index is not"},
    {[](auto& p) { p.matrix.begin.pop_back(); }, "matrix.begin: 3 entries where 3 columns need 4"},
    {[](auto& p) { p.matrix.begin[0] = 1; }, "matrix.begin[0]: is 1, not 0"},
    {[](auto& p) { p.matrix.begin[2] = 1; }, "matrix.begin[2]: 1 is below the entry before it, 2"},
    {[](auto& p) { p.matrix.begin[3] = 5; }, "matrix.begin[3]: 5 is not the number of entries, 4"},
    {[](auto& p) { p.matrix.value.pop_back(); },
     "matrix.value: 3 entries where matrix.index has 4"},
    {[](auto& p) { p.matrix.index[3] = 2; }, "matrix.index[3]: row 2 of column 2 is outside 0..1"},
    {[](auto& p) { p.matrix.index[0] = -1; },
     "matrix.index[0]: row -1 of column 0 is outside 0..1"},
    {[](auto& p) { p.matrix.index[1] = 0; }, "matrix.index[1]: row 0 is twice in column 0"},
    {[](auto& p) { p.matrix.value[3] = nan; }, "matrix.value[3]: is NaN"},
    {[](auto& p) { p.matrix.value[3] = ov::infinity; }, "matrix.value[3]: is infinite"},
    {[](auto& p) { p.rowSense.clear(), p.rhs.clear(), p.range.clear(); },
     "matrix.index[0]: row 0 of column 0 is outside 0..-1"},
    {[](auto& p) { p.quad.index[0] = 0; },
     "quad.index[0]: (0, 0) is on the diagonal; diagonal entries go to quadDiag"},
    {[](auto& p) {
         p.quad = {{0, 0, 0, 1}, {1}, {1}};
     },
     "quad.index[0]: (1, 2) is above the diagonal; give the entry once, as (2, 1)"},
    {[](auto& p) { p.quad.index[0] = 3; }, "quad.index[0]: row 3 of column 0 is outside 0..2"},
    {[](auto& p) {
         p.quad = {{0, 3, 3, 3}, {1, 2, 1}, {1, 1, 1}};
     },
     "quad.index[2]: row 1 is twice in column 0"},
    {[](auto& p) { p.quad.value[0] = nan; }, "quad.value[0]: is NaN"},
    {[](auto& p) { p.quad.begin.assign(3, 0); }, "quad.begin: 3 entries where 3 columns need 4"},
};

/// What the check says of a problem after `spoil`.
template <class Problem, class Spoil>
std::string messageOf(Problem problem, const Spoil& spoil) {
    spoil(problem);
    try {
        ov::checkProblem(problem);
    } catch (const ov::InputError& error) {
        return error.what();
    }
    return "passes";
}

TEST(ProblemCheck, EachFaultIsNamed) {
    for (const Fault& fault : faults) EXPECT_EQ(messageOf(sound(), fault.make), fault.message);
}

TEST(ProblemCheck, SoundProblemsPass) {
    EXPECT_NO_THROW(ov::checkProblem(sound()));
    EXPECT_NO_THROW(ov::checkProblem(ov::Problem()));
    ov::Problem sparse = sound();
    sparse.quad = {};
    sparse.quadDiag.clear();
    sparse.matrix = {};
    sparse.rowSense = {'E', 'N'};
    sparse.range.clear();
    EXPECT_NO_THROW(ov::checkProblem(sparse));
    // The same row in neighbouring columns is no duplicate.
    ov::Problem dense = sound();
    dense.matrix = {{0, 1, 2, 3}, {0, 0, 0}, {1, 1, 1}};
    EXPECT_NO_THROW(ov::checkProblem(dense));
}

TEST(ProblemCheck, SeparableFaultsAreNamed) {
    ov::SeparableProblem good;
    good.quadDiag = {1, -1};  // negative: the operation's to answer
    good.linear = {0, 0};
    good.lower = {0, -ov::infinity};
    good.upper = {1, ov::infinity};
    EXPECT_NO_THROW(ov::checkProblem(good));
    EXPECT_EQ(messageOf(good, [](auto& p) { p.linear.clear(); }),
              "linear: 0 entries where there are 2 variables");
    EXPECT_EQ(messageOf(good, [](auto& p) { p.lower[1] = nan; }), "lower[1]: is NaN");
    EXPECT_EQ(messageOf(good, [](auto& p) { p.rhs = ov::infinity; }), "rhs: is infinite");
    EXPECT_EQ(messageOf(good, [](auto& p) { p.maxIterations = -1; }),
              "maxIterations: -1 is negative");
    EXPECT_EQ(messageOf(good, [](auto& p) { p.gapTol = nan; }), "gapTol: is NaN");
}

}  // namespace
