#include "sparse/numeric/tiles/tile_work.hpp"

#include <algorithm>

#include "sparse/kernel/tile_solve.hpp"

namespace ovrelin {

using std::int32_t;

Tile tileOf(LdlSymbolic& symbolic, TileRef ref) {
    const Front front = frontOf(symbolic, ref.block);
    const TilePlan& plan = symbolic.tiles;
    return {front, ref, firstRowOfTile(plan, ref.block, ref.row),
            std::min(firstRowOfTile(plan, ref.block, ref.row + 1), front.m)};
}

SourcePart partFor(LdlSymbolic& symbolic, const Tile& tile, const TileSource& source) {
    const Front front = frontOf(symbolic, source.block);
    const int32_t* const last = front.rows + front.m;
    const int32_t* first = front.rows + source.begin;
    if (!tile.isDiagonal())
        first = std::lower_bound(front.rows + source.end, last, tile.front.rows[tile.begin]);
    const int32_t* end = last;
    if (tile.end < tile.front.m) end = std::lower_bound(first, last, tile.front.rows[tile.end]);
    return {front, source.begin, source.end, static_cast<int32_t>(first - front.rows),
            static_cast<int32_t>(end - front.rows)};
}

void enterTile(Member& member, const Tile& tile) {
    int32_t* const position = member.front.scratch.position;
    for (int32_t r = tile.begin; r < tile.end; ++r) position[tile.front.rows[r]] = r;
}

int factorDiagonalTile(Member& member, const Tile& tile) {
    const Front& front = tile.front;
    Factorisation& work = member.front;
    const bool done = factorPivotBlock(
        tile.end, front.k, front.block(), {work.scratch.update, tile.end}, work.rule, work.context,
        work.symbolic.pivotIndex.data() + front.firstCol, &work.numPerturbed);
    return done ? ldl::ok : ldl::stopped;
}

void solveAgainstDiagonal(Member& member, const Tile& tile) {
    const Front& front = tile.front;
    const int32_t* const pivot = member.front.symbolic.pivotIndex.data() + front.firstCol;
    if (member.args.preparedBlock != tile.ref.block) {
        prepareDiagonal(front.k, front.constBlock(), pivot, member.diagonal);
        member.args.preparedBlock = tile.ref.block;
    }
    solveTile(tile.end - tile.begin, front.k, member.diagonal, front.constBlock(), pivot,
              {tile.values(), front.m});
}

}  // namespace ovrelin
