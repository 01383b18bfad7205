// The dynamic engine: whoever is free takes the next subtree, and when there is none left the most
// urgent task that is ready, of equally urgent ones rather one on a tile dealt to it. A task is one
// tile's diagonal factorisation, its solve, or the updates that it takes from the subtrees below,
// from one supernode of the top or from one earlier strip of its own; a tile is factored or solved
// when the last of these has come. Two threads may bring updates to the same tile, so that each
// holds the tile's lock while it does; nothing else is locked across a kernel.
#include <algorithm>
#include <thread>

#include "sparse/ldl_try.hpp"
#include "sparse/numeric/tiles/engines.hpp"
#include "sparse/numeric/tiles/task_pool.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// The strip that comes next is wanted sooner than the later ones.
constexpr int urgentFactor = 0, urgentSolve = 1, urgentUpdate = 2, laterUpdate = 3;

/// A lock of the host, held for a scope; null when there is but one thread.
class Held {
public:
    explicit Held(HostMutex* lock) : lock_(lock) {
        if (lock_ != nullptr) lock_->lock(lock_, 1, 1);
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (lock_ != nullptr) lock_->unlock(lock_);
    }

private:
    HostMutex* lock_;
};

/// A range of a tile's sources.
struct SourceRange {
    const TileSource* begin;
    const TileSource* end;

    [[nodiscard]] bool isEmpty() const { return begin == end; }
};

/// The bookkeeping of what is done and what becomes ready by it. Its callers hold the task lock.
class Progress {
public:
    Progress(LdlSymbolic& symbolic, TileTeam& team)
        : symbolic_(symbolic), plan_(symbolic.tiles), team_(team) {}

    void reset() {
        resetTasks(team_.taskPool);
        team_.nextLeaf = 0;
        team_.openItems = plan_.numLeaves;
        for (int32_t s = 0; s < symbolic_.numSuper; ++s)
            team_.openBlocks[s] = team_.openBelow[s] = 0;
        for (const LeafItem& leaf : leaves())
            forAncestors(leaf.super, [&](int32_t up) { ++team_.openBelow[up]; });
        // For the time being, openBlocks counts the descendants in the top.
        for (int32_t s = 0; s < symbolic_.numSuper; ++s)
            if (plan_.inTop[s] != 0) forAncestors(s, [&](int32_t up) { ++team_.openBlocks[up]; });
        for (int32_t s = 0; s < symbolic_.numSuper; ++s)
            if (plan_.inTop[s] != 0) resetSuper(s, team_.openBlocks[s]);
    }

    /// A subtree is final. What a supernode of the top takes from all of those below it, it takes
    /// at once.
    void leafIsFinal(int32_t super) {
        __atomic_sub_fetch(&team_.openItems, 1, __ATOMIC_RELAXED);
        forAncestors(super, [&](int32_t up) {
            if (--team_.openBelow[up] > 0) return;
            eachTile(up, [&](TileRef ref) {
                push(urgentUpdate, {taskUpdate, up, -1, ref.row, ref.block, -1});
            });
        });
    }

    /// All tiles of a supernode of the top are final.
    void superIsFinal(int32_t super) {
        __atomic_sub_fetch(&team_.openItems, 1, __ATOMIC_RELAXED);
        forAncestors(super, [&](int32_t up) {
            const int priority = up == symbolic_.superParent[super] ? urgentUpdate : laterUpdate;
            eachTile(up, [&](TileRef ref) {
                if (sourcesFrom(ref.block, super).isEmpty())
                    updateIsDone(ref);
                else
                    push(priority, {taskUpdate, up, super, ref.row, ref.block, -1});
            });
        });
    }

    void updateIsDone(TileRef ref) {
        if (--team_.openUpdates[tileNumber(symbolic_, ref)] == 0) allUpdatesAreDone(ref);
    }

    void tileIsFinal(TileRef ref) {
        team_.tileState[tileNumber(symbolic_, ref)] = 1;
        if (ref.row == 0)
            for (int32_t i = 1; i < tilesOf(ref.block); ++i)
                if (team_.openUpdates[tileNumber(symbolic_, {ref.block, i})] == 0)
                    pushSolve({ref.block, i});
        if (--team_.openTiles[ref.block] == 0) blockIsFinal(ref.block);
    }

