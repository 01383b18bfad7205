// The decisions of the analysis about threads and tiles, and the plan that the engines follow.
#include <gtest/gtest.h>

#include <set>

#include "parallel/engine_cases.hpp"
#include "parallel/threaded_host.hpp"
#include "sparse/symbolic/thread_decision.hpp"

namespace {

using namespace ovtest;
using ovrelin::LdlSymbolic;
using ovrelin::TilePlan;
namespace ldl = ovrelin::ldl;

struct DecisionCase {
    double ops, entries;
    std::int32_t firstBlock;  // of 1000
    std::int32_t matrixClass, schedulingMode, wanted;
    std::int32_t threads;  // 0: sequential
};

TEST(ThreadDecision, FollowsItsTables) {
    const DecisionCase cases[] = {
        // One thread: tiles only where there are many operations an entry.
        {8.9e9, 1e6, 500, 1, 1, 1, 0},
        {8.901e9, 1e6, 500, 1, 1, 1, 1},
        {1e9, 0, 500, 1, 1, 1, 0},
        // The static engine.
        {3e8, 1e7, 500, 1, 1, 8, 0},
        {3.01e8, 1e7, 500, 1, 1, 8, 4},
        {3.01e8, 1e7, 500, 1, 1, 2, 2},
        {1.06e10, 1e7, 500, 1, 1, 32, 8},
        {2.1e11, 1e8, 500, 1, 1, 32, 16},
        {2.6e9, 1e5, 500, 1, 1, 64, 32},
        // The dynamic one.
        {2.3e8, 1e7, 500, 1, 0, 8, 0},
        {2.31e8, 1e7, 500, 1, 0, 8, 3},
        {2.46e8, 1e7, 500, 1, 0, 16, 8},
        {2.4e9, 1e7, 500, 1, 0, 32, 16},
        {1.1e10, 1e7, 500, 1, 0, 64, 32},
        // A leading block that is nearly everything; without one it counts as half.
        {1e11, 1e7, 995, 1, 1, 8, 0},
        {1e11, 1e7, 994, 1, 1, 8, 8},
        {1e11, 1e7, 0, 1, 1, 8, 8},
        // Grids.
        {8e7, 1e7, 999, 3, 0, 8, 0},
        {8.1e7, 1e7, 999, 3, 0, 8, 2},
        {3e8, 1e7, 999, 3, 0, 8, 4},
        {4e9, 1e7, 999, 3, 0, 40, 32},
        {2.7e8, 1e7, 999, 3, 1, 8, 0},
        {7e8, 1e7, 999, 3, 1, 8, 4},
        {1.5e9, 1e5, 999, 3, 1, 64, 32},
    };
    for (const DecisionCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.ops << ' ' << c.matrixClass << ' ' << c.wanted);
        const ovrelin::ThreadDecision decision = ovrelin::decideThreads(
            {c.ops, c.entries, 1000, c.firstBlock, c.matrixClass, c.schedulingMode, c.wanted});
        EXPECT_EQ(decision.onTiles, c.threads > 0);
        EXPECT_EQ(decision.numThreads, std::max(1, c.threads));
    }
}

TEST(ThreadDecision, TilesAreMultiplesOfSixteenThatGrowWithTheFronts) {
    for (const std::int32_t scheduling : {0, 1})
        for (std::int32_t threads = 1; threads <= 32; ++threads) {
            std::int32_t before = 0;
            for (const std::int32_t key : {1, 800, 1300, 2500, 5000, 9000, 20000}) {
                const std::int32_t size = ovrelin::chooseTileSize(threads, scheduling, 1, key, key);
                EXPECT_EQ(size % 16, 0);
                EXPECT_GE(size, std::max(64, before));
                EXPECT_LE(size, 448);
                before = size;
            }
        }
}

void checkStorage(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        std::int64_t columns = symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s];
        std::int64_t rows = symbolic.rowBegin[s + 1] - symbolic.rowBegin[s];
        std::int64_t size = 0;
        std::int32_t block = plan.superFirstBlock[s];
        for (; columns > 0; columns -= symbolic.tileSize, rows -= symbolic.tileSize, ++block) {
            EXPECT_EQ(plan.blockBegin[block], symbolic.valueBegin[s] + size);
            EXPECT_EQ(plan.blockRowEnd[block] - plan.blockRowBegin[block], rows);
            size += std::min<std::int64_t>(columns, symbolic.tileSize) * rows;
            const std::int32_t last = static_cast<std::int32_t>(rows) - 1;
            EXPECT_EQ(ovrelin::tileOfRow(plan, block, last) + 1,
                      plan.tileIndex[block + 1] - plan.tileIndex[block]);
        }
        EXPECT_EQ(block, plan.superFirstBlock[s + 1]);
        EXPECT_EQ(symbolic.valueBegin[s + 1] - symbolic.valueBegin[s], size);
    }
    EXPECT_EQ(plan.superFirstBlock[symbolic.numSuper], plan.numBlocks);
}

/// Subtrees and the top hold every block column once, and no subtree sends anything to another.
void checkSubtrees(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    std::vector<std::int32_t> item(static_cast<std::size_t>(plan.numBlocks), -1);
    for (std::int32_t i = 0; i < plan.numLeaves; ++i) {
        EXPECT_GE(plan.leafList[i].owner, 0);
        EXPECT_LT(plan.leafList[i].owner, symbolic.numThreads);
        for (std::int32_t b = plan.leafList[i].firstBlock; b < plan.leafList[i].endBlock; ++b) {
            EXPECT_EQ(item[static_cast<std::size_t>(b)], -1);
            item[static_cast<std::size_t>(b)] = i;
        }
    }
    for (std::int32_t b = 0; b < plan.numBlocks; ++b) {
        const std::int32_t own = item[static_cast<std::size_t>(b)];
        const std::int32_t super = symbolic.colToSuper[plan.blockFirstCol[b]];
        EXPECT_EQ(own == -1, plan.inTop[super] != 0);
        for (std::int64_t e = plan.blockRowBegin[b]; e < plan.blockRowEnd[b]; ++e) {
            const std::int32_t target =
                item[static_cast<std::size_t>(plan.colToBlock[symbolic.rowList[e]])];
            EXPECT_TRUE(target == own || target == -1);
        }
    }
}

