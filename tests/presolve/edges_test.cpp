// The corners of the presolver that whole models rarely visit: verdicts and their culprits, columns
// that stand alone, the way back's preconditions, the direction record.

#include <gtest/gtest.h>

#include <algorithm>

#include "presolve/classify.hpp"
#include "presolve/reductions.hpp"
#include "presolve/solution.hpp"
#include "presolve_fixture.hpp"
#include "support/ov_problem.hpp"
#include "support/quiet_host.hpp"

namespace {

using namespace ovrelin;
using ovtest::absent;
using ovtest::addRow;
using ovtest::box;
using ovtest::PresolveRun;
using ovtest::SmallProblem;
using Faults = std::vector<std::string>;

// ---------------------------------------------------------------- verdicts

struct Culprit {
    const char* name;
    SmallProblem model;
    Status status;
    int row, col;
};

SmallProblem with(SmallProblem p, std::vector<double> cost, double curvature = 0) {
    p.c = std::move(cost);
    p.q[0] = curvature;
    return p;
}

std::vector<Culprit> culprits() {
    constexpr Status noPoint = Status::primalInfeasible, noEnd = Status::dualInfeasible;
    std::vector<Culprit> out = {
        {"CrossingBounds", box({0, 2}, {1, 1}), noPoint, -1, 1},
        {"LowerBeyondInfinity", box({0, 2e20}, {1, maxDouble}), noEnd, -1, 1},
        {"UpperBeyondInfinity", box({-maxDouble, 0}, {-2e20, 1}), noEnd, -1, 0},
        {"CostTowardsNoUpperBound", with(box({0, 0}, {1, absent}), {1, -1}), noEnd, -1, 1},
        {"CostTowardsNoLowerBound", box({-absent, 0}, {1, 1}), noEnd, -1, 0},
        {"ConcaveWithoutBound", with(box({0, 0}, {absent, 1}), {1, 1}, -1), noEnd, -1, 0},
    };
    struct Empty {
        const char* name;
        char sense;
        double low, high;
    };
    // x0 = 1, so that the rows end with 1 less than they ask for
    for (const Empty& e : {Empty{"EmptyEquation", 'E', 1.5, 1.5}, Empty{"EmptyLess", 'L', 0, 0.5},
                           Empty{"EmptyGreater", 'G', 1.5, 0}, Empty{"EmptyRangeAbove", 'R', 2, 3},
                           Empty{"EmptyRangeBelow", 'R', -1, 0}}) {
        out.push_back({e.name, box({1, 0}, {1, 1}), noPoint, 1, -1});
        addRow(out.back().model, 'N', -absent, absent, {1, 1});
        addRow(out.back().model, e.sense, e.low, e.high, {1, 0});
    }
    out.push_back({"RowAfterASingleton", box({-absent, 0}, {absent, 1}), noPoint, 1, -1});
    addRow(out.back().model, 'E', 4, 4, {2, 0});
    addRow(out.back().model, 'L', -absent, 1, {1, 1});
    return out;
}

TEST(Verdicts, NameTheirCulpritAndEndTheSolveWithoutAnIteration) {
    ov::Host host(ovtest::quietHost());
    ov::Solver solver(host);
    for (const Culprit& c : culprits()) {
        SCOPED_TRACE(c.name);
        PresolveRun run(c.model, ovtest::checkedOptions());
        EXPECT_EQ(run.presolve(), c.status);
        EXPECT_EQ(run.presolver->infeasibleRow, c.row);
        EXPECT_EQ(run.presolver->infeasibleCol, c.col);
        EXPECT_EQ(run.presolver->inModel, nullptr);
        run.release();
        EXPECT_EQ(run.pool.numLive(), 0);

        const ov::Result result = solver.solve(ovtest::toProblem(c.model));
        EXPECT_EQ(result.returnValue, c.status == Status::primalInfeasible
                                          ? OVRELIN_PRIMAL_INFEASIBLE
                                          : OVRELIN_DUAL_INFEASIBLE);
        EXPECT_EQ(result.iterations, 0);
        for (const double x : result.x) EXPECT_EQ(x, 0);
    }
}

TEST(Verdicts, BoundsThatCrossWithinTheToleranceFixTheColumn) {
    PresolveRun run(box({1}, {1 - 0.9e-6}), ovtest::checkedOptions());
    EXPECT_EQ(run.presolve(), Status::optimal);
    EXPECT_EQ(run.presolver->colMap[0], COLMAP_FIXED);
    EXPECT_TRUE(isOk(run.postsolve()));
    EXPECT_EQ(run.data.solPrimal[0], 1);
    ovtest::takeFaults();
}

// ---------------------------------------------------------------- columns that stand alone

/// Where cost x + diag x^2 / 2 is least: an end or the vertex, the lower end of equal ones.
double bestValue(double lower, double upper, double cost, double diag) {
    std::vector<double> candidates;
    if (lower > -absent) candidates.push_back(lower);
    if (upper < absent) candidates.push_back(upper);
    if (candidates.empty()) candidates.push_back(0);
    if (diag > 0) candidates.push_back(std::clamp(-cost / diag, lower, upper));
    const auto value = [&](double x) { return (cost + 0.5 * diag * x) * x; };
    return *std::min_element(candidates.begin(), candidates.end(),
                             [&](double a, double b) { return value(a) < value(b); });
}

TEST(EmptyColumns, TakeTheirBestValue) {
    for (const double lower : {-absent, -1.0})
        for (const double upper : {2.0, absent})
            for (const double cost : {-12.0, -4.0, 0.0, 2.0, 8.0})
                for (const double diag : {-2.0, 0.0, 4.0}) {
                    const bool endless =
                        (cost > 0 && lower <= -absent) || (cost < 0 && upper >= absent);
                    if (diag == 0 && endless) continue;
                    if (diag < 0 && (lower <= -absent || upper >= absent)) continue;
                    SCOPED_TRACE(testing::Message()
                                 << lower << " " << upper << " " << cost << " " << diag);
                    PresolveRun run(with(box({lower}, {upper}), {cost}, diag),
                                    ovtest::checkedOptions());
                    ASSERT_EQ(run.presolve(), Status::optimal);
                    EXPECT_EQ(run.presolver->colMap[0], COLMAP_EMPTY);
                    ASSERT_TRUE(isOk(run.postsolve()));
                    const IpmSolution& s = *run.inSolution;
                    const double x = bestValue(lower, upper, cost, diag), slope = cost + diag * x;
                    EXPECT_DOUBLE_EQ(s.solPrimal[0], x);
                    EXPECT_DOUBLE_EQ(s.lowerSlack[0], lower > -absent ? x - lower : 0);
                    EXPECT_DOUBLE_EQ(s.upperSlack[0], upper < absent ? upper - x : 0);
                    EXPECT_DOUBLE_EQ(s.lowerDual[0], std::max(slope, 0.0));
                    EXPECT_DOUBLE_EQ(s.upperDual[0], std::max(-slope, 0.0));
                    EXPECT_TRUE(ovtest::takeFaults().empty());
                }
}

// ---------------------------------------------------------------- rows by their senses

TEST(RowSenses, AreRaisedInTheCopyAndRefusedWhenUnknown) {
    SmallProblem p = box({0, 0}, {4, 4});
    addRow(p, 'l', -absent, 3, {1, 1});
    addRow(p, 'g', 1, absent, {1, 2});
    addRow(p, 'n', -absent, absent, {1, 1});
    addRow(p, 'L', -absent, 5, {2, 1});
    PresolveRun run(p, ovtest::checkedOptions());
    run.data.rhs = {3, 1, 0, 5};
    EXPECT_EQ(run.presolve(), Status::ok);
    EXPECT_EQ(std::string(run.model->rowSense, 3), "LGL");
    EXPECT_EQ(std::string(run.data.rowSense.data(), 4), "lgnL");
    EXPECT_EQ(run.presolver->rowMap[2], ROWMAP_FREE);
    EXPECT_TRUE(ovtest::takeFaults().empty());

    p.rowSense[3] = 'q';
    PresolveRun refused(p, ovtest::checkedOptions());
    EXPECT_EQ(refused.presolve(), Status::failed);
    EXPECT_EQ(ovtest::takeFaults(), Faults{"unknown row type q."});
    EXPECT_EQ(refused.presolver->numRemovedRow, 0);  // the sweep did not end well
}

// ---------------------------------------------------------------- which bounds may be relaxed

TEST(RelaxedBounds, AreThoseThatALiveRowImplies) {
    // x0 - x1 = 1 with x1 in [2, 3] implies x0 in [3, 4]; x2 keeps what the caller gave
    SmallProblem p = box({-absent, 2, 0}, {10, 3, 5});
    addRow(p, 'E', 1, 1, {1, -1, 0});
    addRow(p, 'G', 1, absent, {1, 0, 1});
    addRow(p, 'L', -absent, 6, {0, 1, 1});
    for (const std::int32_t type : {modelTypeLp, modelTypeQp}) {
        PresolveRun run(p, ovtest::checkedOptions(), type);
        EXPECT_EQ(run.presolve(), Status::ok);
        EXPECT_EQ(run.presolver->rowMap[1], ROWMAP_FREE);
        const std::uint8_t* flags = run.model->relaxColBound;
        ASSERT_NE(flags, nullptr);
        EXPECT_EQ(flags[0], relaxLower | relaxUpper);
        EXPECT_EQ(flags[1], 0);
        EXPECT_EQ(flags[2], relaxUpper);  // x2 <= 6 - 2
        EXPECT_EQ(markRelaxColBound(&run.instance, *run.model, run.options, run.transform,
                                    *run.presolver),
                  Status::failed);
        EXPECT_EQ(ovtest::takeFaults(),
                  Faults{"relaxColBound should not be set if control comes here."});
    }
}

// ---------------------------------------------------------------- the way in and the way back

TEST(SolutionReferences, AreChecked) {
    SmallProblem p = box({0, 0}, {4, 4});
    addRow(p, 'L', -absent, 3, {1, 1});
    PresolveRun promised(p, ovtest::checkedOptions());
    promised.options.startMode = startModeResume;  // promises a point
    EXPECT_EQ(promised.presolve(), Status::failed);
    EXPECT_EQ(ovtest::takeFaults(), Faults{"solution pointer error before IPM pre-processing"});
    struct Control {
        std::int32_t type;
        double rhs;
        const char* name;
    };
    for (const Control& c : {Control{modelTypeQp, 3, "PRECONTROL_REDUCED"},
                             Control{modelTypeLp, 3, "PRECONTROL_BOUND"},
                             Control{modelTypeLp, 6, "PRECONTROL_NONE"}}) {
        SCOPED_TRACE(c.name);
        p.rowUpper[0] = c.rhs;
        PresolveRun run(p, ovtest::checkedOptions(), c.type);
        ASSERT_EQ(run.presolve(), Status::ok);
        IpmSolution* const work = run.workSolution;
        run.workSolution = c.type == modelTypeQp ? run.inSolution : nullptr;
        EXPECT_EQ(run.postsolve(), Status::failed);
        EXPECT_EQ(ovtest::takeFaults(),
                  Faults{std::string(c.name) + " case solution pointer error"});
        run.workSolution = work;
        // A solve that has left no point gets its primal values back and nothing else.
        if (c.type != modelTypeQp) continue;
        run.model->status = Status::interrupted;
        work->solPrimal[0] = 2.5;
        EXPECT_TRUE(isOk(postsolve(&run.instance, run.model, run.options, *run.presolver, work,
                                   run.inSolution, nullptr, nullptr)));
        EXPECT_EQ(run.data.solPrimal[0], 2.5);
        EXPECT_EQ(run.data.rowActivity[0], 0);
        EXPECT_EQ(run.data.model.status, Status::interrupted);
    }
    // Range rows need slack columns that a record made before the presolve does not have.
    p.rowSense = "R";
    p.rowLower = {1};
    PresolveRun grown(p, ovtest::checkedOptions(), modelTypeLp);
    grown.options.startMode = startModeResume;
    ASSERT_TRUE(isOk(allocSolution(&grown.instance, grown.inSolution, 1, 2,
                                   grown.data.solPrimal.data(), grown.data.solDual.data())));
    EXPECT_EQ(grown.presolve(), Status::failed);
    EXPECT_EQ(ovtest::takeFaults(),
              Faults{"user input initial solution + need to extend for range constraints"});
}

TEST(DirectionRecord, IsSpreadOverTheCallersIndices) {
    SmallProblem p = box({1, 0, 0, 2}, {1, 4, 4, 3});
    addRow(p, 'E', 1, 1, {1, 0, 0, 0});
    addRow(p, 'L', -absent, 3, {0, 1, 1, 0});
    PresolveRun run(p, ovtest::checkedOptions());
    ASSERT_EQ(run.presolve(), Status::ok);
    ASSERT_EQ(run.model->numCol, 2);
    TransformRecord& transform = run.transform;
    ASSERT_TRUE(isOk(transform.direction.make(run.pool.get())));
    DirectionRecord& d = *transform.direction;
    double next = 1;
    for (PoolArray<double>* array : {&d.solPrimalDelta, &d.lowerSlackDelta, &d.upperSlackDelta,
                                     &d.lowerDualDelta, &d.upperDualDelta}) {
        ASSERT_TRUE(isOk(array->make(run.pool.get(), 4, Fill::zero)));
        (*array)[0] = next++;
        (*array)[1] = next++;
    }
    for (PoolArray<double>* array : {&d.solDualDelta, &d.ineqnSlackDelta}) {
        ASSERT_TRUE(isOk(array->make(run.pool.get(), 2, Fill::zero)));
        (*array)[0] = next++;
    }
    restorePrimalSolution(*run.presolver, run.workSolution, *run.inSolution, &transform, absent,
                          false);
    const auto expect = [](const PoolArray<double>& got, std::vector<double> want) {
        for (std::size_t k = 0; k < want.size(); ++k) EXPECT_EQ(got[k], want[k]);
    };
    expect(d.solPrimalDelta, {0, 1, 2, 0});
    expect(d.upperDualDelta, {0, 9, 10, 0});
    expect(d.solDualDelta, {0, 11});
    expect(d.ineqnSlackDelta, {0, 12});
    transform.direction.reset();
}

// ---------------------------------------------------------------- without the passes

TEST(ShortPath, CountsRowsAndKeepsTheModel) {
    SmallProblem p = box({0, 0}, {4, 4});
    addRow(p, 'L', -absent, 3, {1, 1});
    addRow(p, 'R', 1, 7, {1, 2});
    PresolveRun run(p, ovtest::checkedOptions(), modelTypeLp);
    EXPECT_TRUE(isOk(run.collect()));
    EXPECT_EQ(run.transform.numLcont, 1);
    EXPECT_EQ(run.transform.numRange, 1);
    EXPECT_EQ(run.presolver->preControl, PRECONTROL_NONE);
    EXPECT_EQ(run.inSolution, run.workSolution);
    EXPECT_EQ(run.inSolution->lowerSlack.size(), 3u);
    EXPECT_TRUE(ovtest::takeFaults().empty());

    PresolveRun bare(box({0}, {1}), ovtest::checkedOptions(), modelTypeLp);
    EXPECT_EQ(bare.collect(), Status::failed);
    EXPECT_EQ(ovtest::takeFaults().size(), 1u);
}

TEST(ShortPath, SolvesEquationsWithoutBounds) {
    SmallProblem p = box({-maxDouble, -maxDouble}, {maxDouble, maxDouble});
    p.c = {0, 0};
    addRow(p, 'E', 5, 5, {1, 2});
    addRow(p, 'E', 1, 1, {1, -2});
    PresolveRun run(p, ovtest::checkedOptions(), modelTypeLp);
    EXPECT_TRUE(isOk(run.collect()));
    EXPECT_EQ(run.presolver->preRoute, PREROUTE_SOLVED);
    EXPECT_EQ(run.model->status, Status::optimal);
    EXPECT_NEAR(run.data.solPrimal[0], 3, 1e-9);
    EXPECT_NEAR(run.data.solPrimal[1], 1, 1e-9);
}

}  // namespace
