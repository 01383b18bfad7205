#include "sparse/numeric/tiles/engines.hpp"

#include "sparse/numeric/permuted_matrix.hpp"
#include "sparse/numeric/sequential.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

bool isTopBlock(const LdlSymbolic& symbolic, int32_t block) {
    return symbolic.tiles.inTop[symbolic.colToSuper[symbolic.tiles.blockFirstCol[block]]] != 0;
}

/// Entries of the top before block column `block`, or in all, over the members.
int64_t entriesOf(const LdlSymbolic& symbolic, int32_t block) {
    const TilePlan& plan = symbolic.tiles;
    return (plan.blockFirstCol[block + 1] - plan.blockFirstCol[block]) *
           (plan.blockRowEnd[block] - plan.blockRowBegin[block]);
}

/// Brings the matrix values of a block column in place.
void takeBlock(Member& member, int32_t block) {
    Factorisation& work = member.front;
    const TilePlan& plan = work.symbolic.tiles;
    takeValues(member.matValue, work.numeric, plan.blockFirstCol[block],
               plan.blockFirstCol[block + 1]);
}

}  // namespace

int scatterMember(Member& member) {
    LdlSymbolic& symbolic = member.front.symbolic;
    const int32_t count = symbolic.tiles.numBlocks;
    int64_t total = 0;
    for (int32_t b = 0; b < count; ++b)
        if (isTopBlock(symbolic, b)) total += entriesOf(symbolic, b);
    // Block columns are dealt out by where they begin among all entries.
    const int64_t share = total / member.team.numThreads + 1;
    int64_t before = 0;
    for (int32_t b = 0; b < count; ++b) {
        if (!isTopBlock(symbolic, b)) continue;
        const bool mine = before / share == member.args.index;
        before += entriesOf(symbolic, b);
        if (!mine) continue;
        if (mustLeave(member)) return teamFailure(member.team);
        takeBlock(member, b);
        const Front front = frontOf(symbolic, b);
        touchFront(symbolic, front);
        assembleFront(member.front, front);
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
