// The update of one tile by one source: the product of the source's rows in the tile with its rows
// in the tile's columns, and its way to where those stand.
#include <algorithm>

#include "linalg/blas.hpp"
#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/tile_solve.hpp"
#include "sparse/numeric/tiles/tile_work.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Rows of an average segment from which segments beat single rows.
constexpr int32_t longSegment = 6;

/// Rows that follow each other on both sides.
struct Segment {
    int32_t from, to, count;
};

/// Where the rows of a part stand in the tile's block column.
struct Places {
    const Segment* segments;
    int32_t numSegments;   // 1: they follow each other; 0: no segments, row by row
    const int32_t* place;  // of each row, when there are no segments

    [[nodiscard]] bool areConsecutive() const { return numSegments == 1; }
};

/// `list` has room for one entry a row. Both row lists ascend.
Places findPlaces(const int32_t* position, const int32_t* rows, int32_t count, int32_t* list) {
    static_assert(longSegment * sizeof(int32_t) >= sizeof(Segment));
    auto* const segments = reinterpret_cast<Segment*>(list);
    const int32_t first = position[rows[0]];
    if (position[rows[count - 1]] - first == count - 1) {
        if (count >= longSegment) {
            segments[0] = {0, first, count};
            return {segments, 1, nullptr};
        }
    }
    int32_t found = 0;
    for (int32_t r = 0; r < count && found < count / longSegment; ++found) {
        const int32_t begin = r, shift = position[rows[r]] - r;
        while (++r < count && position[rows[r]] - r == shift) {
        }
        segments[found] = {begin, begin + shift, r - begin};
        if (r == count) return {segments, found + 1, nullptr};
    }
    for (int32_t r = 0; r < count; ++r) list[r] = position[rows[r]];
    return {nullptr, 0, list};
}

/// A part on its way into a tile.
struct Arrival {
    const Tile& tile;
    const SourcePart& part;
    Places places;
    const double* scaled;  // [columns x k] L D of the part's columns, leading dimension columns
    double* product;

    [[nodiscard]] int32_t columns() const { return part.end - part.begin; }
    [[nodiscard]] int32_t rows() const { return part.rowEnd - part.rowBegin; }

    /// Column c of the part in the tile's block column, from its row 0 on.
    [[nodiscard]] double* targetColumn(int32_t c) const {
        const int64_t col = part.front.rows[part.begin + c] - tile.front.firstCol;
        return tile.front.values + col * tile.front.m;
    }
    /// The first of the part's rows that column c has: below the diagonal only.
    [[nodiscard]] int32_t firstRow(int32_t c) const {
        return std::max(0, part.begin + c - part.rowBegin);
    }
    [[nodiscard]] bool isTrapezoid() const { return part.rowBegin == part.begin; }
    [[nodiscard]] ConstBlock lowerFrom(int32_t row) const {
        return {part.front.values + part.rowBegin + row, part.front.m};
    }
};

OV_CLONES void subtractRun(int64_t count, const double* __restrict w, double* __restrict out) {
    for (int64_t r = 0; r < count; ++r) out[r] -= w[r];
}

/// Rows [begin, end) of column c of the product, w[r] for the part's row begin + r.
void subtractScattered(const Arrival& arrival, int32_t c, int32_t begin, int32_t end,
                       const double* w) {
    double* const out = arrival.targetColumn(c);
    const Places& places = arrival.places;
    const int32_t first = std::max(begin, arrival.firstRow(c));
    for (int32_t s = 0; s < places.numSegments; ++s) {
        const Segment& segment = places.segments[s];
        const int32_t from = std::max(first, segment.from);
        const int32_t count = std::min(end, segment.from + segment.count) - from;
        if (count > 0)
            subtractRun(count, w + (from - begin), out + segment.to + from - segment.from);
    }
    if (places.numSegments > 0) return;
    for (int32_t r = first; r < end; ++r) out[places.place[r]] -= w[r - begin];
}

void narrowArrival(const Arrival& arrival) {
    const int32_t columns = arrival.columns();
    const int32_t k = arrival.part.front.k;
    for (int32_t c = 0; c < columns; ++c) {
        const int32_t first = arrival.firstRow(c);
        const int32_t count = arrival.rows() - first;
        if (arrival.places.areConsecutive()) {
            double* const out = arrival.targetColumn(c) + arrival.places.segments[0].to + first;
            subtractColumns(count, k, arrival.lowerFrom(first), arrival.scaled + c, columns, out);
        } else {
            combineColumns(count, k, arrival.lowerFrom(first), arrival.scaled + c, columns,
                           arrival.product + first);
            subtractScattered(arrival, c, 0, arrival.rows(), arrival.product);
        }
    }
}

