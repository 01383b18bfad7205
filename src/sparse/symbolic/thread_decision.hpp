// How many threads factor a matrix, and whether on tiles: a team costs some ten microseconds to
// start and every tile some bookkeeping, so that small factorisations stay with the sequential
// engine.
#pragma once

#include <cstdint>

namespace ovrelin {

/// What the decision rests on.
struct ThreadQuestion {
    double supernodeOps;     // operations of the factorisation, after amalgamation
    double numLowerEntries;  // of L, before amalgamation
    std::int32_t n;
    std::int32_t firstBlockSize;
    std::int32_t matrixClass;
    std::int32_t schedulingMode;
    std::int32_t numThreads;  // wanted
};

struct ThreadDecision {
    bool onTiles;
    std::int32_t numThreads;
};

[[nodiscard]] ThreadDecision decideThreads(const ThreadQuestion& question);

/// Edge of the tiles. `density` is operations per entry of L, before amalgamation.
[[nodiscard]] std::int32_t chooseTileSize(std::int32_t numThreads, std::int32_t schedulingMode,
                                          std::int32_t maxSuperCols, double density);

}  // namespace ovrelin
