// The separable problem with one constraint: conditions of optimality on random instances, and the
// exits that need no iteration.

#include "frame/operations/single_constraint_qp.hpp"

#include <gtest/gtest.h>

#include <algorithm>
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
    [[nodiscard]] double objective() const {
        double sum = 0;
        for (std::size_t i = 0; i < q.size(); ++i) sum += (0.5 * q[i] * x[i] + c[i]) * x[i];
        return sum;
    }
    /// x_i minimising 0.5 q x^2 + (c - nu) x between the bounds; needs q > 0.
    [[nodiscard]] double best(std::size_t i, double nu) const {
        double value = (nu - c[i]) / q[i];
        if ((type[i] & 1) != 0) value = std::max(value, l[i]);
        if ((type[i] & 2) != 0) value = std::min(value, u[i]);
        return value;
    }
    /// The optimal objective by bisection on the constraint's dual: sum of best() grows with nu.
    [[nodiscard]] double reference() {
        double low = -1e6, high = 1e6;
        for (int pass = 0; pass < 200; ++pass) {
            const double nu = 0.5 * (low + high);
            double sum = 0;
            for (std::size_t i = 0; i < q.size(); ++i) sum += best(i, nu);
            (sum < b ? low : high) = nu;
        }
        const std::vector<double> kept = x;
        for (std::size_t i = 0; i < q.size(); ++i) x[i] = best(i, 0.5 * (low + high));
        const double value = objective();
        x = kept;
        return value;
    }
};

Separable draw(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> number(-5, 5), positive(0.1, 10);
    Separable problem;
    const std::size_t n = 1 + random() % 12;
    for (std::size_t i = 0; i < n; ++i) {
        const double lower = number(random);
        const double upper = lower + positive(random);
        const int type = static_cast<int>(random() % 4);
        problem.add(positive(random), number(random), (type & 1) != 0 ? lower : -1e20,
                    (type & 2) != 0 ? upper : 1e20, type);
        const double inside =
            lower + (upper - lower) * std::uniform_real_distribution<>(0.05, 0.95)(random);
        problem.b += inside;  // feasible by construction
    }
    return problem;
}

TEST(SingleConstraint, RandomInstancesAgreeWithBisection) {
    for (std::uint64_t seed = 1; seed <= 600; ++seed) {
        Separable problem = draw(seed);
        ASSERT_EQ(problem.solve(), OVRELIN_SINGLE_SOLVED) << "seed " << seed;
        double sum = 0;
        for (std::size_t i = 0; i < problem.q.size(); ++i) {
            sum += problem.x[i];
            if ((problem.type[i] & 1) != 0) {
                EXPECT_GE(problem.x[i], problem.l[i]);
            }
            if ((problem.type[i] & 2) != 0) {
                EXPECT_LE(problem.x[i], problem.u[i]);
            }
        }
        EXPECT_NEAR(sum, problem.b, 1e-7 * (1 + std::fabs(problem.b))) << "seed " << seed;
        const double expected = problem.reference();
        EXPECT_NEAR(problem.objective(), expected, 1e-7 * (1 + std::fabs(expected)))
            << "seed " << seed;
        EXPECT_NEAR(problem.request.objective, expected, 1e-7 * (1 + std::fabs(expected)));
        EXPECT_GT(problem.request.iterations, 0);
        EXPECT_LE(problem.request.primalResidual, 1e-9);
        EXPECT_LE(problem.request.dualResidual, 1e-9);
        EXPECT_LE(problem.request.gap, 1e-9);
    }
}

// With q = 0 the problem is a continuous knapsack: fill the cheapest variables first.
TEST(SingleConstraint, LinearInstancesAgreeWithGreedyFilling) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        std::mt19937_64 random(seed);
        std::uniform_real_distribution<double> number(-5, 5), positive(0.1, 10);
        Separable problem;
        double room = 0;
        for (std::size_t i = 0, n = 2 + random() % 10; i < n; ++i) {
            const double lower = number(random), width = positive(random);
            problem.add(0, number(random), lower, lower + width, 3);
            problem.b += lower;
            room += width;
        }
        room *= 0.37;
        problem.b += room;
        ASSERT_EQ(problem.solve(), OVRELIN_SINGLE_SOLVED) << "seed " << seed;
        std::vector<std::size_t> order(problem.q.size());
        for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
        std::sort(order.begin(), order.end(),
                  [&](std::size_t a, std::size_t b) { return problem.c[a] < problem.c[b]; });
        double expected = 0;
        for (const std::size_t i : order) {
            const double taken = std::min(room, problem.u[i] - problem.l[i]);
            room -= taken;
            expected += problem.c[i] * (problem.l[i] + taken);
        }
        EXPECT_NEAR(problem.objective(), expected, 1e-6 * (1 + std::fabs(expected)))
            << "seed " << seed;
    }
}

