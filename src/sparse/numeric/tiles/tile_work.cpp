#include "sparse/numeric/tiles/tile_work.hpp"

#include <algorithm>

#include "sparse/kernel/tile_solve.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Sources of up to this many columns are combined column by column.
constexpr int32_t narrowColumns = 8;

const double* at(const Front& front, int32_t row) {
    return front.values + row;
}

/// A part on its way into a tile.
struct Arrival {
    const Tile& tile;
    const SourcePart& part;
    const int32_t* position;  // of each row of the matrix in the tile's block column
    double* scaled;           // [columns x k] L D of the part's columns, leading dimension columns
    double* product;
    bool consecutive;  // the part's rows stand one after the other in the tile

    [[nodiscard]] int32_t columns() const { return part.end - part.begin; }

    /// Column of the tile that the part's row p is, from its block column's row 0 on.
    [[nodiscard]] double* targetColumn(int32_t p) const {
        const int64_t col = part.front.rows[p] - tile.front.firstCol;
        return tile.front.values + col * tile.front.m;
    }
    [[nodiscard]] int32_t positionOf(int32_t q) const { return position[part.front.rows[q]]; }
    /// The rows of W that column p has in this tile begin here: below the diagonal only.
    [[nodiscard]] int32_t firstRow(int32_t p) const { return std::max(part.rowBegin, p); }
};

void subtractScattered(const Arrival& arrival, int32_t p, const double* w) {
    double* const out = arrival.targetColumn(p);
    const int32_t first = arrival.firstRow(p);
    const int32_t count = arrival.part.rowEnd - first;
    if (arrival.consecutive) {
        double* const to = out + arrival.positionOf(first);
        for (int32_t r = 0; r < count; ++r) to[r] -= w[r];
        return;
    }
    const int32_t* const rows = arrival.part.front.rows + first;
    for (int32_t r = 0; r < count; ++r) out[arrival.position[rows[r]]] -= w[r];
}

void narrowArrival(const Arrival& arrival) {
    const SourcePart& part = arrival.part;
    const Front& front = part.front;
    for (int32_t p = part.begin; p < part.end; ++p) {
        const int32_t first = arrival.firstRow(p);
        const int32_t count = part.rowEnd - first;
        if (count <= 0) return;
        const ConstBlock lower{at(front, first), front.m};
        const double* const coef = arrival.scaled + (p - part.begin);
        if (arrival.consecutive) {
            subtractColumns(count, front.k, lower, coef, arrival.columns(),
                            arrival.targetColumn(p) + arrival.positionOf(first));
        } else {
            combineColumns(count, front.k, lower, coef, arrival.columns(), arrival.product);
            subtractScattered(arrival, p, arrival.product);
        }
    }
}

void wideArrival(const Arrival& arrival) {
    const SourcePart& part = arrival.part;
    const int32_t columns = arrival.columns();
    const int32_t height = part.rowEnd - part.rowBegin;
    const ConstBlock lower{at(part.front, part.rowBegin), part.front.m};
    const ConstBlock scaled{arrival.scaled, columns};
    // With the columns' own rows among the rows, only the lower trapezoid is wanted.
    const bool trapezoid = part.rowBegin == part.begin;
    const auto form = [&](bool direct, Block out) {
        if (trapezoid)
            return direct ? subtractProductLower(height, columns, part.front.k, lower, scaled, out)
                          : setProductLower(height, columns, part.front.k, lower, scaled, out);
        return direct ? subtractProduct(height, columns, part.front.k, lower, scaled, out)
                      : setProduct(height, columns, part.front.k, lower, scaled, out);
    };
    const int32_t* const rows = part.front.rows;
    if (arrival.consecutive && rows[part.end - 1] - rows[part.begin] == columns - 1)
        return form(true, {arrival.targetColumn(part.begin) + arrival.positionOf(part.rowBegin),
                           arrival.tile.front.m});
    form(false, {arrival.product, height});
    for (int32_t p = part.begin; p < part.end; ++p) {
        const int64_t c = p - part.begin;
        subtractScattered(arrival, p,
                          arrival.product + c * height + (arrival.firstRow(p) - part.rowBegin));
    }
}

ConstBlock diagonalOf(const Front& front) {
    return {front.values, front.m};
}

}  // namespace

Tile tileOf(LdlSymbolic& symbolic, TileRef ref) {
    const Front front = frontOf(symbolic, ref.block);
    const int32_t height = symbolic.tiles.tileHeight[ref.block];
    const int32_t begin = ref.row * height;
    return {front, ref, begin, std::min(begin + height, front.m)};
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

void applySource(Member& member, const Tile& tile, const SourcePart& part) {
    const FrontScratch& scratch = member.front.scratch;
    const Front& front = part.front;
    const int32_t* const pivot = member.front.symbolic.pivotIndex.data() + front.firstCol;
    const int32_t* const position = scratch.position;
    const int32_t reach =
        position[front.rows[part.rowEnd - 1]] - position[front.rows[part.rowBegin]];
    const Arrival arrival{tile,           part,           position,
                          scratch.scaled, scratch.update, reach == part.rowEnd - 1 - part.rowBegin};
    const int32_t columns = arrival.columns();
    scaleByPivots(columns, front.k, {at(front, part.begin), front.m}, diagonalOf(front), pivot,
                  {scratch.scaled, columns});
    if (front.k <= narrowColumns)
        narrowArrival(arrival);
    else
        wideArrival(arrival);
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
        prepareDiagonal(front.k, diagonalOf(front), pivot, member.diagonal);
        member.args.preparedBlock = tile.ref.block;
    }
    solveTile(tile.end - tile.begin, front.k, member.diagonal, diagonalOf(front), pivot,
              {tile.values(), front.m});
}

}  // namespace ovrelin
