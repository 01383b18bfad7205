// The static engine: member t takes the subtrees dealt to it, then every numThreads-th tile of the
// top. Tiles stand behind all that they depend on, and every member keeps their order, so that the
// first tile that is not final can always go on: nobody waits for ever. A tile takes its updates in
// the order of their sources, whoever owns those.
#include "sparse/numeric/tiles/engines.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

/// Waits for the tiles that rows [begin, end) of a source lie in.
bool waitForRows(Member& member, int32_t block, int32_t begin, int32_t end) {
    const TilePlan& plan = member.front.symbolic.tiles;
    const int32_t* const state = member.team.tileState.data() + plan.tileIndex[block];
    const int32_t last = tileOfRow(plan, block, end - 1);
    for (int32_t i = tileOfRow(plan, block, begin); i <= last; ++i)
        if (!waitFor(member, state + i)) return false;
    return true;
}

bool takeSources(Member& member, const Tile& tile) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    enterTile(member, tile);
    const bool subtreesAreFinal = __atomic_load_n(&member.team.openLeaves, __ATOMIC_ACQUIRE) == 0;
    const auto end = plan.depBegin[tile.ref.block + 1];
    for (auto e = plan.depBegin[tile.ref.block]; e < end; ++e) {
        const SourcePart part = partFor(symbolic, tile, plan.tileDeps[e]);
        if (part.isEmpty()) continue;
        const bool isFinal = subtreesAreFinal && plan.tileDeps[e].inTop == 0;
        if (!isFinal && (!waitForRows(member, part.front.index, part.begin, part.end) ||
                         !waitForRows(member, part.front.index, part.rowBegin, part.rowEnd)))
            return false;
        applySource(member, tile, part);
    }
    return true;
}

int finishTile(Member& member, TileRef ref) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const Tile tile = tileOf(symbolic, ref);
    if (!takeSources(member, tile)) return teamFailure(member.team);
    if (tile.isDiagonal()) {
        if (const int code = factorDiagonalTile(member, tile); code != ldl::ok) return code;
    } else {
        const int32_t diagonal = tileNumber(symbolic, {ref.block, 0});
        if (!waitFor(member, &member.team.tileState[diagonal])) return teamFailure(member.team);
        solveAgainstDiagonal(member, tile);
    }
    markFinal(member, tileNumber(symbolic, ref));
    return ldl::ok;
}

}  // namespace

int staticMember(Member& member) {
    const TilePlan& plan = member.front.symbolic.tiles;
    const int32_t self = member.args.index;
    for (int32_t i = 0; i < plan.numLeaves; ++i) {
        if (plan.leafList[i].owner != self) continue;
        if (const int code = factorSubtree(member, plan.leafList[i]); code != ldl::ok) return code;
    }
    for (int32_t i = self; i < plan.numTopTiles; i += member.team.numThreads) {
        if (mustLeave(member)) return teamFailure(member.team);
        if (const int code = finishTile(member, plan.topTiles[i]); code != ldl::ok) return code;
    }
    return ldl::ok;
}

}  // namespace ovrelin