/// C -= A B' where C is larger than the cache: from some size on DGEMM as a whole, which fetches C
/// ahead, is faster than the pieces that products in the cache are cut into.
void subtractTall(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    constexpr int32_t tallRows = 192, wideColumns = 32, deepColumns = 16;
    if (m < tallRows || n < wideColumns || k < deepColumns)
        return subtractProduct(m, n, k, a, b, c);
    const double minusOne = -1, one = 1;
    const auto lda = static_cast<int32_t>(a.ld), ldb = static_cast<int32_t>(b.ld);
    const auto ldc = static_cast<int32_t>(c.ld);
    dgemm_("N", "T", &m, &n, &k, &minusOne, a.data, &lda, b.data, &ldb, &one, c.data, &ldc);
}

/// Into consecutive rows and columns of the target.
void directArrival(const Arrival& arrival, ConstBlock scaled) {
    const int32_t columns = arrival.columns(), rows = arrival.rows();
    const int32_t k = arrival.part.front.k;
    const Block out{arrival.targetColumn(0) + arrival.places.segments[0].to, arrival.tile.front.m};
    // With the columns' own rows among the rows, only the lower trapezoid is wanted.
    const int32_t top = arrival.isTrapezoid() ? columns : 0;
    if (top > 0) subtractProductLower(top, columns, k, arrival.lowerFrom(0), scaled, out);
    subtractTall(rows - top, columns, k, arrival.lowerFrom(top), scaled, {out.data + top, out.ld});
}

/// Rows of a product that stay in the cache until they are handed out.
constexpr int32_t sliceRows = 192;

void wideArrival(const Arrival& arrival) {
    const int32_t columns = arrival.columns(), rows = arrival.rows();
    const int32_t k = arrival.part.front.k;
    const ConstBlock scaled{arrival.scaled, columns};
    const int32_t* const list = arrival.part.front.rows + arrival.part.begin;
    if (arrival.places.areConsecutive() && list[columns - 1] - list[0] == columns - 1)
        return directArrival(arrival, scaled);
    for (int32_t begin = 0; begin < rows;) {
        const bool trapezoid = begin == 0 && arrival.isTrapezoid();
        const int32_t end = std::min(rows, begin + std::max(sliceRows, trapezoid ? columns : 0));
        const int32_t height = end - begin;
        const Block product{arrival.product, height};
        if (trapezoid)
            setProductLower(height, columns, k, arrival.lowerFrom(begin), scaled, product);
        else
            setProduct(height, columns, k, arrival.lowerFrom(begin), scaled, product);
        for (int32_t c = 0; c < columns; ++c)
            subtractScattered(arrival, c, begin, end, product.data + int64_t{c} * height);
        begin = end;
    }
}

/// Rows of a tile that take a batch at a time: with a source's rows they fit in the cache.
constexpr int32_t tileSlice = 384;

void scalePart(Member& member, const SourcePart& part, double* scaled) {
    const Front& front = part.front;
    const int32_t columns = part.end - part.begin;
    scaleByPivots(columns, front.k, {front.values + part.begin, front.m}, front.constBlock(),
                  member.front.symbolic.pivotIndex.data() + front.firstCol, {scaled, columns});
}

void applyPart(Member& member, const Tile& tile, const SourcePart& part, const double* scaled) {
    const FrontScratch& scratch = member.front.scratch;
    const Places places =
        findPlaces(scratch.position, part.front.rows + part.rowBegin, part.rowEnd - part.rowBegin,
                   scratch.position + member.front.symbolic.n);
    const Arrival arrival{tile, part, places, scaled, scratch.update};
    if (isNarrow(part))
        narrowArrival(arrival);
    else
        wideArrival(arrival);
}

}  // namespace

void Batch::add(const SourcePart& part, const TileSource& source) {
    double* const room = member_.front.scratch.scaled;
    if (isNarrow(part)) {
        flush();
        scalePart(member_, part, room);
        return applyPart(member_, tile_, part, room);
    }
    const int64_t size = int64_t{part.end - part.begin} * part.front.k;
    if (count_ == mostParts || used_ + size > member_.front.symbolic.updateSize2) flush();
    scalePart(member_, part, room + used_);
    source_[count_] = source;
    scaled_[count_++] = room + used_;
    used_ += size;
}

void Batch::flush() {
    LdlSymbolic& symbolic = member_.front.symbolic;
    // The first slice has all columns among its rows.
    const int32_t height = std::max(tileSlice, symbolic.tileSize);
    for (Tile slice = tile_; count_ > 0 && slice.begin < tile_.end; slice.begin = slice.end) {
        slice.end = std::min(slice.begin + height, tile_.end);
        for (int32_t p = 0; p < count_; ++p) {
            const SourcePart part = partFor(symbolic, slice, source_[p]);
            if (!part.isEmpty()) applyPart(member_, slice, part, scaled_[p]);
        }
    }
    count_ = 0;
    used_ = 0;
}

}  // namespace ovrelin
