// The update of one tile by a group of sources: the product of their rows in the tile with their
// rows in the tile's columns, and its way to where those stand.
#include <algorithm>

#include "sparse/kernel/scatter.hpp"
#include "sparse/kernel/tile_solve.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Sources of up to this many columns have updates that take little time.
constexpr int32_t lightColumns = 8;
/// Rows of a tile that take a batch at a time: with a source's rows they fit in the cache.
constexpr int32_t tileSlice = 384;

/// One strip of a group on its way into a tile: L (rows x k) and L D (columns x k).
struct Strip {
    int32_t k;
    ConstBlock lower;
    ConstBlock scaled;
};

/// A group, or the part of one, on its way into a tile.
struct Arrival {
    const Tile& tile;
    const Strip* begin;
    const Strip* end;
    int32_t rows, columns;
    bool isTrapezoid;       // the columns are the first of the rows: the lower trapezoid is wanted
    const int32_t* place;   // [rows] in the tile's block column, ascending
    const int32_t* column;  // [columns] there, ascending
    double* product;

    [[nodiscard]] double* target(int32_t row, int32_t col) const {
        return tile.front.block().at(place[row], column[col]);
    }
};

/// Whether ascending places follow each other.
bool areConsecutive(const int32_t* place, int32_t count) {
    return place[count - 1] - place[0] == count - 1;
}

/// Few columns into consecutive rows: the tile's columns take them one by one.
void combineInPlace(const Arrival& arrival) {
    const Strip& strip = *arrival.begin;
    for (int32_t c = 0; c < arrival.columns; ++c) {
        const int32_t first = arrival.isTrapezoid ? c : 0;
        subtractColumns(arrival.rows - first, strip.k, strip.lower.from(first, 0),
                        strip.scaled.data + c, strip.scaled.ld, arrival.target(first, c));
    }
}

/// Into consecutive rows and columns of the tile.
void multiplyInPlace(const Arrival& arrival) {
    const Block out{arrival.target(0, 0), arrival.tile.front.m};
    const int32_t columns = arrival.columns, top = arrival.isTrapezoid ? columns : 0;
    for (const Strip* strip = arrival.begin; strip != arrival.end; ++strip) {
        subtractProductLower(top, top, strip->k, strip->lower, strip->scaled, out);
        subtractProduct(arrival.rows - top, columns, strip->k, strip->lower.from(top, 0),
                        strip->scaled, out.from(top, 0));
    }
}

/// Rows [begin, begin + height) of the sum of the group's products.
void sumProducts(const Arrival& arrival, int32_t begin, int32_t height, bool lower, Block out) {
    const auto first = lower ? setProductLower : setProduct;
    const auto others = lower ? addProductLower : addProduct;
    for (const Strip* strip = arrival.begin; strip != arrival.end; ++strip) {
        const auto form = strip == arrival.begin ? first : others;
        form(height, arrival.columns, strip->k, strip->lower.from(begin, 0), strip->scaled, out);
    }
}

/// Rows of a product that stay in the cache until they are handed out.
constexpr int32_t sliceRows = 192;

void multiplyAndScatter(const Arrival& arrival) {
    for (int32_t begin = 0; begin < arrival.rows;) {
        const bool lower = begin == 0 && arrival.isTrapezoid;
        const int32_t most = std::max(sliceRows, lower ? arrival.columns : 0);
        const int32_t height = std::min(arrival.rows - begin, most);
        const Block product{arrival.product, height};
        sumProducts(arrival, begin, height, lower, product);
        subtractScattered(height, arrival.columns, lower, {product.data, product.ld},
                          arrival.place + begin, arrival.column, arrival.tile.front.block());
        begin += height;
    }
}

void scalePart(Member& member, const Front& front, const TileSource& source, double* scaled) {
    const int32_t columns = source.end - source.begin;
    scaleByPivots(columns, front.k, {front.values + source.begin, front.m}, front.constBlock(),
                  member.front.symbolic.pivotIndex.data() + front.firstCol, {scaled, columns});
}

