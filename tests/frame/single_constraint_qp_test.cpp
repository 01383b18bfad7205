// The separable problem with one constraint: random instances against the maximum of the dual
// function, and the exits that need no iteration.

#include "frame/operations/single_constraint_qp.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "ovrelin/codes.h"

namespace {

constexpr double untouched = -77;

struct Separable {
    std::vector<double> q, c, l, u;
    std::vector<std::uint8_t> type;
    double b = 0;
    std::vector<double> x, work[6];
    SingleConstraintRequest request{};

    void add(double diag, double linear, double lower, double upper, int boundType) {
        q.push_back(diag);
        c.push_back(linear);
        l.push_back(lower);
        u.push_back(upper);
        type.push_back(static_cast<std::uint8_t>(boundType));
    }
    [[nodiscard]] bool hasLower(std::size_t i) const { return (type[i] & 1) != 0; }
    [[nodiscard]] bool hasUpper(std::size_t i) const { return (type[i] & 2) != 0; }

    std::int32_t solve(std::int32_t maxIterations = 500, double tolerance = 1e-9) {
        const std::size_t n = q.size();
        x.assign(n, untouched);
        for (auto& array : work) array.assign(n, std::nan(""));
        request = {};
        request.maxIterations = maxIterations;
        request.infinityValue = 1e20;
        request.primalTol = request.dualTol = request.gapTol = tolerance;
        request.numVar = static_cast<std::int32_t>(n);
        request.quadDiag = q.data();
        request.linear = c.data();
        request.lower = l.data();
        request.upper = u.data();
        request.rhs = b;
        request.boundType = type.data();
        request.solution = x.data();
        request.lowerSlack = work[0].data();
        request.upperSlack = work[1].data();
        request.lowerDual = work[2].data();
        request.upperDual = work[3].data();
        request.step = work[4].data();
        request.invDiag = work[5].data();
        request.iterations = static_cast<std::int32_t>(untouched);
        request.primalResidual = request.dualResidual = request.gap = request.objective = untouched;
        return ovrelin::solveSingleConstraintQp(&request);
    }
    [[nodiscard]] double objective(const std::vector<double>& at) const {
        double sum = 0;
        for (std::size_t i = 0; i < q.size(); ++i) sum += (0.5 * q[i] * at[i] + c[i]) * at[i];
        return sum;
    }
    /// The least Lagrangian for a dual; needs bounds where there is no curvature.
    [[nodiscard]] double lagrangian(double nu) const {
        std::vector<double> at(q.size());
        double sum = 0;
        for (std::size_t i = 0; i < q.size(); ++i) {
            at[i] = q[i] > 0 ? (nu - c[i]) / q[i] : c[i] < nu ? u[i] : l[i];
            if (hasLower(i)) at[i] = std::max(at[i], l[i]);
            if (hasUpper(i)) at[i] = std::min(at[i], u[i]);
            sum += at[i];
        }
        return objective(at) + nu * (b - sum);
    }
    /// The optimal objective: the concave dual function's maximum by ternary search.
    [[nodiscard]] double reference() const {
        double low = -2000, high = 2000;
        for (int pass = 0; pass < 150; ++pass) {
            const double left = low + (high - low) / 3, right = high - (high - low) / 3;
            if (lagrangian(left) < lagrangian(right))
                low = left;
            else
                high = right;
        }
        return lagrangian(0.5 * (low + high));
    }
    void expectInside() const {
        for (std::size_t i = 0; i < q.size(); ++i)
            EXPECT_TRUE((!hasLower(i) || x[i] >= l[i]) && (!hasUpper(i) || x[i] <= u[i])) << i;
    }
};

/// Feasible by construction. A linear one, the continuous knapsack, has both bounds everywhere.
Separable draw(std::uint64_t seed, bool linear) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> number(-5, 5), positive(0.1, 10), part(0.05, 0.95);
    Separable problem;
    const std::size_t n = 1 + random() % 12;
    for (std::size_t i = 0; i < n; ++i) {
        const double lower = number(random), upper = lower + positive(random);
        const int type = linear ? 3 : static_cast<int>(random() % 4);
        problem.add(linear ? 0 : positive(random), number(random), (type & 1) != 0 ? lower : -1e20,
                    (type & 2) != 0 ? upper : 1e20, type);
        problem.b += lower + (upper - lower) * part(random);
    }
    return problem;
}

