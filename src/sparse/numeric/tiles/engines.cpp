#include "sparse/numeric/tiles/engines.hpp"

#include <algorithm>

#include "sparse/numeric/permuted_matrix.hpp"
#include "sparse/numeric/sequential.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Brings the matrix values of a block column in place.
void takeBlock(Member& member, int32_t block) {
    Factorisation& work = member.front;
    const TilePlan& plan = work.symbolic.tiles;
    takeValues(member.matValue, work.numeric, plan.blockFirstCol[block],
               plan.blockFirstCol[block + 1]);
}

void clearTile(const Tile& tile) {
    const Front& front = tile.front;
    for (int32_t c = 0; c < front.k; ++c) {
        double* const column = front.values + static_cast<int64_t>(c) * front.m;
        const int32_t begin = std::max(tile.begin, c);
        std::fill(column + begin, column + std::max(begin, tile.end), 0.0);
    }
}

/// Adds the matrix entries of the tile's rows.
void addEntries(Member& member, const Tile& tile) {
    const LdlNumeric& numeric = member.front.numeric;
    const Front& front = tile.front;
    const int64_t* const begin = numeric.lowerBegin.data() + front.firstCol;
    for (int32_t c = 0; c < front.k; ++c) {
        double* const column = front.values + static_cast<int64_t>(c) * front.m;
        for (int64_t e = begin[c]; e < begin[c + 1]; ++e) {
            const int32_t place = numeric.lowerPlace[e];
            if (place >= tile.begin && place < tile.end)
                column[place] += member.matValue[numeric.lowerSource[e]];
        }
    }
}

}  // namespace

int scatterMember(Member& member) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    for (int32_t t = 0; t < plan.numTopTiles; ++t) {
        const TileRef ref = plan.topTiles[t];
        if (plan.tileOwner[tileNumber(symbolic, ref)] != member.args.index) continue;
        if (mustLeave(member)) return teamFailure(member.team);
        const Tile tile = tileOf(symbolic, ref);
        clearTile(tile);
        addEntries(member, tile);
        if (tile.isDiagonal()) takeBlock(member, tile.front.index);
    }
    return ldl::ok;
}

int factorSubtree(Member& member, const LeafItem& item) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    member.front.endColumn = plan.blockFirstCol[item.endBlock];
    for (int32_t b = item.firstBlock; b < item.endBlock; ++b) {
        if (mustLeave(member)) return teamFailure(member.team);
        takeBlock(member, b);
        if (const int code = factorBlocks(member.front, b, b + 1); code != ldl::ok) return code;
        for (int32_t t = plan.tileIndex[b]; t < plan.tileIndex[b + 1]; ++t) markFinal(member, t);
    }
    __atomic_sub_fetch(&member.team.openLeaves, 1, __ATOMIC_RELEASE);
    return ldl::ok;
}

int factorOnTiles(LdlSymbolic& symbolic, LdlNumeric& numeric, const double* matValue,
                  const PivotRule& rule, int32_t* numPerturbed) {
    const bool isDynamic = symbolic.schedulingMode == 0;
    const MemberWork engine = isDynamic ? dynamicMember : staticMember;
    resetTeam(symbolic, numeric);
    if (isDynamic) resetProgress(symbolic, numeric.team);
    for (const MemberWork phase : {scatterMember, engine})
        if (const int code = runPhase(symbolic, numeric, matValue, rule, phase); code != ldl::ok)
            return code;
    for (const ThreadArgs& args : numeric.team.threadArgs) *numPerturbed += args.numPerturbed;
    return ldl::ok;
}

}  // namespace ovrelin
