#include "sparse/kernel/product.hpp"

#include <algorithm>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;
using tile::Into;

/// Columns of a triangle that is computed on the side; wider ones are halved.
constexpr int32_t triangleLeaf = 24;
/// Columns of a trapezoid that share one product for the rows below them.
constexpr int32_t stripWidth = 96;

/// Edge of the pieces of a large product: a piece of B stays in the second cache, while strips of A
/// pass through the first.
constexpr int32_t pieceEdge = tile::mostDepth, pieceRows = 2 * pieceEdge;

OV_WIDE void widePiece(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b,
                       Block c) {
    tile::product<tile::WideShape>(into, m, n, k, a, b, c);
}

OV_NARROW void narrowPiece(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b,
                           Block c) {
    tile::product<tile::NarrowShape>(into, m, n, k, a, b, c);
}

void smallPiece(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<tile::SmallShape>(into, m, n, k, a, b, c);
}

void piece(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (tile::hasWideRegisters()) return widePiece(into, m, n, k, a, b, c);
    if (tile::hasNarrowRegisters()) return narrowPiece(into, m, n, k, a, b, c);
    smallPiece(into, m, n, k, a, b, c);
}

/// The length of equal pieces of `total`, none above the edge, in whole multiples of `unit`.
int32_t pieceLength(int32_t total, int32_t edge, int32_t unit) {
    const int32_t pieces = (total + edge - 1) / edge;
    return ((total + pieces - 1) / pieces + unit - 1) / unit * unit;
}

/// The first piece of the depth does to C what is asked for, the later ones add to a C that was
/// set.
void pieces(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    const int32_t rows = pieceLength(m, pieceRows, 24), cols = pieceLength(n, pieceEdge, 8);
    const int32_t depth = pieceLength(std::max(k, 1), pieceEdge, 1);
    const auto overDepth = [&](int32_t row, int32_t col) {
        Into next = into;
        int32_t p = 0;
        do {
            piece(next, std::min(rows, m - row), std::min(cols, n - col), std::min(depth, k - p),
                  a.from(row, p), b.from(col, p), c.from(row, col));
            if (into == Into::set) next = Into::add;
            p += depth;
        } while (p < k);
    };
    for (int32_t col = 0; col < n; col += cols)
        for (int32_t row = 0; row < m; row += rows) overDepth(row, col);
}

void anyProduct(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (m <= 0 || n <= 0) return;
    if (std::max({m, n, k}) <= pieceEdge) return piece(into, m, n, k, a, b, c);
    pieces(into, m, n, k, a, b, c);
}

/// A small triangle, eight columns at a time from their own rows on.
void smallTriangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    constexpr int32_t most = 8;
    for (int32_t col = 0; col < n; col += most)
        anyProduct(Into::set, n - col, std::min(most, n - col), k, a.from(col, 0), b.from(col, 0),
                   c.from(col, col));
}

/// A small triangle is computed on the side, where the corners above the diagonal may be written.
void leafTriangle(Into into, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    double square[triangleLeaf * triangleLeaf];
    smallTriangle(n, k, a, b, {square, triangleLeaf});
    for (int32_t col = 0; col < n; ++col) {
        const double* from = square + col * triangleLeaf;
        double* to = c.data + col * c.ld;
        for (int32_t row = col; row < n; ++row) {
            const double old = into == Into::set ? 0 : to[row];
            to[row] = into == Into::subtract ? old - from[row] : old + from[row];
        }
    }
}

/// The lower triangle of an n x n product, by halves, so that all but thin leaves are rectangles.
void triangle(Into into, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (n <= triangleLeaf) return leafTriangle(into, n, k, a, b, c);
    const int32_t half = (n / 2 + 7) / 8 * 8;
    triangle(into, half, k, a, b, c);
    anyProduct(into, n - half, half, k, a.from(half, 0), b, c.from(half, 0));
    triangle(into, n - half, k, a.from(half, 0), b.from(half, 0), c.from(half, half));
}

void trapezoid(Into into, int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    for (int32_t col = 0; col < n; col += stripWidth) {
        const int32_t width = std::min(stripWidth, n - col);
        const int32_t below = col + width;
        triangle(into, width, k, a.from(col, 0), b.from(col, 0), c.from(col, col));
        anyProduct(into, m - below, width, k, a.from(below, 0), b.from(col, 0), c.from(below, col));
    }
}

template <int k>
OV_INLINE void fewColumns(int64_t count, ConstBlock a, const double* coef, int64_t stride,
                          double* __restrict out) {
    const double* column[k];
    double factor[k];
    for (int p = 0; p < k; ++p) {
        column[p] = a.data + p * a.ld;
        factor[p] = coef[p * stride];
    }
    for (int64_t row = 0; row < count; ++row) {
        double sum = column[0][row] * factor[0];
        for (int p = 1; p < k; ++p) sum += column[p][row] * factor[p];
        out[row] -= sum;
    }
}

OV_INLINE void upToFour(int64_t count, int32_t k, ConstBlock a, const double* coef, int64_t stride,
                        double* out) {
    switch (k) {
        case 1:
            return fewColumns<1>(count, a, coef, stride, out);
        case 2:
            return fewColumns<2>(count, a, coef, stride, out);
        case 3:
            return fewColumns<3>(count, a, coef, stride, out);
        default:
            return fewColumns<4>(count, a, coef, stride, out);
    }
}

}  // namespace

void subtractProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) anyProduct(Into::subtract, m, n, k, a, b, c);
}

void setProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    anyProduct(Into::set, m, n, k, a, b, c);
}

void addProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) anyProduct(Into::add, m, n, k, a, b, c);
}

void subtractProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) trapezoid(Into::subtract, m, n, k, a, b, c);
}

void setProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    trapezoid(Into::set, m, n, k, a, b, c);
}

void addProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) trapezoid(Into::add, m, n, k, a, b, c);
}

OV_CLONES void subtractColumns(int32_t count, int32_t k, ConstBlock a, const double* coef,
                               int64_t stride, double* out) {
    for (int32_t p = 0; p < k; p += 4)
        upToFour(count, k - p, {a.data + p * a.ld, a.ld}, coef + p * stride, stride, out);
}

}  // namespace ovrelin