/// Where the rows of a part stand in the tile's block column.
const int32_t* placesOf(const Member& member, const SourcePart& part) {
    const int32_t* const position = member.front.scratch.position;
    int32_t* const place = member.front.scratch.position + member.front.symbolic.n;
    for (int32_t r = part.rowBegin; r < part.rowEnd; ++r)
        place[r - part.rowBegin] = position[part.front.rows[r]];
    return place;
}

/// The columns of a part in the tile's block column. Where they are not the first of its rows, the
/// list of places has room for both.
const int32_t* columnsOf(const Member& member, const Tile& tile, const SourcePart& part) {
    const LdlSymbolic& symbolic = member.front.symbolic;
    int32_t* const list = member.front.scratch.position + symbolic.n;
    if (part.isTrapezoid()) return list;
    int32_t* const column = list + (part.rowEnd - part.rowBegin);
    const int32_t* const rows = part.front.rows;
    for (int32_t c = part.begin; c < part.end; ++c)
        column[c - part.begin] = rows[c] - tile.front.firstCol;
    return column;
}

/// Applies `count` strips of one group, with their copies scaled by D.
void applyStrips(Member& member, const Tile& tile, const TileSource* source,
                 const double* const* scaled, int32_t count) {
    Strip strip[Batch::mostParts];
    const SourcePart part = partFor(member.front.symbolic, tile, *source);
    if (part.isEmpty()) return;
    const int32_t rows = part.rowEnd - part.rowBegin, columns = part.end - part.begin;
    for (int32_t p = 0; p < count; ++p) {
        // Of the same rows each strip has the last ones.
        const Front front = frontOf(member.front.symbolic, source[p].block);
        const int32_t begin = part.rowBegin + front.m - part.front.m;
        strip[p] = {front.k, {front.values + begin, front.m}, {scaled[p], columns}};
    }
    const int32_t* const place = placesOf(member, part);
    const Arrival arrival{tile,
                          strip,
                          strip + count,
                          rows,
                          columns,
                          part.isTrapezoid(),
                          place,
                          columnsOf(member, tile, part),
                          member.front.scratch.update};
    if (!areConsecutive(place, rows)) return multiplyAndScatter(arrival);
    if (count == 1 && strip[0].k <= lightColumns) return combineInPlace(arrival);
    if (areConsecutive(arrival.column, columns)) return multiplyInPlace(arrival);
    multiplyAndScatter(arrival);
}

/// A source with a single column in the tile: its one column of the product needs no list of
/// places.
void applyColumn(Member& member, const Tile& tile, const TileSource& source) {
    const SourcePart part = partFor(member.front.symbolic, tile, source);
    if (part.isEmpty()) return;
    const FrontScratch& scratch = member.front.scratch;
    const Front& front = part.front;
    scalePart(member, front, source, scratch.scaled);
    const int32_t* const rows = front.rows + part.rowBegin;
    const int32_t count = part.rowEnd - part.rowBegin;
    setProduct(count, 1, front.k, {front.values + part.rowBegin, front.m}, {scratch.scaled, 1},
               {scratch.update, count});
    const int64_t col = front.rows[part.begin] - tile.front.firstCol;
    double* const out = tile.front.values + col * tile.front.m;
    for (int32_t r = 0; r < count; ++r) out[scratch.position[rows[r]]] -= scratch.update[r];
}

/// The part of a root sum that reaches the tile, strip by strip of the sum.
void addRootSum(Member& member, const Tile& tile, const TileSource& source) {
    const SourcePart part = partFor(member.front.symbolic, tile, source);
    if (part.isEmpty()) return;
    const LeafItem& leaf = member.front.symbolic.tiles.leafList[source.leaf];
    const RootSum sum = rootSumOf(member, leaf, nullptr);
    const int32_t* const place = placesOf(member, part);
    const int32_t* const column = columnsOf(member, tile, part);
    for (int32_t begin = part.begin; begin < part.end;) {
        const Front strip = sum.stripWith(begin - part.front.k);
        // Where the rows and columns of the root begin in the strip.
        const int32_t origin = part.front.m - strip.m;
        const int32_t end = std::min(part.end, origin + strip.k);
        const int32_t row = std::max(begin, part.rowBegin);
        addScattered(part.rowEnd - row, end - begin, part.isTrapezoid(),
                     strip.constBlock().from(row - origin, begin - origin),
                     place + (row - part.rowBegin), column + (begin - part.begin),
                     tile.front.block());
        begin = end;
    }
}