    /// The sources of a block column that are block columns of `super`.
    [[nodiscard]] SourceRange sourcesFrom(int32_t block, int32_t super) const {
        const SourceRange all = allSources(block);
        const auto before = [](const TileSource& source, int32_t b) { return source.block < b; };
        const TileSource* const begin =
            std::lower_bound(all.begin, all.end, plan_.superFirstBlock[super], before);
        return {begin, std::lower_bound(begin, all.end, plan_.superFirstBlock[super + 1], before)};
    }

    [[nodiscard]] SourceRange allSources(int32_t block) const {
        const TileSource* const deps = plan_.tileDeps.data();
        return {deps + plan_.depBegin[block], deps + plan_.depBegin[block + 1]};
    }

    /// The one source that an earlier strip of the same supernode is: those stand last.
    [[nodiscard]] SourceRange sourceStrip(int32_t block, int32_t strip) const {
        const TileSource* const at =
            plan_.tileDeps.data() + plan_.depBegin[block + 1] - (block - strip);
        return {at, at + 1};
    }

private:
    struct Leaves {
        const LeafItem* first;
        int32_t count;
        [[nodiscard]] const LeafItem* begin() const { return first; }
        [[nodiscard]] const LeafItem* end() const { return first + count; }
    };
    [[nodiscard]] Leaves leaves() const { return {plan_.leafList.data(), plan_.numLeaves}; }

    template <class Visit>
    void forAncestors(int32_t super, Visit visit) const {
        for (int32_t up = symbolic_.superParent[super]; up != -1; up = symbolic_.superParent[up])
            visit(up);
    }

    template <class Visit>
    void eachTile(int32_t super, Visit visit) const {
        for (int32_t b = plan_.superFirstBlock[super]; b < plan_.superFirstBlock[super + 1]; ++b)
            for (int32_t i = 0; i < tilesOf(b); ++i) visit(TileRef{b, i});
    }

    [[nodiscard]] int32_t tilesOf(int32_t block) const {
        return plan_.tileIndex[block + 1] - plan_.tileIndex[block];
    }
    [[nodiscard]] int32_t superOf(int32_t block) const {
        return symbolic_.colToSuper[plan_.blockFirstCol[block]];
    }

    /// Updates to come: from the subtrees below, if any, from each descendant in the top, and from
    /// the earlier strips of the supernode.
    void resetSuper(int32_t super, int32_t numDescendants) {
        const int32_t first = plan_.superFirstBlock[super];
        const int32_t end = plan_.superFirstBlock[super + 1];
        const int32_t fromSubtrees = team_.openBelow[super] > 0 ? 1 : 0;
        ++team_.openItems;
        team_.openBlocks[super] = end - first;
        for (int32_t b = first; b < end; ++b) {
            team_.openTiles[b] = tilesOf(b);
            for (int32_t i = 0; i < tilesOf(b); ++i)
                team_.openUpdates[plan_.tileIndex[b] + i] =
                    fromSubtrees + numDescendants + (b - first);
        }
        if (fromSubtrees + numDescendants == 0)
            push(urgentFactor, {taskFactor, super, -1, 0, first, -1});
    }

    void push(int priority, const TileTask& task) {
        if (!pushTask(team_.taskPool, priority, task)) failTeam(team_, ldl::noMemory);
    }
    void pushSolve(TileRef ref) {
        push(urgentSolve, {taskSolve, superOf(ref.block), -1, ref.row, ref.block, -1});
    }

    void allUpdatesAreDone(TileRef ref) {
        if (ref.row == 0)
            push(urgentFactor, {taskFactor, superOf(ref.block), -1, 0, ref.block, -1});
        else if (team_.tileState[tileNumber(symbolic_, {ref.block, 0})] != 0)
            pushSolve(ref);
    }

    void blockIsFinal(int32_t block) {
        const int32_t super = superOf(block);
        for (int32_t b = block + 1; b < plan_.superFirstBlock[super + 1]; ++b)
            for (int32_t i = 0; i < tilesOf(b); ++i)
                push(b == block + 1 ? urgentUpdate : laterUpdate,
                     {taskUpdate, super, -1, i, b, block});
        if (--team_.openBlocks[super] == 0) superIsFinal(super);
    }

