// The separable problem with one constraint: random instances against the maximum of the dual
// function, and the exits that need no iteration.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "support/quiet_host.hpp"

namespace {

double objective(const ov::SeparableProblem& p, const std::vector<double>& x) {
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        sum += (0.5 * p.quadDiag[i] * x[i] + p.linear[i]) * x[i];
    return sum;
}

/// The least Lagrangian for a dual; needs bounds where there is no curvature.
double lagrangian(const ov::SeparableProblem& p, double nu) {
    std::vector<double> x(p.linear.size());
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double slope = nu - p.linear[i];
        if (p.quadDiag[i] > 0)
            x[i] = std::clamp(slope / p.quadDiag[i], p.lower[i], p.upper[i]);
        else
            x[i] = slope > 0 ? p.upper[i] : p.lower[i];
        sum += x[i];
    }
    return objective(p, x) + nu * (p.rhs - sum);
}

/// The optimal objective: the concave dual function's maximum by ternary search.
double reference(const ov::SeparableProblem& p) {
    double low = -2000, high = 2000;
    for (int pass = 0; pass < 150; ++pass) {
        const double left = low + (high - low) / 3, right = high - (high - low) / 3;
        const bool rising = lagrangian(p, left) < lagrangian(p, right);
        (rising ? low : high) = rising ? left : right;
    }
    return lagrangian(p, 0.5 * (low + high));
}

void add(ov::SeparableProblem& p, double diag, double linear, double lower, double upper) {
    p.quadDiag.push_back(diag);
    p.linear.push_back(linear);
    p.lower.push_back(lower);
    p.upper.push_back(upper);
}

/// Feasible by construction, with its bounds about `centre`. A linear one, the continuous knapsack,
/// has both bounds everywhere.
ov::SeparableProblem draw(std::uint64_t seed, bool linear, double centre = 0) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> number(-5, 5), positive(0.1, 10), part(0.05, 0.95);
    ov::SeparableProblem p;
    const std::size_t n = 1 + random() % 12;
    for (std::size_t i = 0; i < n; ++i) {
        const double lower = centre + number(random), upper = lower + positive(random);
        const unsigned type = linear ? 3 : random() % 4;
        add(p, linear ? 0 : positive(random), number(random), (type & 1) != 0 ? lower : -1e20,
            (type & 2) != 0 ? upper : 1e20);
        p.rhs += lower + (upper - lower) * part(random);
    }
    p.primalTol = p.dualTol = p.gapTol = 1e-9;
    p.maxIterations = 500;
    return p;
}

class SingleConstraint : public testing::Test {
protected:
    /// Feasible where it is solved.
    ov::SeparableResult solve(const ov::SeparableProblem& p) {
        ov::SeparableResult result = solver.solveSingleConstraintQp(p);
        if (result.returnValue != OVRELIN_SINGLE_SOLVED) return result;
        for (std::size_t i = 0; i < result.x.size(); ++i)
            EXPECT_TRUE(p.lower[i] <= result.x[i] && result.x[i] <= p.upper[i]) << i;
        return result;
    }
    ov::Host host{ovtest::quietHost()};
    ov::Solver solver{host};
};

TEST_F(SingleConstraint, RandomInstancesAgreeWithTheDual) {
    for (std::uint64_t seed = 1; seed <= 800; ++seed) {
        SCOPED_TRACE(seed);
        const ov::SeparableProblem p = draw(seed, seed % 4 == 0);
        const ov::SeparableResult result = solve(p);
        ASSERT_EQ(result.returnValue, OVRELIN_SINGLE_SOLVED);
        double sum = 0;
        for (const double v : result.x) sum += v;
        EXPECT_NEAR(sum, p.rhs, 1e-7 * (1 + std::fabs(p.rhs)));
        const double expected = reference(p), tolerance = 1e-7 * (1 + std::fabs(expected));
        EXPECT_NEAR(objective(p, result.x), expected, tolerance);
        EXPECT_NEAR(result.objective, expected, tolerance);
        EXPECT_GT(result.iterations, 0);
        EXPECT_LE(std::max({result.primalResidual, result.dualResidual, result.gap}), 1e-9);
    }
}

// A coarse solution may lie outside its bounds until it is clipped: far from the start the slacks
// lag behind the point.
TEST_F(SingleConstraint, CoarseSolutionsRespectTheirBounds) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        ov::SeparableProblem p = draw(seed, false, 1e4);
        p.primalTol = p.dualTol = p.gapTol = 0.05;
        ASSERT_EQ(solve(p).returnValue, OVRELIN_SINGLE_SOLVED) << "seed " << seed;
    }
}

TEST_F(SingleConstraint, QuickExitsIterateNowhere) {
    using Variables = std::vector<std::array<double, 4>>;  // q, c, l, u
    constexpr double none = 1e20;
    const Variables lowers = {{1, 1, 2, 9}, {1, 1, 3, none}},
                    uppers = {{1, 1, -none, -2}, {1, 1, -none, -3}};
    constexpr std::int32_t solved = OVRELIN_SINGLE_SOLVED, infeasible = OVRELIN_SINGLE_INFEASIBLE;
    const struct {
        const char* name;
        Variables variables;
        double rhs;
        std::int32_t result;
        std::vector<double> x = {};
    } cases[] = {
        {"empty", {}, 0, solved},
        {"empty with a right-hand side", {}, 1, infeasible},
        {"all at lower", lowers, 5, solved, {2, 3}},
        {"all at lower within the band", lowers, 5 - 4e-9, solved, {2, 3}},
        {"below the band", lowers, 5 - 6e-9, infeasible},
        {"all at upper", uppers, -5, solved, {-2, -3}},
        {"above the band", uppers, -5 + 6e-9, infeasible},
        {"fixed at the right-hand side", {{1, 1, 4, 4}}, 4, solved, {4}},
        {"crossing beside a free one", {{1, 1, -none, none}, {1, 1, 2, 1}}, 0, infeasible},
        {"negative curvature before all", {{-1e-300, 1, 2, 1}}, 0, OVRELIN_SINGLE_NOT_CONVEX},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        ov::SeparableProblem p;
        for (const auto& v : test.variables) add(p, v[0], v[1], v[2], v[3]);
        p.rhs = test.rhs;
        p.primalTol = 1e-9;
        const ov::SeparableResult result = solve(p);
        EXPECT_EQ(result.returnValue, test.result);
        if (test.result == solved) {
            EXPECT_EQ(result.x, test.x);
        }
        EXPECT_EQ(result.iterations, 0);
    }
}

TEST_F(SingleConstraint, StopsAtItsLimit) {
    ov::SeparableProblem p = draw(5, false);
    for (const std::int32_t limit : {0, 1, 3}) {
        p.maxIterations = limit;
        const ov::SeparableResult result = solve(p);
        EXPECT_EQ(result.returnValue, OVRELIN_SINGLE_ITERATION_LIMIT);
        EXPECT_EQ(result.iterations, limit);
        EXPECT_EQ(result.primalResidual == 1e20, limit == 0);
    }
    // a linear free variable has no finite minimiser for a given dual: no digit is ever right
    ov::SeparableProblem endless;
    add(endless, 0, 1, -1e20, 1e20);
    add(endless, 1, 1, 0, 5);
    endless.rhs = 3;
    endless.maxIterations = 50;
    EXPECT_EQ(solve(endless).returnValue, OVRELIN_SINGLE_ITERATION_LIMIT);
}

}  // namespace
