// One register block of a product: `rows` x `cols` entries of C stay in vector registers while the
// inner dimension runs. Eight rows by six columns fill the sixteen registers of the 256-bit machine
// (twelve sums, two operands, one broadcast) and still hide the latency of the 512-bit one.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin::tile {

#define OV_INLINE inline __attribute__((always_inline))

/// Whether a register holds eight doubles. Where it does not, vectors of eight would live in
/// memory. OVRELIN_NARROW_REGISTERS shows a machine with wide ones what the others run.
OV_INLINE bool hasWideRegisters() {
#if defined(OVRELIN_NARROW_REGISTERS)
    return false;
#elif defined(__x86_64__)
    return __builtin_cpu_supports("avx512f") != 0;
#else
    return false;
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

inline constexpr std::int32_t maxRows = 8;
inline constexpr std::int32_t maxCols = 6;

/// What becomes of a product P: C = P, C += P or C -= P.
enum class Into { set, add, subtract };

/// One block of `rows` x `cols` of the product A B'.
template <Into into, int rows, int cols>
OV_INLINE void fixed(std::int32_t k, ConstBlock a, ConstBlock b, Block c) {
    using Vector = typename VectorOf<rows>::type;
    Vector sum[cols] = {};
    for (std::int64_t p = 0; p < k; ++p) {
        const Vector left = *reinterpret_cast<const Vector*>(a.data + p * a.ld);
        const double* right = b.data + p * b.ld;
        for (int col = 0; col < cols; ++col) sum[col] += left * right[col];
    }
    for (int col = 0; col < cols; ++col) {
        Vector* target = reinterpret_cast<Vector*>(c.data + col * c.ld);
        *target = into == Into::set   ? sum[col]
                  : into == Into::add ? *target + sum[col]
                                      : *target - sum[col];
    }
}

/// All rows of `cols` columns.
template <Into into, int cols>
OV_INLINE void columns(std::int32_t m, std::int32_t k, ConstBlock a, ConstBlock b, Block c) {
    std::int32_t row = 0;
    const auto at = [&](std::int32_t r) { return ConstBlock{a.data + r, a.ld}; };
    const auto target = [&](std::int32_t r) { return Block{c.data + r, c.ld}; };
    if (hasWideRegisters())
        for (; row + 8 <= m; row += 8) fixed<into, 8, cols>(k, at(row), b, target(row));
    for (; row + 4 <= m; row += 4) fixed<into, 4, cols>(k, at(row), b, target(row));
    if ((m & 2) != 0) {
        fixed<into, 2, cols>(k, at(row), b, target(row));
        row += 2;
    }
    if ((m & 1) != 0) fixed<into, 1, cols>(k, at(row), b, target(row));
}

/// A product of any size, six columns at a time.
template <Into into>
OV_INLINE void product(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                       Block c) {
    std::int32_t col = 0;
    for (; col + maxCols <= n; col += maxCols)
        columns<into, maxCols>(m, k, a, {b.data + col, b.ld}, {c.data + col * c.ld, c.ld});
    const ConstBlock right{b.data + col, b.ld};
    const Block target{c.data + col * c.ld, c.ld};
    switch (n - col) {
        case 1:
            return columns<into, 1>(m, k, a, right, target);
        case 2:
            return columns<into, 2>(m, k, a, right, target);
        case 3:
            return columns<into, 3>(m, k, a, right, target);
        case 4:
            return columns<into, 4>(m, k, a, right, target);
        case 5:
            return columns<into, 5>(m, k, a, right, target);
        default:
            return;
    }
}

}  // namespace ovrelin::tile