TEST(SingleConstraint, RandomInstancesAgreeWithTheDual) {
    for (std::uint64_t seed = 1; seed <= 800; ++seed) {
        SCOPED_TRACE(seed);
        Separable problem = draw(seed, seed % 4 == 0);
        ASSERT_EQ(problem.solve(), OVRELIN_SINGLE_SOLVED);
        problem.expectInside();
        double sum = 0;
        for (const double v : problem.x) sum += v;
        EXPECT_NEAR(sum, problem.b, 1e-7 * (1 + std::fabs(problem.b)));
        const double expected = problem.reference(), tolerance = 1e-7 * (1 + std::fabs(expected));
        EXPECT_NEAR(problem.objective(problem.x), expected, tolerance);
        const SingleConstraintRequest& r = problem.request;
        EXPECT_NEAR(r.objective, expected, tolerance);
        EXPECT_GT(r.iterations, 0);
        EXPECT_LE(std::max({r.primalResidual, r.dualResidual, r.gap}), 1e-9);
    }
}

// A coarse solution may lie outside its bounds until it is clipped: far from the start the slacks
// lag behind the point.
TEST(SingleConstraint, CoarseSolutionsRespectTheirBounds) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        Separable problem = draw(seed, false);
        for (std::size_t i = 0; i < problem.q.size(); ++i) {
            if (problem.hasLower(i)) problem.l[i] += 1e4;
            if (problem.hasUpper(i)) problem.u[i] += 1e4;
            problem.b += 1e4;
        }
        ASSERT_EQ(problem.solve(500, 0.05), OVRELIN_SINGLE_SOLVED);
        problem.expectInside();
    }
}

TEST(SingleConstraint, QuickExitsLeaveTheResultFieldsAlone) {
    using Variables = std::vector<std::array<double, 5>>;  // q, c, l, u, boundType
    const double none = untouched;
    const Variables lowers = {{1, 1, 2, 9, 3}, {1, 1, 3, 0, 1}},
                    uppers = {{1, 1, 0, -2, 2}, {1, 1, 0, -3, 2}};
    constexpr std::int32_t solved = OVRELIN_SINGLE_SOLVED, infeasible = OVRELIN_SINGLE_INFEASIBLE;
    const struct {
        const char* name;
        Variables variables;
        double b;
        std::int32_t result;
        std::vector<double> x;
    } cases[] = {
        {"empty", {}, 0, solved, {}},
        {"empty with a right-hand side", {}, 1, infeasible, {}},
        {"all at lower", lowers, 5, solved, {2, 3}},
        {"all at lower within the band", lowers, 5 - 4e-9, solved, {2, 3}},
        {"below the band", lowers, 5 - 6e-9, infeasible, {none, none}},
        {"all at upper", uppers, -5, solved, {-2, -3}},
        {"above the band", uppers, -5 + 6e-9, infeasible, {none, none}},
        {"fixed at the right-hand side", {{1, 1, 4, 4, 3}}, 4, solved, {4}},
        {"crossing beside a free variable",
         {{1, 1, 0, 0, 0}, {1, 1, 2, 1, 3}},
         0,
         infeasible,
         {none, none}},
        {"negative curvature before all else",
         {{-1e-300, 1, 2, 1, 3}},
         0,
         OVRELIN_SINGLE_NOT_CONVEX,
         {none}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Separable problem;
        for (const auto& v : test.variables) problem.add(v[0], v[1], v[2], v[3], int(v[4]));
        problem.b = test.b;
        EXPECT_EQ(problem.solve(), test.result);
        EXPECT_EQ(problem.x, test.x);
        EXPECT_EQ(problem.request.iterations, static_cast<std::int32_t>(untouched));
        EXPECT_EQ(problem.request.primalResidual, untouched);
        EXPECT_EQ(problem.request.objective, untouched);
    }
}

TEST(SingleConstraint, StopsAtItsLimit) {
    for (const std::int32_t limit : {0, 1, 3}) {
        Separable problem = draw(5, false);
        EXPECT_EQ(problem.solve(limit), OVRELIN_SINGLE_ITERATION_LIMIT);
        EXPECT_EQ(problem.request.iterations, limit);
        EXPECT_EQ(problem.request.primalResidual == 1e20, limit == 0);
    }
    // a linear free variable has no finite minimiser for a given dual: no digit is ever right
    Separable endless;
    endless.add(0, 1, 0, 0, 0);
    endless.add(1, 1, 0, 5, 3);
    endless.b = 3;
    EXPECT_EQ(endless.solve(50), OVRELIN_SINGLE_ITERATION_LIMIT);
    EXPECT_EQ(endless.request.iterations, 50);
}

}  // namespace
