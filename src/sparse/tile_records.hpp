// What the engines on tiles have beside the sequential one: the plan, immutable after the analysis,
// and the team's own records, which each factorisation uses anew.
//
// Block columns: a supernode of more than tileSize columns is cut into as few strips as will do, of
// about equal width; pivoting stays within a strip. A narrower supernode is one block column. Each
// block column is cut by rows into tiles. The factorisation knows two kinds of work: the bottom
// subtrees of the elimination tree, each taken whole by one thread, and the tiles of the supernodes
// above them, the top, on which the threads meet.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "ovrelin/host.h"

namespace ovrelin {

/// Sources of a tile whose copies scaled by D stand ready together, counted in square tiles.
inline constexpr std::int32_t batchTiles = 3;

/// A subtree that one thread takes whole.
struct LeafItem {
    std::int32_t super;                 // its root
    std::int32_t firstBlock, endBlock;  // its block columns
    std::int32_t owner;                 // who takes it in the static engine
    double cost;
    std::int64_t sumBegin;  // of its root sum in rootSums, or -1: its fronts update the top one
                            // by one
};

/// A block column whose rows [begin, end), counted in itself, are columns of another one. The last
/// one of a subtree with a root sum stands for all of it: they have the rows above it in common.
struct TileSource {
    std::int32_t block;
    std::int32_t begin, end;
    std::int32_t leaf;  // the subtree in leafList that it is in, or -1 in the top
};

/// One tile of the top.
struct TileRef {
    std::int32_t block;
    std::int32_t row;  // counted in tiles
};

/// Block columns 0 .. numBlocks-1 in the order of their columns. Tile i of block b has the number
/// tileIndex[b] + i. Tile 0 has the first diagonalRows[b] rows: the diagonal block and, in a narrow
/// supernode, rows below it. The others have tileHeight[b] rows each, the last one what is left.
///
/// The subtree below and with supernode s has the block columns subtreeFirstBlock[s] ..
/// superFirstBlock[s+1]-1.
struct TilePlan {
    std::int32_t numBlocks;
    std::int32_t numTiles;
    std::int32_t numLeaves;
    std::int32_t numTopTiles;
    std::int32_t taskCapacity;                  // first size of the dynamic engine's task pool
    std::int64_t workSize;                      // doubles of updateWork that each thread has
    std::int64_t sumSize;                       // doubles of all root sums
    PoolArray<std::int32_t> blockFirstCol;      // [numBlocks + 1]
    PoolArray<std::int64_t> blockRowBegin;      // [numBlocks] in rowList
    PoolArray<std::int64_t> blockRowEnd;        // [numBlocks]
    PoolArray<std::int64_t> blockBegin;         // [numBlocks] in factorValues
    PoolArray<std::int32_t> colToBlock;         // [n]
    PoolArray<std::int32_t> superFirstBlock;    // [numSuper + 1]
    PoolArray<std::int32_t> diagonalRows;       // [numBlocks]
    PoolArray<std::int32_t> subtreeFirstBlock;  // [numSuper]
    PoolArray<std::int32_t> tileHeight;         // [numBlocks]
    PoolArray<std::int32_t> tileIndex;          // [numBlocks + 1]
    PoolArray<LeafItem> leafList;               // [numLeaves] by descending cost
    PoolArray<std::int8_t> inTop;               // [numSuper]
    PoolArray<TileRef> topTiles;                // [numTopTiles] each behind all that it depends on
    PoolArray<std::int32_t> tileOwner;          // [numTiles] of the top: the thread it is dealt to
    PoolArray<std::int64_t> depBegin;           // [numBlocks + 1] in tileDeps
    PoolArray<TileSource> tileDeps;             // of each block column of the top, ascending
};

/// The tile of block column b that its row r lies in.
inline std::int32_t tileOfRow(const TilePlan& plan, std::int32_t b, std::int32_t r) {
    const std::int32_t below = r - plan.diagonalRows[b];
    return below < 0 ? 0 : below / plan.tileHeight[b] + 1;
}

/// The first row of tile i of block column b.
inline std::int32_t firstRowOfTile(const TilePlan& plan, std::int32_t b, std::int32_t i) {
    return i == 0 ? 0 : plan.diagonalRows[b] + (i - 1) * plan.tileHeight[b];
}

/// Whether a source is the root sum of a subtree, and not a single block column.
inline bool isRootSum(const TilePlan& plan, const TileSource& source) {
    return source.leaf >= 0 && plan.leafList[source.leaf].sumBegin >= 0;
}

struct TileTeam;

/// One member of a team: the record that its thread starts with, and what it has to itself.
struct ThreadArgs {
    ThreadStart start;  // first, so that the thread's routine finds the rest
    TileTeam* team;
    double* work;            // [workSize]
    std::int32_t* position;  // [2 n]: where rows stand in the tile at hand; a list of places
    std::int32_t index;
    std::int32_t stopFlag;  // raised by any member, polled by this one
    std::int32_t numPerturbed;
    std::int32_t preparedBlock;  // whose diagonal block stands ready for tile solves, or -1
};

/// What the dynamic engine has to do on one tile of the top.
struct TileTask {
    std::int32_t type;   // taskFactor, taskSolve or taskUpdate
    std::int32_t super;  // of the tile
    std::int32_t child;  // update: from this supernode of the top, or -1
    std::int32_t row;    // the tile, in its column
    std::int32_t block;  // the tile's block column
    std::int32_t strip;  // update: from this block column of the same supernode, or -1; from all
                         // subtrees when `child` is -1 too
};
inline constexpr std::int32_t taskFactor = 0;
inline constexpr std::int32_t taskSolve = 1;
inline constexpr std::int32_t taskUpdate = 2;
inline constexpr int numPriorities = 4;

/// Tasks that are ready, in one list for each priority, and free records; all of them linked by
/// `link`. -1 ends a list.
struct TaskPool {
    PoolArray<TileTask> task;      // [capacity], doubled when it runs out
    PoolArray<std::int32_t> link;  // [capacity]
    std::int32_t firstFree;
    std::int32_t first[numPriorities];
    std::int32_t last[numPriorities];
    std::int32_t numReady;
};

/// The run-time side of the plan. A member of a team that fails writes `failed`, and all others
/// leave at their next task.
struct TileTeam {
    std::int32_t numThreads;
    std::int32_t failed;                   // first code other than ok
    std::int32_t running;                  // members that have not ended yet
    HostContext* caller;                   // of the thread that runs the factorisation
    std::int32_t openLeaves;               // subtrees not final
    const void* phase;                     // what the members work on
    std::int32_t nextLeaf;                 // dynamic engine: next entry of leafList
    PoolArray<ThreadArgs> threadArgs;      // [numThreads]
    PoolArray<HostThread*> threadHandles;  // [numThreads - 1]
    PoolArray<HostEvent*> events;          // [numThreads - 1]
    PoolArray<std::int32_t> tileState;     // [numTiles] 1: final
    PoolArray<std::int32_t> tileTouched;   // [numTiles] 1: cleared, with the matrix entries
    PoolArray<std::int32_t> takenSources;  // [numTiles] static engine: how many a tile has taken
    PoolArray<double> rootSums;            // [sumSize]
    // The dynamic engine's. taskLock guards everything but nextLeaf.
    HostMutex* leafLock;
    HostMutex* taskLock;
    PoolArray<HostMutex*> tileLocks;      // each for a group of tiles
    PoolArray<std::int32_t> openUpdates;  // [numTiles] groups of updates still to come
    PoolArray<std::int32_t> openTiles;    // [numBlocks] tiles not final
    PoolArray<std::int32_t> openBlocks;   // [numSuper] block columns not final
    PoolArray<std::int32_t> openBelow;    // [numSuper] subtrees below that are not final
    std::int32_t openItems;               // subtrees and supernodes of the top not final
    TaskPool taskPool;
};

}  // namespace ovrelin
