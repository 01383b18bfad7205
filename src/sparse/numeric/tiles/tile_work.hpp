// What is done to one tile of the top: it takes the updates of its sources, one after the other,
// and then is factored or solved. Which thread does it, and when, is the engines' affair.
#pragma once

#include "sparse/numeric/tiles/team.hpp"

namespace ovrelin {

/// A tile as a target: rows [begin, end) of its block column.
struct Tile {
    Front front;
    TileRef ref;
    std::int32_t begin, end;

    [[nodiscard]] bool isDiagonal() const { return begin == 0; }
    [[nodiscard]] double* values() const { return front.values + begin; }
};

Tile tileOf(LdlSymbolic& symbolic, TileRef ref);

/// The part of a source that reaches a tile: columns [begin, end) of W from its rows of that range,
/// rows [rowBegin, rowEnd).
struct SourcePart {
    Front front;
    std::int32_t begin, end;
    std::int32_t rowBegin, rowEnd;

    [[nodiscard]] bool isEmpty() const { return rowBegin >= rowEnd; }
};

/// Sources of up to this many columns are combined column by column.
inline constexpr std::int32_t narrowColumns = 8;

SourcePart partFor(LdlSymbolic& symbolic, const Tile& tile, const TileSource& source);

/// Notes where the tile's rows stand; before the first applySource of a tile.
void enterTile(Member& member, const Tile& tile);

/// Sources of few columns, whose updates take little time each.
inline bool isNarrow(const SourcePart& part) {
    return part.front.k <= narrowColumns;
}

/// Subtracts the part's product L D L'. The part must be final.
void applySource(Member& member, const Tile& tile, const SourcePart& part);

/// The dense pivot step of a tile with the diagonal block. ok or stopped.
[[nodiscard]] int factorDiagonalTile(Member& member, const Tile& tile);

/// Solves another tile against the diagonal block of its column, which must be final.
void solveAgainstDiagonal(Member& member, const Tile& tile);

/// Number of the tile in tileState.
inline std::int32_t tileNumber(const LdlSymbolic& symbolic, TileRef ref) {
    return symbolic.tiles.tileIndex[ref.block] + ref.row;
}

inline void markFinal(Member& member, std::int32_t tile) {
    __atomic_store_n(&member.team.tileState[tile], 1, __ATOMIC_RELEASE);
}

}  // namespace ovrelin