/// Every tile of the top stands once in the list, behind the diagonal of its column and behind all
/// tiles of its sources; and every update of the top is in the sources.
void checkOrder(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    std::set<std::pair<std::int32_t, std::int32_t>> done;
    std::set<std::int32_t> finished;
    for (std::int32_t t = 0; t < plan.numTopTiles; ++t) {
        const ovrelin::TileRef ref = plan.topTiles[t];
        if (ref.row > 0) {
            EXPECT_TRUE(done.count({ref.block, 0}));
            EXPECT_GT(symbolic.numThreads, 3);  // a pair shares no block column
        }
        const std::int32_t owner = plan.tileOwner[plan.tileIndex[ref.block] + ref.row];
        EXPECT_TRUE(owner >= 0 && owner < symbolic.numThreads);
        std::int64_t arriving = 0;
        for (std::int64_t e = plan.depBegin[ref.block]; e < plan.depBegin[ref.block + 1]; ++e) {
            const ovrelin::TileSource& source = plan.tileDeps[e];
            const std::int32_t super = symbolic.colToSuper[plan.blockFirstCol[source.block]];
            EXPECT_TRUE(plan.inTop[super] == 0 || finished.count(source.block));
            arriving += source.end - source.begin;
        }
        std::int64_t expected = 0;
        for (std::int32_t b = 0; b < ref.block; ++b) {
            const std::int64_t k = plan.blockFirstCol[b + 1] - plan.blockFirstCol[b];
            for (std::int64_t e = plan.blockRowBegin[b] + k; e < plan.blockRowEnd[b]; ++e)
                expected += plan.colToBlock[symbolic.rowList[e]] == ref.block ? 1 : 0;
        }
        EXPECT_EQ(arriving, expected);
        EXPECT_TRUE(done.insert({ref.block, ref.row}).second);
        if (ref.row + 1 == plan.tileIndex[ref.block + 1] - plan.tileIndex[ref.block])
            finished.insert(ref.block);
    }
}

TEST(TilePlan, CoversTheFactorInAnOrderThatNobodyWaitsForEverIn) {
    const ThreadedHost host;
    std::mt19937 random(41);
    std::vector<TestPattern> patterns = {densePattern(70), gridPattern(16, 15), diagonalPattern(9),
                                         tridiagonalPattern(40), arrowPattern(50)};
    for (int trial = 0; trial < 12; ++trial) patterns.push_back(randomPattern(random, 90));
    for (const TestPattern& pattern : patterns)
        for (const std::int32_t threads : {1, 2, 5})
            for (const std::int32_t tile : {8, 32}) {
                SCOPED_TRACE(testing::Message() << pattern.name << ' ' << threads << ' ' << tile);
                LdlSolver solver;
                force(solver, {"", 1, threads, tile});
                ASSERT_EQ(solver.analyse(withValues(random, pattern, Kind::definite)), ldl::ok);
                EXPECT_EQ(solver.symbolic->parallelMode, 1);
                EXPECT_EQ(solver.symbolic->tileSize, tile);
                EXPECT_EQ(solver.handle->numThreads, threads);
                EXPECT_EQ(solver.numeric->panelWidth, tile);
                checkStorage(*solver.symbolic);
                checkSubtrees(*solver.symbolic);
                checkOrder(*solver.symbolic);
            }
}

TEST(TilePlan, AChainOfNarrowFrontsIsNotShared) {
    const ThreadedHost host;
    // A band: under minimum degree each front waits for the one before.
    TestPattern band{"band", 20000, {0}, {}};
    for (std::int32_t j = 0; j < band.n; ++j) {
        for (std::int32_t i = std::max(j - 60, 0); i < std::min(j + 61, band.n); ++i)
            band.rowIndex.push_back(i);
        band.colBegin.push_back(static_cast<std::int32_t>(band.rowIndex.size()));
    }
    LdlSolver solver;
    for (const auto& [option, value] : {std::pair{ldl::optNumThreads, 2},
                                        {ldl::optMatrixClass, 3},
                                        {ldl::optSchedulingMode, 0},
                                        {ldl::optOrderingMethod, ldl::methodMinDegree}})
        ASSERT_EQ(solver.set(option, value), ldl::ok);
    ASSERT_EQ(solver.analyse({band, {}}), ldl::ok);
    EXPECT_EQ(solver.handle->numThreads, 2);
    EXPECT_EQ(solver.symbolic->tiles.numTopTiles, 0);
}

TEST(TilePlan, SmallMatricesStaySequential) {
    std::mt19937 random(42);
    LdlSolver solver;
    ASSERT_EQ(solver.set(ldl::optNumThreads, 8), ldl::ok);
    ASSERT_EQ(solver.analyse(withValues(random, gridPattern(30, 30), Kind::definite)), ldl::ok);
    EXPECT_EQ(solver.symbolic->parallelMode, 0);
    EXPECT_EQ(solver.symbolic->tileSize, 0);
    EXPECT_EQ(solver.handle->numThreads, 1);
}

}  // namespace
