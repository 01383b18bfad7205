// What every engine must do on one matrix: give the same bits again, count what it replaces, and
// refuse another pattern without harm.
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

TEST(Engines, AnotherPatternIsAMismatchAndHarmless) {
    const ThreadedHost host;
    std::mt19937 random(14);
    const TestMatrix analysed = withValues(random, gridPattern(13, 13), Kind::quasiDefinite);
    // As many entries, in places that the analysis knows nothing of.
    TestMatrix moved = analysed;
    for (std::int32_t& row : moved.pattern.rowIndex) row = (row * 5 + 1) % 169;
    for (const EngineCase& engine : engineCases) {
        SCOPED_TRACE(engine.name);
        LdlSolver solver;
        force(solver, engine);
        ASSERT_EQ(solver.analyse(analysed), ldl::ok);
        for (const TestPattern& other :
             {gridPattern(12, 12), diagonalPattern(169), densePattern(169)})
            EXPECT_EQ(solver.factor(withValues(random, other, Kind::definite)), ldl::mismatch)
                << other.name;
        (void)solver.factor(moved);
        ASSERT_EQ(solver.factor(analysed), ldl::ok);
        EXPECT_LT(solver.solveError(analysed), 1e-14);
    }
}

}  // namespace