int32_t superOf(const LdlSymbolic& symbolic, int32_t block) {
    return symbolic.colToSuper[symbolic.blocks.firstCol[block]];
}

}  // namespace

SourceGroup groupFrom(const LdlSymbolic& symbolic, const Tile& tile, const TileSource* source,
                      const TileSource* last) {
    const int32_t super = superOf(symbolic, source->block);
    const TileSource* end = source + 1;
    if (super != superOf(symbolic, tile.ref.block))
        while (end != last && superOf(symbolic, end->block) == super) ++end;
    return {source, end};
}

bool isLight(const LdlSymbolic& symbolic, const SourceGroup& group) {
    const int32_t* const firstCol = symbolic.blocks.firstCol + group.begin->block;
    const TileSource& source = *group.begin;
    if (group.end - group.begin > 1) return false;
    if (isRootSum(symbolic.tiles, source)) return true;
    if (source.leaf >= 0 && source.end - source.begin == 1) return true;
    return firstCol[1] - firstCol[0] <= lightColumns;
}

bool Batch::hasRoomFor(int64_t parts, int64_t size) const {
    return count_ + parts <= mostParts && used_ + size <= member_.front.symbolic.updateSize2;
}

void Batch::add(const SourceGroup& group) {
    LdlSymbolic& symbolic = member_.front.symbolic;
    if (isLight(symbolic, group)) {
        flush();
        const TileSource& source = *group.begin;
        if (isRootSum(symbolic.tiles, source)) return addRootSum(member_, tile_, source);
        if (source.end - source.begin == 1) return applyColumn(member_, tile_, source);
        double* const scaled = member_.front.scratch.scaled;
        scalePart(member_, frontOf(symbolic, source.block), source, scaled);
        return applyStrips(member_, tile_, &source, &scaled, 1);
    }
    const int32_t* const firstCol = symbolic.blocks.firstCol;
    const int64_t k = firstCol[group.end[-1].block + 1] - firstCol[group.begin->block];
    // A group is cut only where it is too large for an empty batch.
    if (!hasRoomFor(group.end - group.begin, k * (group.begin->end - group.begin->begin))) flush();
    for (const TileSource* source = group.begin; source != group.end; ++source) gather(*source);
}

void Batch::gather(const TileSource& source) {
    const Front front = frontOf(member_.front.symbolic, source.block);
    const int64_t size = int64_t{source.end - source.begin} * front.k;
    if (!hasRoomFor(1, size)) flush();
    double* const room = member_.front.scratch.scaled + used_;
    scalePart(member_, front, source, room);
    source_[count_] = source;
    scaled_[count_++] = room;
    used_ += size;
}

void Batch::flush() {
    LdlSymbolic& symbolic = member_.front.symbolic;
    // The first slice has all columns among its rows.
    const int32_t height = std::max(tileSlice, symbolic.tileSize);
    for (Tile slice = tile_; count_ > 0 && slice.begin < tile_.end; slice.begin = slice.end) {
        slice.end = std::min(slice.begin + height, tile_.end);
        for (int32_t p = 0; p < count_;) {
            const SourceGroup group = groupFrom(symbolic, tile_, source_ + p, source_ + count_);
            const auto count = static_cast<int32_t>(group.end - group.begin);
            applyStrips(member_, slice, group.begin, scaled_ + p, count);
            p += count;
        }
    }
    count_ = 0;
    used_ = 0;
}

}  // namespace ovrelin
