#include "sparse/symbolic/tile_plan.hpp"

#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/symbolic/make_array.hpp"
#include "sparse/symbolic/root_sums.hpp"
#include "sparse/symbolic/storage.hpp"
#include "sparse/symbolic/subtrees.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Tiles of the top, level by level: supernodes of one level do not depend on each other, so that
/// neighbours in the list can be worked on at the same time.
int orderTopTiles(MemoryPool* pool, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const int32_t numSuper = symbolic.numSuper;
    PoolArray<int32_t> level, order, begin;
    LDL_TRY(makeArray(level, pool, numSuper));
    LDL_TRY(makeArray(order, pool, numSuper));
    LDL_TRY(makeArray(begin, pool, int64_t{numSuper} + 2));
    std::fill_n(level.data(), numSuper, 0);
    std::fill_n(begin.data(), numSuper + 2, 0);
    for (int32_t s = 0; s < numSuper; ++s) {
        if (plan.inTop[s] == 0) continue;
        ++begin[level[s] + 2];
        const int32_t up = symbolic.superParent[s];
        if (up != -1) level[up] = std::max(level[up], level[s] + 1);
        plan.numTopTiles +=
            plan.tileIndex[plan.superFirstBlock[s + 1]] - plan.tileIndex[plan.superFirstBlock[s]];
    }
    for (int32_t l = 2; l < numSuper + 2; ++l) begin[l] += begin[l - 1];
    for (int32_t s = 0; s < numSuper; ++s)
        if (plan.inTop[s] != 0) order[begin[level[s] + 1]++] = s;
    LDL_TRY(makeArray(plan.topTiles, pool, plan.numTopTiles));
    TileRef* out = plan.topTiles.data();
    for (int32_t p = 0; p < begin[numSuper]; ++p)
        for (int32_t b = plan.superFirstBlock[order[p]]; b < plan.superFirstBlock[order[p] + 1];
             ++b)
            for (int32_t i = 0; i < plan.tileIndex[b + 1] - plan.tileIndex[b]; ++i) *out++ = {b, i};
    return ldl::ok;
}

/// The subtree of each block column, -1 in the top.
void findLeaves(const TilePlan& plan, int32_t* leafOf) {
    std::fill_n(leafOf, plan.numBlocks, -1);
    for (int32_t i = 0; i < plan.numLeaves; ++i)
        std::fill(leafOf + plan.leafList[i].firstBlock, leafOf + plan.leafList[i].endBlock, i);
}

/// Calls visit(target, source) for every block column of the top and each of the runs of rows below
/// the diagonal blocks that are its columns, sources ascending. Rows inside a subtree are passed
/// over; of a subtree with a root sum only the last block column is a source.
template <class Visit>
void visitTopRuns(const LdlSymbolic& symbolic, const int32_t* leafOf, Visit visit) {
    const TilePlan& plan = symbolic.tiles;
    for (int32_t d = 0; d < plan.numBlocks; ++d) {
        const int32_t leaf = leafOf[d];
        if (leaf >= 0 && plan.leafList[leaf].sumBegin >= 0 && d + 1 < plan.leafList[leaf].endBlock)
            continue;
        const int32_t* const rows = symbolic.rowList.data() + plan.blockRowBegin[d];
        const auto m = static_cast<int32_t>(plan.blockRowEnd[d] - plan.blockRowBegin[d]);
        int32_t p = plan.blockFirstCol[d + 1] - plan.blockFirstCol[d];
        while (p < m) {
            const int32_t target = plan.colToBlock[rows[p]];
            const int32_t begin = p;
            while (p < m && rows[p] < plan.blockFirstCol[target + 1]) ++p;
            if (leafOf[target] < 0) visit(target, TileSource{d, begin, p, leaf});
        }
    }
}

int listSources(MemoryPool* pool, const int32_t* leafOf, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const int32_t count = plan.numBlocks;
    LDL_TRY(makeArray(plan.depBegin, pool, int64_t{count} + 1));
    int64_t* const begin = plan.depBegin.data();
    std::fill_n(begin, count + 1, 0);
    visitTopRuns(symbolic, leafOf, [&](int32_t target, const TileSource&) { ++begin[target + 1]; });
    for (int32_t b = 0; b < count; ++b) begin[b + 1] += begin[b];
    LDL_TRY(makeArray(plan.tileDeps, pool, begin[count]));
    visitTopRuns(symbolic, leafOf, [&](int32_t target, const TileSource& source) {
        plan.tileDeps[begin[target]++] = source;
    });
    std::copy_backward(begin, begin + count, begin + count + 1);
    begin[0] = 0;
    return ldl::ok;
}

