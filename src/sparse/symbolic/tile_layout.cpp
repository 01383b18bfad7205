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

/// Tiles of a narrow supernode have about as many entries as a square one, in whole cache lines.
int32_t heightOf(int32_t columns, int32_t tileSize) {
    if (columns > tileSize) return tileSize;
    return (tileSize * tileSize / columns + 31) & ~31;
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
int64_t cutSupernode(const Cut& cut, int32_t tileSize, int32_t b, TilePlan& plan) {
    const int32_t height = heightOf(cut.endCol - cut.firstCol, tileSize);
    int64_t value = cut.valueBegin;
    for (int32_t col = cut.firstCol; col < cut.endCol; col += tileSize, ++b) {
        const int32_t width = std::min(tileSize, cut.endCol - col);
        const int64_t rows = cut.rowEnd - cut.rowBegin - (col - cut.firstCol);
        plan.blockFirstCol[b] = col;
        plan.blockRowBegin[b] = cut.rowEnd - rows;
        plan.blockRowEnd[b] = cut.rowEnd;
        plan.blockBegin[b] = value;
        plan.tileHeight[b] = height;
        plan.tileIndex[b + 1] = plan.tileIndex[b] + static_cast<int32_t>((rows - 1) / height) + 1;
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
        valueBegin[s + 1] = cutSupernode(cut, tileSize, block, plan);
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
