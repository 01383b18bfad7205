#include "sparse/numeric/tiles/engines.hpp"

#include <algorithm>

#include "sparse/ldl_try.hpp"
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
    takeValues(work.matValue, work.numeric, plan.blockFirstCol[block],
               plan.blockFirstCol[block + 1]);
}

/// What leaves the subtree goes to its sum, or to nobody: then the tiles of the top fetch it.
void limitToSubtree(Member& member, const LeafItem& item) {
    Factorisation& work = member.front;
    work.endColumn = work.symbolic.tiles.blockFirstCol[item.endBlock];
    work.sum = nullptr;
    if (item.sumBegin < 0) return;
    int32_t* const place = work.scratch.position + work.symbolic.n;
    const RootSum& sum = member.sum = rootSumOf(member, item, place);
    for (int32_t r = 0; r < sum.count; ++r) place[sum.rows[r]] = r;
    std::fill_n(sum.values, RootSum::sizeOf(sum.count), 0.0);
    work.sum = &sum;
}

}  // namespace

int gatherMember(Member& member) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    for (int32_t t = 0; t < plan.numTopTiles; ++t) {
        const TileRef ref = plan.topTiles[t];
        if (plan.tileOwner[tileNumber(symbolic, ref)] != member.args.index) continue;
        if (mustLeave(member)) return teamFailure(member.team);
        if (ref.row == 0) takeBlock(member, ref.block);
    }
    return ldl::ok;
}

int factorSubtree(Member& member, const LeafItem& item) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const TilePlan& plan = symbolic.tiles;
    limitToSubtree(member, item);
    for (int32_t b = item.firstBlock; b < item.endBlock; ++b) {
        if (mustLeave(member)) return teamFailure(member.team);
        LDL_TRY(factorBlocks(member.front, b, b + 1));
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
    for (const MemberWork phase : {gatherMember, engine})
        LDL_TRY(runPhase(symbolic, numeric, matValue, rule, phase));
    for (const ThreadArgs& args : numeric.team.threadArgs) *numPerturbed += args.numPerturbed;
    return ldl::ok;
}

}  // namespace ovrelin
