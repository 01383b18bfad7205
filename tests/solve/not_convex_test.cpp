// Quadratic terms that bend the wrong way, on every road through the driver: refused with the right
// return value and messages, cleanly interruptible, and never by mistake for another failure.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "bent_models.hpp"
#include "support/quiet_host.hpp"

namespace {

using namespace ovtest;

ov::Problem noRows(double d) {
    return toProblem(coupled(d, 2));
}

/// Equations only once a row that no point can violate has gone.
ov::Problem equationsAfterReduction(double d) {
    SmallProblem p = coupled(d, 5);
    addTurningRow(p, 'E', 2);
    addTurningRow(p, 'N', 0);
    p.lower[4] = p.upper[4] = 1;
    return toProblem(p);
}

ov::Problem diagonalOnly(double d) {
    SmallProblem p = coupled(d - 2, 3);
    p.q[1] = p.q[3] = 0;
    addTurningRow(p, 'G', 1);
    p.lower.assign(3, 0);
    return toProblem(p);
}

void maximise(ov::Problem& p) {
    p.objSense = ov::maximise;
    for (double& v : p.obj) v = -v;
    for (double& v : p.quadDiag) v = -v;
    for (double& v : p.quad.value) v = -v;
}

struct Road {
    const char* name;
    ov::Problem (*make)(double d);
};

class EveryRoad : public testing::TestWithParam<Road> {};

TEST_P(EveryRoad, RefusesWhatIsNotConvexAndOnlyThat) {
    Listener listener;
    ov::Host host(listener.options());
    ov::Solver solver(host);
    for (const bool maximised : {false, true}) {
        for (const int presolver : {-1, 0}) {
            ov::Problem bent = GetParam().make(1.5), round = GetParam().make(2.5);
            if (maximised) maximise(bent), maximise(round);
            solver.options().presolver = presolver;
            listener.ids.clear();
            listener.lines.clear();
            const ov::Result refused = solver.solve(bent);
            EXPECT_EQ(refused.returnValue, maximised ? OVRELIN_NOT_CONCAVE : OVRELIN_NOT_CONVEX);
            EXPECT_EQ(refused.status, "not_convex");
            EXPECT_EQ(refused.x, std::vector<double>(bent.numCol(), 0.0));
            EXPECT_EQ(listener.count(maximised ? OVRELIN_MSG_NOT_CONCAVE : OVRELIN_MSG_NOT_CONVEX),
                      1);
            EXPECT_EQ(listener.count(OVRELIN_MSG_CONVEXITY_ADVICE), 1);
            EXPECT_EQ(listener.count(OVRELIN_MSG_OPTIMAL), 0);
            const std::string value = maximised ? "Largest eigenvalue of the quadratic term: 0.5"
                                                : "Smallest eigenvalue of the quadratic term: -0.5";
            EXPECT_EQ(std::count(listener.lines.begin(), listener.lines.end(), value), 1);
            EXPECT_TRUE(solver.solve(round).isSolved());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Driver, EveryRoad,
                         testing::Values(Road{"Iteration", withInequality},
                                         Road{"FreeEquations", freeEquations},
                                         Road{"NoRows", noRows},
                                         Road{"EquationsAfterReduction", equationsAfterReduction},
                                         Road{"Diagonal", diagonalOnly}, Road{"Chain", longChain}),
                         [](const auto& drawn) { return std::string(drawn.param.name); });

TEST(NotConvex, TheThresholdHoldsThroughTheModule) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    for (const bool maximised : {false, true}) {
        for (const auto& [smallest, convex] : {std::pair{-5e-5, true}, {-2e-4, false}}) {
            ov::Problem p = withInequality(2 + smallest);
            std::fill(p.upper.begin(), p.upper.end(), 5.0);
            if (maximised) maximise(p);
            const int value = solver.solve(p).returnValue;
            EXPECT_EQ(value == OVRELIN_NOT_CONVEX || value == OVRELIN_NOT_CONCAVE, !convex)
                << smallest << ' ' << value;
        }
    }
}

}  // namespace
