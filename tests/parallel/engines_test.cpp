// What every engine must do on one matrix: give the same bits again, and count what it replaces.
#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

TEST(Engines, GiveTheSameBitsInEveryRun) {
    const ThreadedHost host;
    std::mt19937 random(12);
    for (const EngineCase& engine : engineCases)
        for (const Kind kind : {Kind::definite, Kind::saddle, Kind::indefinite}) {
            // Updates come in the order in which they are ready.
            if (engine.schedulingMode == 0 && engine.numThreads > 1) continue;
            SCOPED_TRACE(engine.name);
            const TestMatrix matrix = withValues(random, gridPattern(26, 24), kind);
            const Array<double> b = randomVector(random, matrix.n());
            Array<double> first;
            for (int trial = 0; trial < 7; ++trial) {
                LdlSolver solver;
                force(solver, engine);
                ASSERT_EQ(solver.analyse(matrix), ldl::ok);
                for (int repeat = 0; repeat <= trial % 2; ++repeat)
                    ASSERT_EQ(solver.factor(matrix), ldl::ok);
                Array<double> x = b;
                (void)solver.solve(matrix, x);
                if (trial == 0) first = x;
                ASSERT_EQ(x, first);
            }
        }
}

TEST(Engines, ReplaceASmallPivotAndSayHowMany) {
    const ThreadedHost host;
    std::mt19937 random(13);
    TestMatrix matrix = withValues(random, gridPattern(15, 14), Kind::definite);
    matrix.rewrite([](auto i, auto j, double v) { return i % 70 == 3 || j % 70 == 3 ? 0 : v; });
    for (const EngineCase& engine : engineCases) {
        LdlSolver solver;
        force(solver, engine);
        ASSERT_EQ(solver.analyse(matrix), ldl::ok);
        for (int repeat = 0; repeat < 3; ++repeat) {
            ASSERT_EQ(solver.factor(matrix), ldl::ok);
            EXPECT_EQ(solver.symbolic->numPerturbed, 3) << engine.name;
        }
    }
}

}  // namespace