    LdlSymbolic& symbolic_;
    const TilePlan& plan_;
    TileTeam& team_;
};

/// The sources of an update task: all that lie in subtrees, when it names none.
SourceRange sourcesOf(const Progress& progress, const TileTask& task) {
    if (task.child >= 0) return progress.sourcesFrom(task.block, task.child);
    if (task.strip >= 0) return progress.sourceStrip(task.block, task.strip);
    return progress.allSources(task.block);
}

void bringUpdates(Member& member, const Tile& tile, const SourceRange& range, bool fromSubtrees) {
    TileTeam& team = member.team;
    HostMutex* lock = nullptr;
    if (team.tileLocks.size() > 0) {
        const auto number = static_cast<std::size_t>(tileNumber(member.front.symbolic, tile.ref));
        lock = team.tileLocks[number % team.tileLocks.size()];
    }
    enterTile(member, tile);
    const Held held(lock);
    touchTile(member, tile);
    Batch batch(member, tile);
    const TileSource* source = range.begin;
    while (source != range.end) {
        const SourceGroup group = groupFrom(member.front.symbolic, tile, source, range.end);
        source = group.end;
        const bool wanted = !fromSubtrees || group.begin->leaf >= 0;
        if (wanted && !partFor(member.front.symbolic, tile, *group.begin).isEmpty())
            batch.add(group);
    }
    batch.flush();
}

int perform(Member& member, const TileTask& task) {
    LdlSymbolic& symbolic = member.front.symbolic;
    Progress progress(symbolic, member.team);
    const TileRef ref{task.block, task.row};
    const Tile tile = tileOf(symbolic, ref);
    if (task.type == taskUpdate) {
        bringUpdates(member, tile, sourcesOf(progress, task), task.child < 0 && task.strip < 0);
        const Held held(member.team.taskLock);
        progress.updateIsDone(ref);
        return ldl::ok;
    }
    if (task.type == taskSolve)
        solveAgainstDiagonal(member, tile);
    else
        LDL_TRY(factorDiagonalTile(member, tile));
    const Held held(member.team.taskLock);
    progress.tileIsFinal(ref);
    return ldl::ok;
}

const LeafItem* nextLeaf(Member& member) {
    TileTeam& team = member.team;
    const TilePlan& plan = member.front.symbolic.tiles;
    const Held held(team.leafLock);
    return team.nextLeaf < plan.numLeaves ? &plan.leafList[team.nextLeaf++] : nullptr;
}

int takeLeaf(Member& member, const LeafItem& item) {
    LDL_TRY(factorSubtree(member, item));
    const Held held(member.team.taskLock);
    Progress(member.front.symbolic, member.team).leafIsFinal(item.super);
    return ldl::ok;
}

bool takeTask(Member& member, TileTask& task) {
    TaskPool& tasks = member.team.taskPool;
    if (__atomic_load_n(&tasks.numReady, __ATOMIC_RELAXED) == 0) return false;
    const TilePlan& plan = member.front.symbolic.tiles;
    const auto isOwn = [&](const TileTask& t) {
        return plan.tileOwner[plan.tileIndex[t.block] + t.row] == member.args.index;
    };
    const Held held(member.team.taskLock);
    return popTask(tasks, task, isOwn);
}

}  // namespace

void resetProgress(LdlSymbolic& symbolic, TileTeam& team) {
    Progress(symbolic, team).reset();
}

int dynamicMember(Member& member) {
    while (const LeafItem* const item = nextLeaf(member)) LDL_TRY(takeLeaf(member, *item));
    int idle = 0;
    while (__atomic_load_n(&member.team.openItems, __ATOMIC_RELAXED) > 0) {
        if (mustLeave(member)) return teamFailure(member.team);
        TileTask task;
        if (!takeTask(member, task)) {
            pauseWaiting(&idle);
            continue;
        }
        idle = 0;
        LDL_TRY(perform(member, task));
    }
    return ldl::ok;
}

}  // namespace ovrelin
