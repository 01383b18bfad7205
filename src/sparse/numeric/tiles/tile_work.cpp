#include "sparse/numeric/tiles/tile_work.hpp"

#include <algorithm>

#include "sparse/kernel/tile_solve.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

void clearTile(const Tile& tile) {
    const Front& front = tile.front;
    for (int32_t c = 0; c < front.k; ++c) {
        double* const column = front.values + int64_t{c} * front.m;
        const int32_t begin = std::max(tile.begin, c);
        std::fill(column + begin, column + std::max(begin, tile.end), 0.0);
    }
}

/// Adds the matrix entries of the tile's rows.
void addEntries(const LdlNumeric& numeric, const Tile& tile) {
    const Front& front = tile.front;
    const int64_t* const begin = numeric.lowerBegin.data() + front.firstCol;
    for (int32_t c = 0; c < front.k; ++c) {
        double* const column = front.values + int64_t{c} * front.m;
        for (int64_t e = begin[c]; e < begin[c + 1]; ++e) {
            const int32_t place = numeric.lowerPlace[e];
            if (place >= tile.begin && place < tile.end) column[place] += numeric.lowerValue[e];
        }
    }
}

}  // namespace

Tile tileOf(LdlSymbolic& symbolic, TileRef ref) {
    const Front front = frontOf(symbolic, ref.block);
    const TilePlan& plan = symbolic.tiles;
    return {front, ref, firstRowOfTile(plan, ref.block, ref.row),
            std::min(firstRowOfTile(plan, ref.block, ref.row + 1), front.m)};
}

RootSum rootSumOf(const Member& member, const LeafItem& item, const int32_t* place) {
    const Front root = frontOf(member.front.symbolic, item.endBlock - 1);
    return {member.team.rootSums.data() + item.sumBegin, root.m - root.k, root.rows + root.k,
            place};
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

void touchTile(Member& member, const Tile& tile) {
    int32_t& touched = member.team.tileTouched[tileNumber(member.front.symbolic, tile.ref)];
    if (touched != 0) return;
    touched = 1;
    clearTile(tile);
    addEntries(member.front.numeric, tile);
}

void enterTile(Member& member, const Tile& tile) {
    int32_t* const position = member.front.scratch.position;
    for (int32_t r = tile.begin; r < tile.end; ++r) position[tile.front.rows[r]] = r;
}

int factorDiagonalTile(Member& member, const Tile& tile) {
    touchTile(member, tile);
    const Front& front = tile.front;
    Factorisation& work = member.front;
    const bool done = factorPivotBlock(
        tile.end, front.k, front.block(), {work.scratch.update, tile.end}, work.rule, work.context,
        work.symbolic.pivotIndex.data() + front.firstCol, &work.numPerturbed);
    return done ? ldl::ok : ldl::stopped;
}

void solveAgainstDiagonal(Member& member, const Tile& tile) {
    touchTile(member, tile);
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
