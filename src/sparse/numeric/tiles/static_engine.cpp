// The static engine: member t takes the subtrees dealt to it, then the tiles of the top that are
// its own. A tile takes its updates in the order of their sources, whoever owns those, so that the
// same input gives the same bits. Where the next source of a tile is not final yet, the member goes
// on with a later tile of its own, and comes back as soon as it can: tiles stand behind all that
// they depend on, and others wait for the earlier ones. The first tile of all that is not final can
// always go on, so that nobody waits for ever.
#include "sparse/ldl_try.hpp"
#include "sparse/numeric/tiles/engines.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

/// Own tiles that are looked at for one that can go on.
constexpr int32_t lookAhead = 8;

bool isFinal(const Member& member, int32_t tile) {
    return __atomic_load_n(&member.team.tileState[tile], __ATOMIC_ACQUIRE) != 0;
}

/// Whether the tiles are final that rows [begin, end) of a source lie in.
bool rowsAreFinal(const Member& member, int32_t block, int32_t begin, int32_t end) {
    const TilePlan& plan = member.front.symbolic.tiles;
    const int32_t last = tileOfRow(plan, block, end - 1);
    for (int32_t i = tileOfRow(plan, block, begin); i <= last; ++i)
        if (!isFinal(member, plan.tileIndex[block] + i)) return false;
    return true;
}

/// Whether what reaches the tile of a group is final.
bool groupIsFinal(const Member& member, const Tile& tile, const SourceGroup& group) {
    if (group.begin->leaf >= 0 && __atomic_load_n(&member.team.openLeaves, __ATOMIC_ACQUIRE) == 0)
        return true;
    for (const TileSource* source = group.begin; source != group.end; ++source) {
        const SourcePart part = partFor(member.front.symbolic, tile, *source);
        if (!rowsAreFinal(member, source->block, part.begin, part.end) ||
            !rowsAreFinal(member, source->block, part.rowBegin, part.rowEnd))
            return false;
    }
    return true;
}

/// Takes the sources of a tile that are final, up to `mostLarge` groups that are not light; true
/// when none is left.
bool takeSources(Member& member, const Tile& tile, int32_t mostLarge, bool* moved) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    int32_t& taken = member.team.takenSources[tileNumber(symbolic, tile.ref)];
    const TileSource* const sources = plan.tileDeps.data() + plan.depBegin[tile.ref.block];
    const TileSource* const last = plan.tileDeps.data() + plan.depBegin[tile.ref.block + 1];
    Batch batch(member, tile);
    bool entered = false;
    while (sources + taken != last && mostLarge > 0) {
        const SourceGroup group = groupFrom(symbolic, tile, sources + taken, last);
        if (!partFor(symbolic, tile, *group.begin).isEmpty()) {
            if (!groupIsFinal(member, tile, group)) break;
            if (!entered) {
                touchTile(member, tile);
                enterTile(member, tile);
            }
            entered = *moved = true;
            batch.add(group);
            if (!isLight(symbolic, group)) --mostLarge;
        }
        taken = static_cast<int32_t>(group.end - sources);
    }
    batch.flush();
    return sources + taken == last;
}

/// Does to a tile what can be done; `moved` tells whether that was anything. A tile that is not the
/// member's first goes a short step only.
int advance(Member& member, TileRef ref, bool isFirst, bool* moved) {
    constexpr int32_t any = INT32_MAX;
    LdlSymbolic& symbolic = member.front.symbolic;
    const Tile tile = tileOf(symbolic, ref);
    if (!takeSources(member, tile, isFirst ? any : 1, moved)) return ldl::ok;
    if (tile.isDiagonal()) {
        LDL_TRY(factorDiagonalTile(member, tile));
    } else {
        if (!isFinal(member, tileNumber(symbolic, {ref.block, 0}))) return ldl::ok;
        solveAgainstDiagonal(member, tile);
    }
    markFinal(member, tileNumber(symbolic, ref));
    *moved = true;
    return ldl::ok;
}

/// The member's own tiles of the top that are not final, in their order.
class OwnTiles {
public:
    explicit OwnTiles(const Member& member)
        : member_(member), plan_(member.front.symbolic.tiles), first_(next(-1)) {}

    [[nodiscard]] bool isEmpty() const { return first_ == plan_.numTopTiles; }
    [[nodiscard]] int32_t first() const { return first_; }

    [[nodiscard]] int32_t next(int32_t t) const {
        for (++t; t < plan_.numTopTiles; ++t) {
            const int32_t tile = tileNumber(member_.front.symbolic, plan_.topTiles[t]);
            if (plan_.tileOwner[tile] == member_.args.index && !isFinal(member_, tile)) break;
        }
        return t;
    }

    void dropFinal() { first_ = next(first_ - 1); }

private:
    const Member& member_;
    const TilePlan& plan_;
    int32_t first_;
};

/// The first of the own tiles in hand that can go on does.
int advanceOne(Member& member, const OwnTiles& own, bool* moved) {
    const TilePlan& plan = member.front.symbolic.tiles;
    int32_t t = own.first();
    for (int32_t looked = 0; looked < lookAhead && t < plan.numTopTiles && !*moved; ++looked) {
        LDL_TRY(advance(member, plan.topTiles[t], t == own.first(), moved));
        t = own.next(t);
    }
    return ldl::ok;
}

}  // namespace

int staticMember(Member& member) {
    const TilePlan& plan = member.front.symbolic.tiles;
    for (int32_t i = 0; i < plan.numLeaves; ++i) {
        if (plan.leafList[i].owner != member.args.index) continue;
        LDL_TRY(factorSubtree(member, plan.leafList[i]));
    }
    int idle = 0;
    for (OwnTiles own(member); !own.isEmpty(); own.dropFinal()) {
        if (mustLeave(member)) return teamFailure(member.team);
        bool moved = false;
        LDL_TRY(advanceOne(member, own, &moved));
        if (moved)
            idle = 0;
        else
            pauseWaiting(&idle);
    }
    return ldl::ok;
}

}  // namespace ovrelin
