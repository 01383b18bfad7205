// What is done to one tile of the top: it takes the updates of its sources, group after group, and
// then is factored or solved. Which thread does it, and when, is the engines' affair.
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

/// The sum of a subtree that has one; `place` [n] may be null for readers.
RootSum rootSumOf(const Member& member, const LeafItem& item, const std::int32_t* place);

/// The part of a source that reaches a tile: columns [begin, end) of W from its rows of that range,
/// rows [rowBegin, rowEnd).
struct SourcePart {
    Front front;
    std::int32_t begin, end;
    std::int32_t rowBegin, rowEnd;

    [[nodiscard]] bool isEmpty() const { return rowBegin >= rowEnd; }
    /// Whether the columns are the first of the rows, so that the lower trapezoid is wanted.
    [[nodiscard]] bool isTrapezoid() const { return rowBegin == begin; }
};

SourcePart partFor(LdlSymbolic& symbolic, const Tile& tile, const TileSource& source);

/// Clears the tile and adds the matrix entries, unless that has been done: what then comes to it
/// finds it in the cache. Before anything else is done to a tile, by one thread at a time.
void touchTile(Member& member, const Tile& tile);

/// Notes where the tile's rows stand; before a batch goes to it.
void enterTile(Member& member, const Tile& tile);

/// Sources that a tile takes together: the strips of one supernode have the same rows in the tile,
/// so that their products are summed up before they are handed out. A strip of the tile's own
/// supernode is a group by itself.
struct SourceGroup {
    const TileSource* begin;
    const TileSource* end;
};

/// The group that begins with `source`; `last` is the end of the tile's sources.
SourceGroup groupFrom(const LdlSymbolic& symbolic, const Tile& tile, const TileSource* source,
                      const TileSource* last);

/// A source of few columns, or with a single one in the tile, whose update takes little time.
bool isLight(const LdlSymbolic& symbolic, const SourceGroup& group);

/// Sources of one tile on their way into it, in the order in which they are added. A tile is larger
/// than the cache: groups that are not light are gathered, and each slice of the tile takes all of
/// them. flush comes before anyone reads the tile, and before another one is entered.
///
/// What is summed up with what depends on the groups alone, not on what else is in the batch.
class Batch {
public:
    static constexpr std::int32_t mostParts = 16;

    Batch(Member& member, const Tile& tile) : member_(member), tile_(tile) {}

    /// Subtracts the group's product L D L', now or at the flush. What reaches the tile of it must
    /// be final.
    void add(const SourceGroup& group);
    void flush();

private:
    [[nodiscard]] bool hasRoomFor(std::int64_t parts, std::int64_t size) const;
    void gather(const TileSource& source);

    Member& member_;
    const Tile& tile_;
    std::int32_t count_ = 0;
    std::int64_t used_ = 0;  // of the room for scaled copies
    TileSource source_[mostParts];
    double* scaled_[mostParts];
};

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
