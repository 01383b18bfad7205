// Quadratic terms that bend the wrong way, on every road through the driver: refused with the right
// return value and messages, cleanly interruptible, and never by mistake for another failure.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "support/models.hpp"
#include "support/quiet_host.hpp"

namespace {

/// min x'Qx / 2 with [d 2; 2 d] on the first two columns: eigenvalues d - 2 and d + 2.
ov::Problem coupled(double d, std::size_t numCol) {
    ov::Problem p;
    p.obj.assign(numCol, 1.0);
    p.quadDiag.assign(numCol, 3.0);
    p.quadDiag[0] = p.quadDiag[1] = d;
    p.quad.begin.assign(numCol + 1, 1);
    p.quad.begin[0] = 0;
    p.quad.index = {1};
    p.quad.value = {2};
    p.lower.assign(numCol, -1e20);
    p.upper.assign(numCol, 1e20);
    p.matrix.begin.assign(numCol + 1, 0);
    return p;
}

void addRow(ov::Problem& p, char sense, double rhs) {
    const std::size_t n = p.numCol(), row = p.rowSense.size();
    ov::SparseMatrix wider;
    wider.begin.push_back(0);
    for (std::size_t j = 0; j < n; ++j) {
        const auto end = static_cast<std::size_t>(p.matrix.begin[j + 1]);
        for (auto k = static_cast<std::size_t>(p.matrix.begin[j]); k < end; ++k) {
            wider.index.push_back(p.matrix.index[k]);
            wider.value.push_back(p.matrix.value[k]);
        }
        wider.index.push_back(static_cast<std::int32_t>(row));
        wider.value.push_back(1.0 + static_cast<double>((row + j) % 3));
        wider.begin.push_back(static_cast<std::int32_t>(wider.index.size()));
    }
    p.matrix = wider;
    p.rowSense.push_back(sense);
    p.rhs.push_back(rhs);
}

ov::Problem withInequality(double d) {
    ov::Problem p = coupled(d, 3);
    addRow(p, 'G', -4);
    addRow(p, 'L', 9);
    std::fill(p.lower.begin(), p.lower.end(), -5.0);
    return p;
}

/// Free columns and equations only: one linear system gives the point where the gradient vanishes.
ov::Problem freeEquations(double d) {
    ov::Problem p = coupled(d, 4);
    addRow(p, 'E', 2);
    return p;
}

ov::Problem noRows(double d) {
    return coupled(d, 2);
}

/// Equations only once a row that no point can violate has gone.
ov::Problem equationsAfterReduction(double d) {
    ov::Problem p = coupled(d, 5);
    addRow(p, 'E', 2);
    addRow(p, 'N', 0);
    p.lower[4] = p.upper[4] = 1;
    return p;
}

ov::Problem diagonalOnly(double d) {
    ov::Problem p = coupled(d - 2, 3);
    p.quad = {{0, 0, 0, 0}, {}, {}};
    addRow(p, 'G', 1);
    std::fill(p.lower.begin(), p.lower.end(), 0.0);
    return p;
}

/// A chain of many columns, so that the eigenvalue solver iterates: the smallest eigenvalue is d
/// - 2.
ov::Problem longChain(double d) {
    ov::Problem p;
    const std::size_t n = 120;
    for (std::size_t j = 0; j < n; ++j) {
        p.quadDiag.push_back(d - 2 + 2 * std::cos(std::numbers::pi / (n + 1.0)));
        p.quad.begin.push_back(static_cast<std::int32_t>(j));
        if (j + 1 < n) p.quad.index.push_back(static_cast<std::int32_t>(j) + 1);
        if (j + 1 < n) p.quad.value.push_back(-1);
    }
    p.quad.begin.push_back(static_cast<std::int32_t>(n) - 1);
    p.obj.assign(n, 1.0);
    p.lower.assign(n, -3.0);
    p.upper.assign(n, 1e20);
    p.matrix.begin.assign(n + 1, 0);
    addRow(p, 'G', 1);
    return p;
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

struct Said {
    std::vector<std::uint32_t> ids;
    std::string eigenvalue;

    ov::HostOptions options() {
        ov::HostOptions out = ovtest::quietHost();
        out.output = [this](const ov::Line& line) {
            if (line.messageId != 0) ids.push_back(line.messageId);
            if (line.text.find("eigenvalue") != std::string_view::npos) eigenvalue = line.text;
        };
        return out;
    }
    [[nodiscard]] bool said(std::uint32_t id) const {
        return std::count(ids.begin(), ids.end(), id) == 1;
    }
};

TEST_P(EveryRoad, RefusesWhatIsNotConvexAndOnlyThat) {
    Said said;
    ov::Host host(said.options());
    ov::Solver solver(host);
    for (const bool maximised : {false, true}) {
        for (const int presolver : {-1, 0}) {
            ov::Problem bent = GetParam().make(1.5), round = GetParam().make(2.5);
            if (maximised) maximise(bent), maximise(round);
            solver.options().presolver = presolver;
            said.ids.clear();
            said.eigenvalue.clear();
            const ov::Result refused = solver.solve(bent);
            EXPECT_EQ(refused.returnValue, maximised ? OVRELIN_NOT_CONCAVE : OVRELIN_NOT_CONVEX);
            EXPECT_EQ(refused.status, "not_convex");
            EXPECT_EQ(refused.x, std::vector<double>(bent.numCol(), 0.0));
            EXPECT_TRUE(said.said(maximised ? OVRELIN_MSG_NOT_CONCAVE : OVRELIN_MSG_NOT_CONVEX));
            EXPECT_TRUE(said.said(OVRELIN_MSG_CONVEXITY_ADVICE));
            EXPECT_FALSE(said.said(OVRELIN_MSG_OPTIMAL));
            const std::string value = maximised ? "Largest eigenvalue of the quadratic term: 0.5"
                                                : "Smallest eigenvalue of the quadratic term: -0.5";
            EXPECT_EQ(said.eigenvalue, value);
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

class RefusalSweep : public testing::TestWithParam<Road> {
protected:
    ov::Host host{ovtest::quietHost()};
    ov::Solver solver{host};
    ov::Problem problem = GetParam().make(1.9997);  // near the edge: a long search
};

TEST_P(RefusalSweep, EveryRefusedAllocationEndsAsOutOfMemory) {
    ASSERT_EQ(solver.solve(problem).returnValue, OVRELIN_NOT_CONVEX);
    const ov::MemoryCounters before = host.memory();
    ASSERT_EQ(solver.solve(problem).returnValue, OVRELIN_NOT_CONVEX);
    const std::uint64_t count = host.memory().allocations - before.allocations;
    ASSERT_GT(count, 10u);
    for (std::uint64_t k = 1; k <= count; ++k) {
        host.failAllocation(k);
        EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_OUT_OF_MEMORY) << k;
        host.failAllocation(0);
        EXPECT_EQ(host.memory().liveBlocks, before.liveBlocks) << k;
        EXPECT_EQ(host.memory().livePools, before.livePools) << k;
    }
    EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_NOT_CONVEX);
    EXPECT_EQ(host.memory().leakedBlocks, 0u);
}

TEST_P(RefusalSweep, EveryBreakAndEveryRaisedFlagInterrupts) {
    int polls = 0;
    solver.setBreak([&] { return ++polls, false; });
    ASSERT_EQ(solver.solve(problem).returnValue, OVRELIN_NOT_CONVEX);
    const int count = polls;
    const std::uint64_t live = host.memory().liveBlocks;
    for (int k = 1; k <= count; k += 1 + count / 100) {
        for (const bool byFlag : {false, true}) {
            int seen = 0;
            solver.setBreak([&] {
                if (++seen != k) return false;
                if (byFlag) host.raiseStop();
                return !byFlag;
            });
            const int value = solver.solve(problem).returnValue;
            host.clearStop();
            // Behind the last question there is nothing left that the flag could stop.
            EXPECT_TRUE(value == OVRELIN_INTERRUPTED || (byFlag && k == count))
                << k << " of " << count << ": " << value;
            EXPECT_EQ(host.memory().liveBlocks, live);
        }
    }
    solver.setBreak({});
    EXPECT_EQ(solver.solve(problem).returnValue, OVRELIN_NOT_CONVEX);
}

INSTANTIATE_TEST_SUITE_P(Driver, RefusalSweep,
                         testing::Values(Road{"Iteration", withInequality},
                                         Road{"FreeEquations", freeEquations},
                                         Road{"Chain", longChain}),
                         [](const auto& drawn) { return std::string(drawn.param.name); });

}  // namespace
