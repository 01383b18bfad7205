// X L' = B for many rows and a small unit lower triangle L, the rows held in registers meanwhile.
#pragma once

#include <cstdint>

#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

/// Columns of the widest triangle that is solved at one go.
inline constexpr std::int32_t widestUnit = 16;

/// L row by row; the diagonal and what is above it are not read.
struct UnitTriangle {
    double row[widestUnit][widestUnit];
};

namespace unit {

/// `width` rows; only unrolled do they stay in registers. `largest` [cols] grows to their largest
/// sizes when it is asked for.
template <int width, int cols, bool measure>
OV_INLINE void solveRows(const UnitTriangle& lower, Block x,
                         typename tile::VectorOf<width>::type* largest) {
    using Vector = typename tile::VectorOf<width>::type;
    Vector row[cols];
#pragma GCC unroll 16
    for (int c = 0; c < cols; ++c) {
        Vector& entry = *reinterpret_cast<Vector*>(x.data + c * x.ld);
        row[c] = entry;
#pragma GCC unroll 16
        for (int p = 0; p < c; ++p) row[c] -= row[p] * lower.row[c][p];
        entry = row[c];
        if (!measure) continue;
        const Vector size = row[c] < 0 ? -row[c] : row[c];
        largest[c] = size > largest[c] ? size : largest[c];
    }
}

}  // namespace unit

/// Solves X L' = B by halves, so that most of it is products.
///
///   in      lower  [cols x cols] L strictly below the diagonal
///   in-out  x      [count x cols] B on entry, X on return
void solveUnitLower(std::int32_t count, std::int32_t cols, ConstBlock lower, Block x);

}  // namespace ovrelin
