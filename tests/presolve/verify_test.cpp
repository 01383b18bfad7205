// The self-checks of the presolver must find what they are there to find: each line breaks one
// invariant of a record that has just passed them all.

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "presolve/passes.hpp"
#include "presolve/reductions.hpp"
#include "presolve_fixture.hpp"
#include "verify/debug_random.hpp"
#include "verify/verify_presolve.hpp"
#include "verify/verify_sparse.hpp"

namespace {

using namespace ovrelin;
using ovtest::absent;

/// Row states after the passes: LOWER, RANGE, FIXED, EMPTY, FREE and three live rows.
///   x0 fixed, x1 >= 1 from row 0, x2 in [0, 2] from row 1, x3 = 4 from row 2, x4 in no row, x5
///   free
ovtest::SmallProblem callersModel() {
    ovtest::SmallProblem p = ovtest::box({2, 0, -5, 0, 0, -7}, {2, 9, 9, 9, 3, 8});
    ovtest::addRow(p, 'G', 1, absent, {0, 1, 0, 0, 0, 0});
    ovtest::addRow(p, 'R', 0, 2, {0, 0, 1, 0, 0, 0});
    ovtest::addRow(p, 'E', 4, 4, {0, 0, 0, 1, 0, 0});
    ovtest::addRow(p, 'L', -absent, 20, {2, 0, 0, 0, 0, 0});
    ovtest::addRow(p, 'N', -absent, absent, {0, 1, 1, 1, 0, 0});
    ovtest::addRow(p, 'E', 3, 3, {0, 1, 1, 0, 0, 0});
    ovtest::addRow(p, 'E', 5, 5, {0, 1, 0, 0, 0, 1});
    ovtest::addRow(p, 'L', -absent, 9, {1, 0, 2, 0, 0, 1});
    return p;
}

/// A record whose passes have ended.
struct Passed : ovtest::PresolveRun {
    explicit Passed(std::int32_t maxPass = 100)
        : PresolveRun(callersModel(), ovtest::checkedOptions(), modelTypeLp) {
        options.parameters.presolve.maxPass = maxPass;
        EXPECT_TRUE(isOk(makeByHand()));
        EXPECT_TRUE(isOk(removeFreeRows(&instance, data.model, *presolver)));
        EXPECT_TRUE(isOk(runPasses(&instance, data.model, options, *presolver, nullptr)));
        assignReducedIndex(*presolver);
        EXPECT_TRUE(isOk(verify()));
        ovtest::takeFaults();
    }
    Status verify() { return VerifyPresolveStructure(&instance, options, data.model, *presolver); }
};

TEST(Checks, FindEveryBrokenInvariant) {
    struct Fault {
        const char* name;
        std::function<void(Presolver&)> breakIt;
    };
    const Fault faults[] = {
        {"a row still to be looked at", [](Presolver& p) { p.rowProcessed[3] = 0; }},
        {"a column still to be looked at", [](Presolver& p) { p.colProcessed[1] = 0; }},
        {"the count of removed rows", [](Presolver& p) { ++p.numRemovedRow; }},
        {"the count of removed columns", [](Presolver& p) { --p.numRemovedCol; }},
        {"the count of removed elements", [](Presolver& p) { ++p.numRemovedElement; }},
        {"a wider lower bound", [](Presolver& p) { p.lower[1] = -1; }},
        {"a wider upper bound", [](Presolver& p) { p.upper[5] = 9; }},
        {"a fixed column that is open", [](Presolver& p) { p.upper[0] = 2.5; }},
        {"a live column that is fixed", [](Presolver& p) { p.lower[5] = p.upper[5]; }},
        {"an empty column that has elements", [](Presolver& p) { p.columns.length[4] = 1; }},
        {"a live column without elements", [](Presolver& p) { p.columns.length[5] = 0; }},
        {"a bound from nowhere", [](Presolver& p) { p.lbMap[1] = -1; }},
        {"a bound from a row that does not exist", [](Presolver& p) { p.ubMap[1] = 8; }},
        {"a bound from a row without the column", [](Presolver& p) { p.lbMap[1] = 1; }},
        {"a bound from a row of the other side", [](Presolver& p) { p.ubMap[1] = 0; }},
        {"a bound that its row does not define", [](Presolver& p) { p.rowMap[0] = ROWMAP_UPPER; }},
        {"a range state on an inequality", [](Presolver& p) { p.rowMap[0] = ROWMAP_RANGE; }},
        {"a fixing row with an open column", [](Presolver& p) { p.rowMap[0] = ROWMAP_FIXED; }},
        {"an empty row with an open column", [](Presolver& p) { p.rowMap[5] = ROWMAP_EMPTY; }},
        {"a live row without elements", [](Presolver& p) { p.rows.length[5] = 0; }},
        {"a live row with one element", [](Presolver& p) { p.rows.length[5] = 1; }},
        {"a live row of no sense", [](Presolver& p) { p.rowSense[5] = 'N'; }},
        {"a removed column in a live row", [](Presolver& p) { p.rows.index[p.rows.begin[5]] = 0; }},
        {"an index out of range", [](Presolver& p) { p.columns.index[p.columns.begin[5]] = 8; }},
        {"an index twice",
         [](Presolver& p) {
             p.columns.index[p.columns.begin[5]] = p.columns.index[p.columns.begin[5] + 1];
         }},
        {"more post-determined than removed columns", [](Presolver& p) { p.numPostdet = 7; }},
        {"a numbering with a gap", [](Presolver& p) { ++p.rowMap[6]; }},
    };
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        Passed run;
        fault.breakIt(*run.presolver);
        EXPECT_EQ(run.verify(), Status::failed);
        EXPECT_FALSE(ovtest::takeFaults().empty());
        run.instance.logSink = nullptr;
        EXPECT_EQ(run.verify(), Status::failed);
    }
}

