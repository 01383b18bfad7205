#include "sparse/kernel/product.hpp"

#include <algorithm>

#include "linalg/blas.hpp"
#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Multiply-adds from which a DGEMM call, with its packing, is the faster way.
constexpr int64_t blasWork = 60000;
/// Columns of a triangle that is computed on the side; wider ones are halved.
constexpr int32_t triangleLeaf = 24;
/// Columns of a trapezoid that share one product for the rows below them.
constexpr int32_t stripWidth = 96;

OV_CLONES void smallSubtract(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<true>(m, n, k, a, b, c);
}

OV_CLONES void smallSet(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<false>(m, n, k, a, b, c);
}

/// Edge of the pieces in which a large product goes to DGEMM. Up to a million multiply-adds
/// OpenBLAS works without packing on recent machines, a tenth faster than with it; pieces this
/// large hide the cost of a call on the others too.
constexpr int32_t pieceEdge = 96;

/// The length of equal pieces of `total`, none above the edge, in whole multiples of `unit`.
int32_t pieceLength(int32_t total, int32_t unit) {
    const int32_t pieces = (total + pieceEdge - 1) / pieceEdge;
    return ((total + pieces - 1) / pieces + unit - 1) / unit * unit;
}

void blasPiece(int32_t m, int32_t n, int32_t k, double alpha, ConstBlock a, ConstBlock b,
               double beta, Block c) {
    const auto lda = static_cast<int32_t>(a.ld);
    const auto ldb = static_cast<int32_t>(b.ld);
    const auto ldc = static_cast<int32_t>(c.ld);
    dgemm_("N", "T", &m, &n, &k, &alpha, a.data, &lda, b.data, &ldb, &beta, c.data, &ldc);
}

void blasProduct(int32_t m, int32_t n, int32_t k, double alpha, ConstBlock a, ConstBlock b,
                 double beta, Block c) {
    const int32_t rows = pieceLength(m, 16), cols = pieceLength(n, 8), depth = pieceLength(k, 1);
    for (int32_t col = 0; col < n; col += cols)
        for (int32_t row = 0; row < m; row += rows)
            for (int32_t p = 0; p < k; p += depth)
                blasPiece(std::min(rows, m - row), std::min(cols, n - col), std::min(depth, k - p),
                          alpha, {a.data + row + p * a.ld, a.ld}, {b.data + col + p * b.ld, b.ld},
                          p == 0 ? beta : 1.0, {c.data + row + col * c.ld, c.ld});
}

template <bool subtract>
void anyProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (m <= 0 || n <= 0) return;
    const bool small = static_cast<int64_t>(m) * n * k < blasWork;
    if (!small) return blasProduct(m, n, k, subtract ? -1.0 : 1.0, a, b, subtract ? 1.0 : 0.0, c);
    if (subtract)
        smallSubtract(m, n, k, a, b, c);
    else
        smallSet(m, n, k, a, b, c);
}

ConstBlock rowsFrom(ConstBlock block, int32_t row) {
    return {block.data + row, block.ld};
}
Block entry(Block block, int32_t row, int32_t col) {
    return {block.data + row + col * block.ld, block.ld};
}

/// A small triangle, six columns at a time from their own rows on.
OV_CLONES void smallTriangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    for (int32_t col = 0; col < n; col += tile::maxCols) {
        const int32_t width = std::min(tile::maxCols, n - col);
        tile::product<false>(n - col, width, k, rowsFrom(a, col), rowsFrom(b, col),
                             entry(c, col, col));
    }
}

/// A small triangle is computed on the side, where the corners above the diagonal may be written.
template <bool subtract>
void leafTriangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    double square[triangleLeaf * triangleLeaf];
    smallTriangle(n, k, a, b, {square, triangleLeaf});
    for (int32_t col = 0; col < n; ++col) {
        const double* from = square + col * triangleLeaf;
        double* to = c.data + col * c.ld;
        for (int32_t row = col; row < n; ++row)
            to[row] = subtract ? to[row] - from[row] : from[row];
    }
}

/// The lower triangle of an n x n product, by halves, so that all but thin leaves are rectangles.
template <bool subtract>
void triangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (n <= triangleLeaf) return leafTriangle<subtract>(n, k, a, b, c);
    const int32_t half = (n / 2 + 7) / 8 * 8;
    triangle<subtract>(half, k, a, b, c);
    anyProduct<subtract>(n - half, half, k, rowsFrom(a, half), b, entry(c, half, 0));
    triangle<subtract>(n - half, k, rowsFrom(a, half), rowsFrom(b, half), entry(c, half, half));
}

template <bool subtract>
void trapezoid(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    for (int32_t col = 0; col < n; col += stripWidth) {
        const int32_t width = std::min(stripWidth, n - col);
        const int32_t below = col + width;
        triangle<subtract>(width, k, rowsFrom(a, col), rowsFrom(b, col), entry(c, col, col));
        anyProduct<subtract>(m - below, width, k, rowsFrom(a, below), rowsFrom(b, col),
                             entry(c, below, col));
    }
}

enum class Mode { set, add, subtract };

template <Mode mode, int k>
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
        out[row] = mode == Mode::set ? sum : mode == Mode::add ? out[row] + sum : out[row] - sum;
    }
}

template <Mode mode>
OV_INLINE void upToFour(int64_t count, int32_t k, ConstBlock a, const double* coef, int64_t stride,
                        double* out) {
    switch (k) {
        case 1:
            return fewColumns<mode, 1>(count, a, coef, stride, out);
        case 2:
            return fewColumns<mode, 2>(count, a, coef, stride, out);
        case 3:
            return fewColumns<mode, 3>(count, a, coef, stride, out);
        default:
            return fewColumns<mode, 4>(count, a, coef, stride, out);
    }
}

template <Mode first, Mode rest>
OV_INLINE void manyColumns(int64_t count, int32_t k, ConstBlock a, const double* coef,
                           int64_t stride, double* out) {
    upToFour<first>(count, k, a, coef, stride, out);
    for (int32_t p = 4; p < k; p += 4)
        upToFour<rest>(count, k - p, {a.data + p * a.ld, a.ld}, coef + p * stride, stride, out);
}

}  // namespace

void subtractProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) anyProduct<true>(m, n, k, a, b, c);
}

void setProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    anyProduct<false>(m, n, k, a, b, c);
}

void subtractProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) trapezoid<true>(m, n, k, a, b, c);
}

void setProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    trapezoid<false>(m, n, k, a, b, c);
}

OV_CLONES void combineColumns(int32_t count, int32_t k, ConstBlock a, const double* coef,
                              int64_t stride, double* out) {
    manyColumns<Mode::set, Mode::add>(count, k, a, coef, stride, out);
}

OV_CLONES void subtractColumns(int32_t count, int32_t k, ConstBlock a, const double* coef,
                               int64_t stride, double* out) {
    if (k > 0) manyColumns<Mode::subtract, Mode::subtract>(count, k, a, coef, stride, out);
}

}  // namespace ovrelin
