#include "sparse/kernel/product.hpp"

#include <algorithm>

#include "linalg/blas.hpp"
#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;
using tile::Into;

/// Multiply-adds from which a DGEMM call, with its packing, is the faster way.
constexpr int64_t blasWork = 60000;
/// Columns of a triangle that is computed on the side; wider ones are halved.
constexpr int32_t triangleLeaf = 24;
/// Columns of a trapezoid that share one product for the rows below them.
constexpr int32_t stripWidth = 96;

// Three functions, since a template has no versions for the machines.
OV_CLONES void smallSubtract(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<Into::subtract>(m, n, k, a, b, c);
}

OV_CLONES void smallSet(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<Into::set>(m, n, k, a, b, c);
}

OV_CLONES void smallAdd(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    tile::product<Into::add>(m, n, k, a, b, c);
}

template <Into into>
void smallProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if constexpr (into == Into::subtract)
        smallSubtract(m, n, k, a, b, c);
    else if constexpr (into == Into::set)
        smallSet(m, n, k, a, b, c);
    else
        smallAdd(m, n, k, a, b, c);
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

// OpenBLAS built for one thread hands the same packing buffer to two threads that call it at the
// same moment, and the results are wrong. Pieces of up to a million multiply-adds pass without a
// buffer on processors with 512-bit registers; teams must not be given larger calls.
void blasProduct(int32_t m, int32_t n, int32_t k, double alpha, ConstBlock a, ConstBlock b,
                 double beta, Block c) {
    const int32_t rows = pieceLength(m, 16), cols = pieceLength(n, 8), depth = pieceLength(k, 1);
    for (int32_t col = 0; col < n; col += cols)
        for (int32_t row = 0; row < m; row += rows)
            for (int32_t p = 0; p < k; p += depth)
                blasPiece(std::min(rows, m - row), std::min(cols, n - col), std::min(depth, k - p),
                          alpha, a.from(row, p), b.from(col, p), p == 0 ? beta : 1.0,
                          c.from(row, col));
}

template <Into into>
void anyProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (m <= 0 || n <= 0) return;
    if (static_cast<int64_t>(m) * n * k < blasWork) return smallProduct<into>(m, n, k, a, b, c);
    constexpr double alpha = into == Into::subtract ? -1 : 1;
    constexpr double beta = into == Into::set ? 0 : 1;
    blasProduct(m, n, k, alpha, a, b, beta, c);
}

/// A small triangle, six columns at a time from their own rows on.
OV_CLONES void smallTriangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    for (int32_t col = 0; col < n; col += tile::maxCols) {
        const int32_t width = std::min(tile::maxCols, n - col);
        tile::product<Into::set>(n - col, width, k, a.from(col, 0), b.from(col, 0),
                                 c.from(col, col));
    }
}

/// A small triangle is computed on the side, where the corners above the diagonal may be written.
template <Into into>
void leafTriangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
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
template <Into into>
void triangle(int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (n <= triangleLeaf) return leafTriangle<into>(n, k, a, b, c);
    const int32_t half = (n / 2 + 7) / 8 * 8;
    triangle<into>(half, k, a, b, c);
    anyProduct<into>(n - half, half, k, a.from(half, 0), b, c.from(half, 0));
    triangle<into>(n - half, k, a.from(half, 0), b.from(half, 0), c.from(half, half));
}

template <Into into>
void trapezoid(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    for (int32_t col = 0; col < n; col += stripWidth) {
        const int32_t width = std::min(stripWidth, n - col);
        const int32_t below = col + width;
        triangle<into>(width, k, a.from(col, 0), b.from(col, 0), c.from(col, col));
        anyProduct<into>(m - below, width, k, a.from(below, 0), b.from(col, 0), c.from(below, col));
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
    if (k > 0) anyProduct<Into::subtract>(m, n, k, a, b, c);
}

void setProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    anyProduct<Into::set>(m, n, k, a, b, c);
}

void addProduct(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) anyProduct<Into::add>(m, n, k, a, b, c);
}

void subtractProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) trapezoid<Into::subtract>(m, n, k, a, b, c);
}

void setProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    trapezoid<Into::set>(m, n, k, a, b, c);
}

void addProductLower(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block c) {
    if (k > 0) trapezoid<Into::add>(m, n, k, a, b, c);
}

OV_CLONES void subtractColumns(int32_t count, int32_t k, ConstBlock a, const double* coef,
                               int64_t stride, double* out) {
    for (int32_t p = 0; p < k; p += 4)
        upToFour(count, k - p, {a.data + p * a.ld, a.ld}, coef + p * stride, stride, out);
}

}  // namespace ovrelin
