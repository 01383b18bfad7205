// Every engine, every order and both matchings against LAPACK on thousands of small matrices.
#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"
#include "sparse/numeric/root_sum.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

/// How many variants met what only some do.
struct Tally {
    int dissected = 0;
    int severalStrips = 0;  // of a root sum
};

bool hasLongSum(const ovrelin::LdlSymbolic& symbolic) {
    const ovrelin::TilePlan& plan = symbolic.tiles;
    for (std::int32_t i = 0; i < plan.numLeaves; ++i) {
        const std::int32_t root = plan.leafList[i].super;
        const std::int64_t below =
            symbolic.rowBegin[root + 1] - symbolic.rowBegin[root] -
            (symbolic.superFirstCol[root + 1] - symbolic.superFirstCol[root]);
        if (plan.leafList[i].sumBegin >= 0 && below > ovrelin::RootSum::stripColumns) return true;
    }
    return false;
}

/// Numbers without a common divisor: 408 variants in a row are all of them.
void checkVariant(const Judged& judged, int variant, Tally& tally) {
    EngineCase engine = engineCases[variant % 17];
    if (engine.tileSize > 0) engine.tileSize = 8 + variant % 41;
    const int method = variant % 4 - 1, postPass = variant / 4 % 2, pairs = variant % 3;
    SCOPED_TRACE(testing::Message() << engine.name << " tile " << engine.tileSize << " order "
                                    << method << " pass " << postPass << " pairs " << pairs);
    LdlSolver solver{{ldl::optOrderingMethod, method},
                     {ldl::optOrderingPostPass, postPass},
                     {ldl::optMatchingMode, pairs == 1 ? 1 : 0},
                     {ldl::optBlockMatchingMode, pairs == 2 ? 1 : 0},
                     {ldl::optMatchingScale, variant % 2},
                     {ldl::optFirstBlockSize, judged.matrix.n() / 2}};
    force(solver, engine);
    const int code = solver.analyse(judged.matrix);
    if (pairs > 0 && code == ldl::noMatching) return;
    ASSERT_EQ(code, ldl::ok);
    tally.dissected += solver.handle->orderingMethod == ldl::methodDissection ? 1 : 0;
    tally.severalStrips += hasLongSum(*solver.symbolic) ? 1 : 0;
    expectLikeLapack(solver, judged);
}

void checkAsItComes(const Judged& judged) {
    LdlSolver solver;
    ASSERT_EQ(solver.analyse(judged.matrix), ldl::ok);
    expectLikeLapack(solver, judged);
}

TEST(AgainstLapack, RandomPatterns) {
    const ThreadedHost host;
    std::mt19937 random(20);
    int numRegular = 0;
    Tally tally;
    for (int trial = 0; trial < 3600; ++trial) {
        const Kind kind = allKinds[trial % 6];
        SCOPED_TRACE(testing::Message() << "trial " << trial << " kind " << trial % 6);
        const TestPattern pattern = randomPattern(random, trial / 6 % 10 == 0 ? 120 : 24);
        const Judged judged = judge(random, withValues(random, pattern, kind));
        numRegular += judged.condition >= 1e-10 ? 1 : 0;
        checkAsItComes(judged);
        checkVariant(judged, trial, tally);
        if (HasFatalFailure()) return;
    }
    EXPECT_GT(numRegular, 600);
}

TEST(AgainstLapack, ShapesThatStressTheSupernodes) {
    const ThreadedHost host;
    std::mt19937 random(70);
    const TestPattern patterns[] = {densePattern(1),
                                    densePattern(2),
                                    densePattern(5),
                                    densePattern(33),
                                    densePattern(97),
                                    densePattern(200),
                                    tridiagonalPattern(60),
                                    arrowPattern(80),
                                    gridPattern(12, 9),
                                    gridPattern(18, 14),
                                    cubePattern(7, 6, 6),
                                    diagonalPattern(30),
                                    randomTree(random, 100),
                                    cliquePairPattern(120, 30, 90),
                                    starOfCliquesPattern(12, 3, 40),
                                    starOfCliquesPattern(6, 20, 80),
                                    starOfCliquesPattern(40, 1, 25),
                                    bushesOnHubPattern(4, 30, 126)};
    int variant = 0;
    Tally tally;
    for (const TestPattern& pattern : patterns)
        for (const Kind kind : allKinds) {
            SCOPED_TRACE(testing::Message() << pattern.name << " kind " << static_cast<int>(kind));
            const Judged judged = judge(random, withValues(random, pattern, kind));
            checkAsItComes(judged);
            // What can be dissected, by every method, with and without the pass and the pairs.
            for (int k = pattern.n > 250 ? 24 : 4; k > 0; --k)
                checkVariant(judged, variant++, tally);
            if (HasFatalFailure()) return;
        }
    EXPECT_GT(tally.dissected, 40);
    EXPECT_GT(tally.severalStrips, 20);
}

}  // namespace