// A pass limit cuts the reductions off: what is left to do is no fault then.
TEST(Checks, AcceptPassesThatWereCutOff) {
    EXPECT_EQ(Passed(1).presolver->numPass, 1);
}

TEST(Checks, CompareTheReducedModelWithTheCallers) {
    ovtest::PresolveRun run(callersModel(), ovtest::checkedOptions());
    ASSERT_EQ(run.presolve(), Status::ok);
    const auto verify = [&] {
        return VerifyPresolveValue(&run.instance, run.options, *run.model, *run.presolver);
    };
    ASSERT_TRUE(isOk(verify()));
    for (double* value : {&run.model->rhs[0], &run.model->matValue[0], &run.model->lower[0],
                          &run.model->upper[0], &run.model->obj[0]}) {
        const double kept = std::exchange(*value, *value + 1);
        EXPECT_EQ(verify(), Status::failed);
        *value = kept;
    }
    EXPECT_TRUE(isOk(verify()));
    run.options.debugLevel = 2;
    run.model->rhs[0] += 1;
    EXPECT_TRUE(isOk(verify()));  // below its level it looks at nothing
    ovtest::takeFaults();
}

TEST(Checks, FindStateThatADisabledPresolverMustNotHave) {
    Passed run;
    const auto verify = [&](const Presolver& p, int debugLevel) {
        return VerifyPresolveDisabled(&run.instance, debugLevel, p);
    };
    EXPECT_EQ(verify(*run.presolver, 1), Status::failed);
    PoolObject<Presolver> p;
    ASSERT_TRUE(isOk(p.make(run.pool.get())));
    EXPECT_TRUE(isOk(verify(*p, 1)));
    p->numRemovedRow = 1;
    EXPECT_EQ(verify(*p, 1), Status::failed);
    EXPECT_TRUE(isOk(verify(*p, 0)));
    ovtest::takeFaults();
}

TEST(Checks, CompareBothOrdersOfAMatrix) {
    ovtest::PresolveRun run(callersModel(), ovtest::checkedOptions(), modelTypeLp);
    ASSERT_TRUE(isOk(run.makeByHand()));
    Presolver& p = *run.presolver;
    const auto verify = [&] { return VerifyRowMatrix(&run.instance, 1, p.columns, p.rows); };
    ASSERT_TRUE(isOk(verify()));
    p.rows.value[2] += 1;
    EXPECT_EQ(verify(), Status::failed);
    p.rows.value[2] -= 1;
    --p.rows.length[4];
    EXPECT_EQ(verify(), Status::failed);
    ovtest::takeFaults();
}

// Lehmer's generator, by its definition in exact arithmetic.
TEST(DebugRandom, FollowsItsRecurrence) {
    std::int32_t seed = 12345;
    std::int64_t expected = seed;
    for (int k = 0; k < 1000; ++k) {
        const double value = debugRandom(seed);
        expected = expected * 397204094 % 2147483647;
        ASSERT_EQ(seed, expected);
        ASSERT_EQ(value, static_cast<double>(expected) / 2147483647.0);
    }
}

}  // namespace