/// Time of a block column: its updates and its factorisation.
double costOf(const LdlSymbolic& symbolic, int32_t block) {
    const TilePlan& plan = symbolic.tiles;
    const auto columnsOf = [&](int32_t b) {
        return static_cast<double>(plan.blockFirstCol[b + 1] - plan.blockFirstCol[b]);
    };
    const auto rowsOf = [&](int32_t b) {
        return static_cast<double>(plan.blockRowEnd[b] - plan.blockRowBegin[b]);
    };
    double cost = columnsOf(block) * columnsOf(block) * rowsOf(block);
    for (auto e = plan.depBegin[block]; e < plan.depBegin[block + 1]; ++e) {
        const TileSource& source = plan.tileDeps[e];
        const double k = isRootSum(plan, source) ? 0 : columnsOf(source.block);
        const double columns = source.end - source.begin;
        const double rows = rowsOf(source.block) - source.begin;
        cost += columns * (2 * rows - columns) * (k + sparsePlanning.narrowSlowdown) +
                sparsePlanning.updateCost;
    }
    return cost;
}

/// Deals the tiles of the top out in their order, each to the thread with the least to do so far.
int dealTopTiles(MemoryPool* pool, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    PoolArray<double> load;
    LDL_TRY(makeArray(load, pool, symbolic.numThreads));
    LDL_TRY(makeArray(plan.tileOwner, pool, plan.numTiles));
    std::fill_n(load.data(), symbolic.numThreads, 0.0);
    for (int32_t i = 0; i < plan.numLeaves; ++i)
        load[plan.leafList[i].owner] += plan.leafList[i].cost;
    double cost = 0;
    for (int32_t t = 0; t < plan.numTopTiles; ++t) {
        const TileRef ref = plan.topTiles[t];
        const int32_t first = plan.tileIndex[ref.block];
        if (ref.row == 0) cost = costOf(symbolic, ref.block);
        double* const least = std::min_element(load.data(), load.data() + symbolic.numThreads);
        plan.tileOwner[first + ref.row] = static_cast<int32_t>(least - load.data());
        *least += cost / (plan.tileIndex[ref.block + 1] - first);
    }
    return ldl::ok;
}

/// What one thread needs: a product or a strip of an update matrix, a copy scaled by D, and the
/// diagonal block made ready for tile solves.
void sizeWorkspace(const SparseParameters& parameters, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const int64_t square = int64_t{symbolic.tileSize} * symbolic.tileSize;
    UpdateSizes sizes{square, batchTiles * square};
    for (int32_t b = 0; b < plan.numBlocks; ++b) {
        const int64_t k = plan.blockFirstCol[b + 1] - plan.blockFirstCol[b];
        const int64_t m = plan.blockRowEnd[b] - plan.blockRowBegin[b];
        if (plan.inTop[symbolic.colToSuper[plan.blockFirstCol[b]]] != 0) {
            sizes.update =
                std::max(sizes.update, k * std::max(plan.tileHeight[b], plan.diagonalRows[b]));
            continue;
        }
        coverFront(k, m, parameters.boundedPanelWidth(), sizes);
    }
    symbolic.updateSize = wholeLines(sizes.update);
    symbolic.updateSize2 = wholeLines(sizes.scaledCopy);
    plan.workSize = symbolic.updateSize + symbolic.updateSize2 + wholeLines(square);
}

/// A task is small and the pool grows; its first size only has to spare it most of the growing.
int32_t firstTaskCapacity(int32_t numLeaves, int32_t numSuper) {
    constexpr int32_t small = 10000;
    const double share = static_cast<double>(numLeaves) / numSuper;
    if (numLeaves <= 100000) return small;
    if (share < 0.85) return 2 * small;
    if (numLeaves <= 300000 || share >= 0.95) return small;
    return numLeaves > 450000 ? 4 * small : 2 * small;
}