// A coarse solution may lie outside its bounds until it is clipped.
TEST(SingleConstraint, CoarseSolutionsRespectTheirBounds) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        Separable problem = draw(seed);
        // far from the start the slacks lag behind the point
        for (std::size_t i = 0; i < problem.q.size(); ++i) {
            if ((problem.type[i] & 1) != 0) problem.l[i] += 1e4;
            if ((problem.type[i] & 2) != 0) problem.u[i] += 1e4;
            problem.b += 1e4;
        }
        ASSERT_EQ(problem.solve(500, 0.05), OVRELIN_SINGLE_SOLVED) << "seed " << seed;
        for (std::size_t i = 0; i < problem.q.size(); ++i) {
            if ((problem.type[i] & 1) != 0) {
                EXPECT_GE(problem.x[i], problem.l[i]) << "seed " << seed;
            }
            if ((problem.type[i] & 2) != 0) {
                EXPECT_LE(problem.x[i], problem.u[i]) << "seed " << seed;
            }
        }
    }
}

TEST(SingleConstraint, QuickExitsLeaveTheResultFieldsAlone) {
    struct Case {
        const char* name;
        std::vector<std::array<double, 5>> variables;  // q, c, l, u, boundType
        double b;
        std::int32_t result;
        std::vector<double> x;
    };
    const double none = untouched;
    const Case cases[] = {
        {"empty", {}, 0, OVRELIN_SINGLE_SOLVED, {}},
        {"empty with a right-hand side", {}, 1, OVRELIN_SINGLE_INFEASIBLE, {}},
        {"all at lower", {{1, 1, 2, 9, 3}, {1, 1, 3, 0, 1}}, 5, OVRELIN_SINGLE_SOLVED, {2, 3}},
        {"all at lower within the band",
         {{1, 1, 2, 9, 3}, {1, 1, 3, 9, 3}},
         5 - 4e-9,
         OVRELIN_SINGLE_SOLVED,
         {2, 3}},
        {"below the band",
         {{1, 1, 2, 9, 3}, {1, 1, 3, 9, 3}},
         5 - 6e-9,
         OVRELIN_SINGLE_INFEASIBLE,
         {none, none}},
        {"all at upper", {{1, 1, 0, -2, 2}, {1, 1, 0, -3, 2}}, -5, OVRELIN_SINGLE_SOLVED, {-2, -3}},
        {"above the band",
         {{1, 1, 0, -2, 2}, {1, 1, 0, -3, 2}},
         -5 + 6e-9,
         OVRELIN_SINGLE_INFEASIBLE,
         {none, none}},
        {"fixed at the right-hand side", {{1, 1, 4, 4, 3}}, 4, OVRELIN_SINGLE_SOLVED, {4}},
        {"crossing beside a free variable",
         {{1, 1, 0, 0, 0}, {1, 1, 2, 1, 3}},
         0,
         OVRELIN_SINGLE_INFEASIBLE,
         {none, none}},
        {"negative curvature before all else",
         {{-1e-300, 1, 2, 1, 3}},
         0,
         OVRELIN_SINGLE_NOT_CONVEX,
         {none}},
    };
    for (const Case& test : cases) {
        Separable problem;
        for (const auto& v : test.variables) problem.add(v[0], v[1], v[2], v[3], int(v[4]));
        problem.b = test.b;
        EXPECT_EQ(problem.solve(), test.result) << test.name;
        EXPECT_EQ(problem.x, test.x) << test.name;
        EXPECT_EQ(problem.request.iterations, static_cast<std::int32_t>(untouched)) << test.name;
        EXPECT_EQ(problem.request.primalResidual, untouched) << test.name;
        EXPECT_EQ(problem.request.objective, untouched) << test.name;
    }
}

TEST(SingleConstraint, StopsAtItsLimit) {
    for (const std::int32_t limit : {0, 1, 3}) {
        Separable problem = draw(5);
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
