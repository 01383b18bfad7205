// One register block of a product: some vectors of rows by some columns of C stay in registers
// while the inner dimension runs. A block has about as many sums as keep two multiply-add units of
// four or five cycles busy, and the registers hold: 3 x 8 of 32 wide ones, 3 x 4 or 2 x 6 of 16
// narrow ones, 2 x 4 of 16 that hold two numbers.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/product.hpp"

namespace ovrelin::tile {

#define OV_INLINE inline __attribute__((always_inline))

/// Whether a register holds eight doubles. Where it does not, vectors of eight would live in
/// memory. OVRELIN_NARROW_REGISTERS shows a machine with wide ones what the others run.
OV_INLINE bool hasWideRegisters() {
#if defined(OVRELIN_NARROW_REGISTERS)
    return false;
#elif defined(__x86_64__)
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512cd");
#else
    return false;
#endif
}

/// Whether a register holds four doubles. Processors other than x86 have twice as many registers of
/// two, which do as well.
OV_INLINE bool hasNarrowRegisters() {
#if !defined(__x86_64__) || defined(__AVX2__)
    return true;
#elif defined(OVRELIN_NO_CLONES)
    return false;
#else
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#endif
}

/// A run of `width` doubles at any address.
template <int width>
struct VectorOf;
template <>
struct VectorOf<8> {
    typedef double type __attribute__((vector_size(64), aligned(8), may_alias));
};
template <>
struct VectorOf<4> {
    typedef double type __attribute__((vector_size(32), aligned(8), may_alias));
};
template <>
struct VectorOf<2> {
    typedef double type __attribute__((vector_size(16), aligned(8), may_alias));
};
template <>
struct VectorOf<1> {
    typedef double type;
};

/// What becomes of a product P: C = P, C += P or C -= P.
enum class Into { set, add, subtract };

/// One block of the product A B': `vectors` vectors of `width` rows, `cols` columns.
template <int width, int vectors, int cols>
OV_INLINE void fixed(Into into, std::int64_t k, ConstBlock a, ConstBlock b, Block c) {
    using Vector = typename VectorOf<width>::type;
    Vector sum[cols][vectors] = {};
    for (std::int64_t p = 0; p < k; ++p) {
        const double* left = a.data + p * a.ld;
        const double* right = b.data + p * b.ld;
        Vector rows[vectors];
        for (int v = 0; v < vectors; ++v)
            rows[v] = *reinterpret_cast<const Vector*>(left + v * width);
        for (int col = 0; col < cols; ++col)
            for (int v = 0; v < vectors; ++v) sum[col][v] += rows[v] * right[col];
    }
    const double sign = into == Into::subtract ? -1 : 1;
    for (int col = 0; col < cols; ++col) {
        Vector* target = reinterpret_cast<Vector*>(c.data + col * c.ld);
        for (int v = 0; v < vectors; ++v)
            target[v] = into == Into::set ? sum[col][v] : target[v] + sign * sum[col][v];
    }
}

/// How a product is cut into blocks.
struct WideShape {
    static constexpr int width = 8, vectors = 3;
    static constexpr int columns(int) { return 8; }
    /// The block of A is read where it lies.
    static constexpr bool copies = false;
    /// The longest inner dimension of a product whose cost is that of its result.
    static constexpr std::int32_t thinDepth = 24;
};
struct NarrowShape {
    static constexpr int width = 4, vectors = 3;
    static constexpr int columns(int count) { return count == vectors ? 4 : 6; }
    /// So few sums don't hide the misses of the cache where the columns of A are far apart.
    static constexpr bool copies = true;
    static constexpr std::int32_t thinDepth = 8;
};
struct SmallShape {
    static constexpr int width = 2, vectors = 2;
    static constexpr int columns(int) { return 4; }
    static constexpr bool copies = true;
    static constexpr std::int32_t thinDepth = 8;
};

/// The longest inner dimension of `strips`.
inline constexpr std::int32_t mostDepth = 96;
/// Columns of B from which a copy of A's rows pays.
inline constexpr std::int32_t copiedFrom = 24;

/// The next of the blocks that `left` columns are cut into; the last two share what is left.
OV_INLINE std::int32_t nextColumns(std::int32_t left, std::int32_t most) {
    return left <= most ? left : left >= 2 * most ? most : (left + 1) / 2;
}

/// Calls work(size) with the constant `size` that equals count, 1 <= count <= most.
template <int most, class Work>
OV_INLINE void withColumns(int count, Work work) {
    if (count == most) return work(std::integral_constant<int, most>{});
    if constexpr (most > 1) withColumns<most - 1>(count, work);
}

/// `vectors` vectors of rows, all n columns.
template <class Shape, int vectors>
OV_INLINE void strip(Into into, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                     Block c) {
    constexpr int most = Shape::columns(vectors), rows = Shape::width * vectors;
    alignas(64) double copy[Shape::copies ? rows * mostDepth : 1];
    if (Shape::copies && n >= copiedFrom) {
        for (std::int32_t p = 0; p < k; ++p) std::copy_n(a.data + p * a.ld, rows, copy + p * rows);
        a = {copy, rows};
    }
    for (std::int32_t col = 0, count; col < n; col += count) {
        count = nextColumns(n - col, most);
        withColumns<most>(
            count, [&](auto cols) __attribute__((always_inline)) {
                fixed<Shape::width, vectors, cols>(into, k, a, {b.data + col, b.ld},
                                                   {c.data + col * c.ld, c.ld});
            });
    }
}

/// As many rows as fill blocks of two vectors or more; how many these were.
template <class Shape>
OV_INLINE std::int32_t strips(Into into, std::int32_t m, std::int32_t n, std::int32_t k,
                              ConstBlock a, ConstBlock b, Block c) {
    constexpr std::int32_t full = Shape::width * Shape::vectors, two = 2 * Shape::width;
    std::int32_t row = 0;
    for (; row + full <= m; row += full)
        strip<Shape, Shape::vectors>(into, n, k, {a.data + row, a.ld}, b, {c.data + row, c.ld});
    if (row + two > m) return row;
    strip<Shape, 2>(into, n, k, {a.data + row, a.ld}, b, {c.data + row, c.ld});
    return row + two;
}

/// All rows of `cols` columns, in blocks of `width` rows and less.
template <int width, int cols>
OV_INLINE void thinColumns(Into into, std::int32_t m, std::int32_t k, ConstBlock a, ConstBlock b,
                           Block c) {
    std::int32_t row = 0;
    for (; row + width <= m; row += width)
        fixed<width, 1, cols>(into, k, {a.data + row, a.ld}, b, {c.data + row, c.ld});
    if constexpr (width > 1)
        thinColumns<width / 2, cols>(into, m - row, k, {a.data + row, a.ld}, b,
                                     {c.data + row, c.ld});
}

/// A product with few rows, or with so small an inner dimension that reading and writing C down its
/// columns is what counts.
template <class Shape>
OV_INLINE void thin(Into into, std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a,
                    ConstBlock b, Block c) {
    constexpr int most = Shape::columns(1);
    for (std::int32_t col = 0, count; col < n; col += count) {
        count = nextColumns(n - col, most);
        withColumns<most>(
            count, [&](auto cols) __attribute__((always_inline)) {
                thinColumns<Shape::width, cols>(into, m, k, a, {b.data + col, b.ld},
                                                {c.data + col * c.ld, c.ld});
            });
    }
}

/// A product of any size whose inner dimension is at most `mostDepth`.
template <class Shape>
OV_INLINE void product(Into into, std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a,
                       ConstBlock b, Block c) {
    const std::int32_t row = k > Shape::thinDepth ? strips<Shape>(into, m, n, k, a, b, c) : 0;
    thin<Shape>(into, m - row, n, k, {a.data + row, a.ld}, b, {c.data + row, c.ld});
}

}  // namespace ovrelin::tile