/// Records and locks of the dynamic engine. One thread needs no locks.
int allocateTasks(MemoryPool* pool, const LdlSymbolic& symbolic, TileTeam& team) {
    const TilePlan& plan = symbolic.tiles;
    LDL_TRY(makeArray(team.openUpdates, pool, plan.numTiles));
    LDL_TRY(makeArray(team.openTiles, pool, plan.numBlocks));
    LDL_TRY(makeArray(team.openBlocks, pool, symbolic.numSuper));
    LDL_TRY(makeArray(team.openBelow, pool, symbolic.numSuper));
    LDL_TRY(makeArray(team.taskPool.task, pool, plan.taskCapacity));
    LDL_TRY(makeArray(team.taskPool.link, pool, plan.taskCapacity));
    if (symbolic.numThreads < 2) return ldl::ok;
    const int32_t numLocks =
        std::min(plan.numTopTiles, sparsePlanning.locksPerThread * symbolic.numThreads);
    LDL_TRY(makeArray(team.tileLocks, pool, numLocks));
    std::fill(team.tileLocks.begin(), team.tileLocks.end(), nullptr);
    if (hostServices == nullptr) return ldl::noMemory;
    const auto make = [](HostMutex*& lock) {
        HostDescriptor descriptor{};
        lock = hostServices->createMutex(hostServices, &descriptor, 0, "");
        return lock != nullptr;
    };
    if (!make(team.leafLock) || !make(team.taskLock)) return ldl::noMemory;
    for (HostMutex*& lock : team.tileLocks)
        if (!make(lock)) return ldl::noMemory;
    return ldl::ok;
}

void closeLock(HostMutex*& lock) {
    if (lock != nullptr) lock->close(lock);
    lock = nullptr;
}

}  // namespace

int planTiles(const SparseParameters& parameters, MemoryPool* pool, LdlSymbolic& symbolic) {
    LDL_TRY(chooseSubtrees(parameters, pool, symbolic));
    LDL_TRY(orderTopTiles(pool, symbolic));
    chooseRootSums(symbolic);
    PoolArray<int32_t> leafOf;
    LDL_TRY(makeArray(leafOf, pool, symbolic.tiles.numBlocks));
    findLeaves(symbolic.tiles, leafOf.data());
    LDL_TRY(listSources(pool, leafOf.data(), symbolic));
    LDL_TRY(dealTopTiles(pool, symbolic));
    sizeWorkspace(parameters, symbolic);
    TilePlan& plan = symbolic.tiles;
    plan.taskCapacity = firstTaskCapacity(plan.numLeaves, std::max(symbolic.numSuper, 1));
    return ldl::ok;
}

int allocateTeam(MemoryPool* pool, LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const TilePlan& plan = symbolic.tiles;
    TileTeam& team = numeric.team;
    const int32_t numThreads = symbolic.numThreads;
    team.numThreads = numThreads;
    LDL_TRY(makeArray(team.threadArgs, pool, numThreads));
    LDL_TRY(makeArray(team.threadHandles, pool, numThreads));
    LDL_TRY(makeArray(team.events, pool, numThreads));
    LDL_TRY(makeArray(team.tileState, pool, plan.numTiles));
    LDL_TRY(makeArray(team.tileTouched, pool, plan.numTiles));
    LDL_TRY(makeArray(team.rootSums, pool, plan.sumSize));
    LDL_TRY(makeArray(symbolic.updateWork, pool, plan.workSize * numThreads));
    LDL_TRY(makeArray(symbolic.relativeIndex, pool, 2 * int64_t{symbolic.n} * numThreads));
    for (int32_t t = 0; t < numThreads; ++t) {
        ThreadArgs& args = team.threadArgs[t];
        args = ThreadArgs{};
        args.team = &team;
        args.index = t;
        args.work = symbolic.updateWork.data() + t * plan.workSize;
        args.position = symbolic.relativeIndex.data() + 2 * int64_t{t} * symbolic.n;
        team.threadHandles[t] = nullptr;
        team.events[t] = nullptr;
    }
    return symbolic.schedulingMode == 0 ? allocateTasks(pool, symbolic, team)
                                        : makeArray(team.takenSources, pool, plan.numTiles);
}

void closeLocks(TileTeam& team) {
    closeLock(team.leafLock);
    closeLock(team.taskLock);
    for (HostMutex*& lock : team.tileLocks) closeLock(lock);
}

}  // namespace ovrelin
