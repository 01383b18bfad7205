#include "sparse/kernel/unit_solve.hpp"

#include "sparse/kernel/dispatch.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

/// Triangles that are not halved: powers of two, and those too small for it.
constexpr int32_t fewColumns = 3;

template <int width, int cols>
OV_INLINE void solveAllRows(int32_t count, const UnitTriangle& lower, Block x) {
    int32_t r = 0;
    for (; r + width <= count; r += width)
        unit::solveRows<width, cols, false>(lower, x.from(r, 0), nullptr);
    for (; r < count; ++r) unit::solveRows<1, cols, false>(lower, x.from(r, 0), nullptr);
}

template <int width>
OV_INLINE void solveLeafBy(int32_t count, int32_t cols, const UnitTriangle& lower, Block x) {
    switch (cols) {
        case 4:
            return solveAllRows<width, 4>(count, lower, x);
        case 8:
            return solveAllRows<width, 8>(count, lower, x);
        default:
            return solveAllRows<width, widestUnit>(count, lower, x);
    }
}

OV_CLONES void solveLeaf(int32_t count, int32_t cols, const UnitTriangle& lower, Block x) {
    if (tile::hasWideRegisters())
        solveLeafBy<8>(count, cols, lower, x);
    else
        solveLeafBy<4>(count, cols, lower, x);
}

/// Columns of the left part: whole leaves.
int32_t leftColumns(int32_t cols) {
    if (cols > 2 * widestUnit) return (cols / 2 + widestUnit - 1) / widestUnit * widestUnit;
    int32_t left = widestUnit;
    while (left > cols) left /= 2;
    return left;
}

}  // namespace

void solveUnitLower(int32_t count, int32_t cols, ConstBlock lower, Block x) {
    if (cols <= fewColumns) {
        for (int32_t c = 1; c < cols; ++c)
            subtractColumns(count, c, x, lower.at(c, 0), lower.ld, x.at(0, c));
        return;
    }
    const int32_t left = leftColumns(cols), right = cols - left;
    if (right == 0) {
        UnitTriangle triangle;
        for (int32_t r = 1; r < cols; ++r)
            for (int32_t c = 0; c < r; ++c) triangle.row[r][c] = *lower.at(r, c);
        return solveLeaf(count, cols, triangle, x);
    }
    const Block rest = x.from(0, left);
    solveUnitLower(count, left, lower, x);
    subtractProduct(count, right, left, x, lower.from(left, 0), rest);
    solveUnitLower(count, right, lower.from(left, left), rest);
}

}  // namespace ovrelin
