// Presolve, an exact solution of what it leaves, and the way back: the point must satisfy the
// optimality conditions of the caller's model, with every self-check on. Enumeration decides what
// was called infeasible or unbounded.

#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include "drawn_models.hpp"
#include "presolve_fixture.hpp"
#include "support/seeds.hpp"

namespace {

using namespace ovrelin;
using ovtest::PresolveRun;
using ovtest::Verdict;

struct Kind {
    const char* name;
    ovtest::Draw draw;
    std::int32_t typeModel;
    bool keepZeros;
    double tolerance;
    int count;
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class RoundTrip : public testing::TestWithParam<Kind> {
protected:
    std::map<int, int> rowStates, colStates, routes, controls;

    void noteStates(Presolver& presolver) {
        for (std::int32_t state : presolver.rowMap) ++rowStates[std::min(state, 0)];
        for (std::int32_t state : presolver.colMap) ++colStates[std::min(state, 0)];
        ++routes[presolver.preRoute];
        ++controls[presolver.preControl];
    }

    // The models are made to be reduced: a state that none of them reaches is a reduction lost.
    void expectAllReached() {
        for (const int state :
             {ROWMAP_EMPTY, ROWMAP_RANGE, ROWMAP_UPPER, ROWMAP_LOWER, ROWMAP_FIXED, ROWMAP_FREE})
            EXPECT_GT(rowStates[state], 0) << "row state " << state;
        for (const int state : {COLMAP_EMPTY, COLMAP_FIXED})
            EXPECT_GT(colStates[state], 0) << "column state " << state;
        for (const int route : {PREROUTE_NORMAL, PREROUTE_SOLVED_POST, PREROUTE_FREECOL})
            EXPECT_GT(routes[route], 0) << "route " << route;
        EXPECT_GT(controls[PRECONTROL_REDUCED], 0);
        if (GetParam().typeModel != modelTypeLp) return;
        EXPECT_GT(controls[PRECONTROL_NONE], 0);
        EXPECT_GT(controls[PRECONTROL_BOUND], 0);
    }

    // Among ties, or on the way to a contradiction, a singleton may cut into a column that is
    // closed already or that a redundant row has bounded: that is reported and changes nothing
    // else.
    void expectNoFault() {
        const ovtest::Draw& draw = GetParam().draw;
        for (const std::string& fault : ovtest::takeFaults()) {
            const bool displaced = fault.find("shall never change bound again") != fault.npos ||
                                   fault.find("FREE case should not happen") != fault.npos;
            EXPECT_TRUE((draw.ties || draw.infeasible) && displaced) << fault;
        }
    }

    void expectEnding(const ovtest::SmallProblem& small, Status status, Presolver& presolver) {
        const Verdict verdict = ovtest::solveByEnumeration(small).verdict;
        if (status == Status::primalInfeasible) {
            EXPECT_EQ(verdict, Verdict::infeasible);
            EXPECT_TRUE(presolver.infeasibleRow >= 0 || presolver.infeasibleCol >= 0);
        } else {
            ASSERT_EQ(status, Status::dualInfeasible);
            EXPECT_NE(verdict, Verdict::optimal);
            EXPECT_GE(presolver.infeasibleCol, 0);
        }
    }

    void check(const ovtest::SmallProblem& small, bool reductions, int maxPass) {
        const Kind& kind = GetParam();
        SolveOptions options = ovtest::checkedOptions();
        options.parameters.presolve.reductions = reductions;
        options.parameters.presolve.maxPass = maxPass;
        PresolveRun run(small, options, kind.typeModel, kind.keepZeros);
        const Status status = run.presolve();
        noteStates(run.presolver());
        expectNoFault();
        if (run.presolver().preRoute == PREROUTE_SOLVED) return;
        if (run.presolver().preRoute == PREROUTE_SOLVED_POST) {
            // Equations without bounds may be found to contradict by their one linear solve.
            if (status != Status::optimal && status != Status::conditionallyOptimal) {
                if (kind.draw.ties) return;
                EXPECT_NE(ovtest::solveByEnumeration(small).verdict, Verdict::optimal);
                return;
            }
        } else {
            if (!isOk(status)) return expectEnding(small, status, run.presolver());
            if (!run.solveExactly()) {
                if (kind.draw.ties) return;  // the enumeration's own tolerance may decide
                EXPECT_NE(ovtest::solveByEnumeration(small).verdict, Verdict::optimal);
                return;
            }
        }
        ASSERT_TRUE(isOk(run.postsolve()));
        expectNoFault();
        const ModelDataView got{run};
        EXPECT_LT(ovtest::kktViolation(small, got.x, got.y), kind.tolerance);
        EXPECT_NEAR(run.caller().model.objValue, small.objective(got.x), 1e-9);
        expectConsistent(small, run);
        run.release();
        EXPECT_EQ(run.liveBlocks(), 0);
    }

    struct ModelDataView {
        explicit ModelDataView(PresolveRun& run)
            : x(run.caller().solPrimal), y(run.caller().solDual) {}
        std::vector<double> x, y;
    };

    // Bound duals make up the reduced cost, slacks are those of the caller's bounds.
    void expectConsistent(const ovtest::SmallProblem& small, PresolveRun& run) {
        const IpmSolution& solution = run.solution();
        const double tolerance = 1e-5;
        for (int j = 0; j < small.numCol; ++j) {
            EXPECT_NEAR(run.model().reducedCost[j], solution.lowerDual[j] - solution.upperDual[j],
                        tolerance)
                << "column " << j;
            EXPECT_GE(solution.lowerDual[j], -tolerance);
            EXPECT_GE(solution.upperDual[j], -tolerance);
        }
    }
};

TEST_P(RoundTrip, IsOptimalInTheCallersModel) {
    const ovtest::Seeds seeds = ovtest::seeds(GetParam().count);
    for (int seed = seeds.first; seed <= seeds.last && !HasFailure(); ++seed) {
        std::mt19937_64 random(static_cast<std::uint64_t>(seed));
        const ovtest::SmallProblem small = ovtest::drawReducible(random, GetParam().draw);
        for (const bool reductions : {true, false}) {
            SCOPED_TRACE("seed " + std::to_string(seed) + (reductions ? " on" : " off"));
            check(small, reductions, 100);
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + " cut off");
        check(small, true, 1 + seed % 4);
        if (HasFailure()) ADD_FAILURE() << ovtest::describe(small);
    }
    if (!seeds.replayed()) expectAllReached();
}

constexpr ovtest::Draw quadratic{};
constexpr ovtest::Draw linear{5, 4, false};
constexpr ovtest::Draw ties{5, 4, true, true};
constexpr ovtest::Draw linearTies{5, 4, false, true};
constexpr ovtest::Draw infeasible{5, 4, true, false, true};
constexpr ovtest::Draw linearInfeasible{5, 4, false, true, true};

INSTANTIATE_TEST_SUITE_P(
    Kinds, RoundTrip,
    testing::Values(Kind{"Quadratic", quadratic, modelTypeQp, false, 1e-6, 3000},
                    Kind{"Linear", linear, modelTypeLp, false, 1e-6, 3000},
                    Kind{"EmptyQ", linear, modelTypeQp, true, 1e-6, 1500},
                    Kind{"Ties", ties, modelTypeQp, false, 1e-4, 3000},
                    Kind{"LinearTies", linearTies, modelTypeLp, false, 1e-4, 3000},
                    Kind{"Infeasible", infeasible, modelTypeQp, false, 1e-6, 1500},
                    Kind{"LinearInfeasible", linearInfeasible, modelTypeLp, false, 1e-4, 1500}),
    [](const auto& drawn) { return std::string(drawn.param.name); });

}  // namespace
