#include "sparse/symbolic/tile_layout.hpp"

#include <algorithm>

#include "sparse/symbolic/make_array.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

int32_t stripsOf(int32_t columns, int32_t tileSize) {
    return (columns - 1) / tileSize + 1;
}

/// Strips are about equally wide, in units that the kernels like, and as few as the edge allows.
int32_t widthOf(int32_t columns, int32_t tileSize) {
    constexpr int32_t unit = 16;
    const int32_t width = (columns - 1) / stripsOf(columns, tileSize) + 1;
    return std::min((width + unit - 1) / unit * unit, tileSize);
}

constexpr int32_t wholeLine(int32_t rows) {
    return (rows + 31) & ~31;
}

/// How a supernode's strips are cut by rows.
struct Heights {
    int32_t diagonal;  // of tile 0
    int32_t below;
};

/// Tiles of a narrow supernode have about as many entries as a square one, in whole cache lines.
/// Below the diagonal a tile is higher where there are rows enough for everyone: what a source's
/// columns need before the product is done once a tile.
Heights heightsOf(int32_t columns, int32_t rows, const LdlSymbolic& symbolic) {
    const int32_t tileSize = symbolic.tileSize;
    const int32_t tiles = symbolic.numThreads / sparsePlanning.threadsPerTile;
    if (tiles <= 1) return {rows, rows};
    const int32_t diagonal =
        columns > tileSize ? tileSize : wholeLine(tileSize * tileSize / columns);
    return {diagonal, std::max(wholeLine(diagonal), wholeLine(rows / tiles))};
}

int32_t countBlocks(const SupernodePartition& partition, int32_t tileSize) {
    int32_t count = 0;
    for (int32_t s = 0; s < partition.numSuper; ++s)
        count += stripsOf(partition.firstCol[s + 1] - partition.firstCol[s], tileSize);
    return count;
}

int allocateBlocks(int32_t n, int32_t numSuper, MemoryPool* pool, TilePlan& plan) {
    const int64_t count = plan.numBlocks;
    LDL_TRY(makeArray(plan.blockFirstCol, pool, count + 1));
    LDL_TRY(makeArray(plan.blockRowBegin, pool, count));
    LDL_TRY(makeArray(plan.blockRowEnd, pool, count));
    LDL_TRY(makeArray(plan.blockBegin, pool, count));
    LDL_TRY(makeArray(plan.colToBlock, pool, n));
    LDL_TRY(makeArray(plan.superFirstBlock, pool, int64_t{numSuper} + 1));
    LDL_TRY(makeArray(plan.diagonalRows, pool, count));
    LDL_TRY(makeArray(plan.tileHeight, pool, count));
    return makeArray(plan.tileIndex, pool, count + 1);
}

/// A supernode about to be cut.
struct Cut {
    int32_t firstCol, endCol;
    int64_t rowBegin, rowEnd;
    int64_t valueBegin;
};

/// The strips of one supernode, from block column `b` on; returns where its values end.
int64_t cutSupernode(const Cut& cut, LdlSymbolic& symbolic, int32_t b) {
    TilePlan& plan = symbolic.tiles;
    const int32_t tileSize = symbolic.tileSize;
    const int32_t columns = cut.endCol - cut.firstCol;
    const auto allRows = static_cast<int32_t>(cut.rowEnd - cut.rowBegin);
    const Heights heights = heightsOf(columns, allRows, symbolic);
    const int32_t stripWidth = widthOf(columns, tileSize);
    int64_t value = cut.valueBegin;
    for (int32_t col = cut.firstCol; col < cut.endCol; col += stripWidth, ++b) {
        const int32_t width = std::min(stripWidth, cut.endCol - col);
        const int64_t rows = cut.rowEnd - cut.rowBegin - (col - cut.firstCol);
        plan.blockFirstCol[b] = col;
        plan.blockRowBegin[b] = cut.rowEnd - rows;
        plan.blockRowEnd[b] = cut.rowEnd;
        plan.blockBegin[b] = value;
        plan.diagonalRows[b] = heights.diagonal;
        plan.tileHeight[b] = heights.below;
        plan.tileIndex[b + 1] =
            plan.tileIndex[b] + tileOfRow(plan, b, static_cast<int32_t>(rows) - 1) + 1;
        std::fill_n(plan.colToBlock.data() + col, width, b);
        value += width * rows;
    }
    return value;
}

}  // namespace

int layOutTiles(const SupernodePartition& partition, MemoryPool* pool, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const int32_t tileSize = symbolic.tileSize;
    const int32_t numSuper = partition.numSuper;
    plan.numBlocks = countBlocks(partition, tileSize);
    LDL_TRY(allocateBlocks(symbolic.n, numSuper, pool, plan));
    int64_t* const rowBegin = symbolic.rowBegin.data();
    int64_t* const valueBegin = symbolic.valueBegin.data();
    rowBegin[0] = valueBegin[0] = 0;
    plan.tileIndex[0] = 0;
    int32_t block = 0;
    for (int32_t s = 0; s < numSuper; ++s) {
        plan.superFirstBlock[s] = block;
        rowBegin[s + 1] = rowBegin[s] + partition.numRows[s];
        const Cut cut{partition.firstCol[s], partition.firstCol[s + 1], rowBegin[s],
                      rowBegin[s + 1], valueBegin[s]};
        valueBegin[s + 1] = cutSupernode(cut, symbolic, block);
        block += stripsOf(cut.endCol - cut.firstCol, tileSize);
    }
    plan.superFirstBlock[numSuper] = block;
    plan.blockFirstCol[block] = symbolic.n;
    plan.numTiles = plan.tileIndex[block];
    symbolic.blocks = {block,
                       plan.blockFirstCol.data(),
                       plan.blockRowBegin.data(),
                       plan.blockRowEnd.data(),
                       plan.blockBegin.data(),
                       plan.colToBlock.data()};
    return ldl::ok;
}

}  // namespace ovrelin
