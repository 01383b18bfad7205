// The decisions of the analysis about threads and tiles, and the plan that the engines follow.
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
                const std::int32_t size = ovrelin::chooseTileSize(threads, scheduling, key, key);
                EXPECT_EQ(size % 16, 0);
                EXPECT_GE(size, std::max(64, before));
                EXPECT_LE(size, 448);
                before = size;
            }
        }
}

/// Block columns tile the supernodes, in strips of equal width but for the last one, as few as will
/// do, without a gap in the values.
void checkStorage(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        std::int64_t columns = symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s];
        std::int64_t rows = symbolic.rowBegin[s + 1] - symbolic.rowBegin[s];
        std::int64_t value = symbolic.valueBegin[s];
        std::int32_t block = plan.superFirstBlock[s];
        EXPECT_EQ(plan.superFirstBlock[s + 1] - block, (columns - 1) / symbolic.tileSize + 1);
        const std::int64_t width = plan.blockFirstCol[block + 1] - plan.blockFirstCol[block];
        EXPECT_LE(width, symbolic.tileSize);
        for (; columns > 0; columns -= width, rows -= width, ++block) {
            EXPECT_EQ(plan.blockFirstCol[block + 1] - plan.blockFirstCol[block],
                      std::min(columns, width));
            EXPECT_EQ(plan.blockBegin[block], value);
            EXPECT_EQ(plan.blockRowEnd[block] - plan.blockRowBegin[block], rows);
            value += std::min(columns, width) * rows;
            EXPECT_EQ(ovrelin::tileOfRow(plan, block, static_cast<std::int32_t>(rows) - 1) + 1,
                      plan.tileIndex[block + 1] - plan.tileIndex[block]);
        }
        EXPECT_EQ(block, plan.superFirstBlock[s + 1]);
        EXPECT_EQ(value, symbolic.valueBegin[s + 1]);
    }
    EXPECT_EQ(plan.superFirstBlock[symbolic.numSuper], plan.numBlocks);
}

bool inTop(const LdlSymbolic& symbolic, std::int32_t block) {
    return symbolic.tiles.inTop[symbolic.colToSuper[symbolic.tiles.blockFirstCol[block]]] != 0;
}

/// Subtrees and the top hold every block column once, and no subtree sends anything to another.
void checkSubtrees(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    Indices item(plan.numBlocks, -1);
    for (std::int32_t i = 0; i < plan.numLeaves; ++i) {
        const ovrelin::LeafItem& leaf = plan.leafList[i];
        EXPECT_TRUE(leaf.owner >= 0 && leaf.owner < symbolic.numThreads);
        for (std::int32_t b = leaf.firstBlock; b < leaf.endBlock; ++b)
            EXPECT_EQ(std::exchange(item[b], i), -1);
    }
    for (std::int32_t b = 0; b < plan.numBlocks; ++b) {
        EXPECT_EQ(item[b] == -1, inTop(symbolic, b));
        for (std::int64_t e = plan.blockRowBegin[b]; e < plan.blockRowEnd[b]; ++e) {
            const std::int32_t target = item[plan.colToBlock[symbolic.rowList[e]]];
            EXPECT_TRUE(target == item[b] || target == -1);
        }
    }
}

/// The block column whose sources tell where the updates of block column b go in the top.
std::int32_t senderOf(const TilePlan& plan, std::int32_t b) {
    for (std::int32_t i = 0; i < plan.numLeaves; ++i) {
        const ovrelin::LeafItem& leaf = plan.leafList[i];
        if (b >= leaf.firstBlock && b < leaf.endBlock && leaf.sumBegin >= 0)
            return leaf.endBlock - 1;
    }
    return b;
}

/// Every tile of the top stands once in the list, behind the diagonal of its column and behind all
/// tiles of its sources; and every update of the top is in the sources, that of a subtree with a
/// root sum in its last block column.
void checkOrder(const LdlSymbolic& symbolic) {
    const TilePlan& plan = symbolic.tiles;
    std::set<std::pair<std::int32_t, std::int32_t>> done;
    std::set<std::int32_t> finished;
    for (std::int32_t t = 0; t < plan.numTopTiles; ++t) {
        const auto [block, row] = plan.topTiles[t];
        // A pair shares no block column.
        EXPECT_TRUE(row == 0 || (done.count({block, 0}) > 0 && symbolic.numThreads > 3));
        const std::int32_t owner = plan.tileOwner[plan.tileIndex[block] + row];
        EXPECT_TRUE(owner >= 0 && owner < symbolic.numThreads);
        std::set<std::pair<std::int32_t, std::int32_t>> arriving, expected;  // source and row
        for (std::int64_t e = plan.depBegin[block]; e < plan.depBegin[block + 1]; ++e) {
            const ovrelin::TileSource& source = plan.tileDeps[e];
            EXPECT_TRUE(!inTop(symbolic, source.block) || finished.count(source.block) > 0);
            for (std::int32_t r = source.begin; r < source.end; ++r)
                arriving.insert(
                    {source.block, symbolic.rowList[plan.blockRowBegin[source.block] + r]});
        }
        for (std::int32_t b = 0; b < block; ++b)
            for (std::int64_t e = plan.blockRowBegin[b]; e < plan.blockRowEnd[b]; ++e)
                if (plan.colToBlock[symbolic.rowList[e]] == block)
                    expected.insert({senderOf(plan, b), symbolic.rowList[e]});
        EXPECT_EQ(arriving, expected);
        EXPECT_TRUE(done.insert({block, row}).second);
        if (row + 1 == plan.tileIndex[block + 1] - plan.tileIndex[block]) finished.insert(block);
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
                ASSERT_EQ(solver.analyse(pattern), ldl::ok);
                EXPECT_EQ(solver.symbolic->parallelMode, 1);
                EXPECT_EQ(solver.symbolic->tileSize, tile);
                EXPECT_EQ(solver.handle->numThreads, threads);
                EXPECT_EQ(solver.numeric->panelWidth, tile);
                checkStorage(*solver.symbolic);
                checkSubtrees(*solver.symbolic);
                checkOrder(*solver.symbolic);
            }
}

// A band: under minimum degree each front waits for the one before.
TEST(TilePlan, AChainOfNarrowFrontsIsNotShared) {
    const ThreadedHost host;
    TestPattern band{"band", 20000, {0}, {}};
    for (std::int32_t j = 0; j < band.n; ++j) {
        for (std::int32_t i = std::max(j - 60, 0); i < std::min(j + 61, band.n); ++i)
            band.rowIndex.push_back(i);
        band.colBegin.push_back(static_cast<std::int32_t>(band.rowIndex.size()));
    }
    LdlSolver solver{{ldl::optNumThreads, 2},
                     {ldl::optMatrixClass, 3},
                     {ldl::optSchedulingMode, 0},
                     {ldl::optOrderingMethod, ldl::methodMinDegree}};
    ASSERT_EQ(solver.analyse(band), ldl::ok);
    EXPECT_EQ(solver.handle->numThreads, 2);
    EXPECT_EQ(solver.symbolic->tiles.numTopTiles, 0);
}

}  // namespace
