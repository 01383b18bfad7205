// The updates that the fronts of one subtree send beyond its root, summed up where the subtree is
// factored: they all lie in the rows below the root, so that the top takes one update in place of
// one from each front, most of which are of a single column there.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sparse/numeric/front.hpp"

namespace ovrelin {

/// Minus the sum of L2 D L2' over the subtree, on and below the diagonal: strips of columns, each
/// stored like a block column, with the rows from its own first one on.
struct RootSum {
    static constexpr std::int32_t stripColumns = 64;

    double* values;
    std::int32_t count;
    const std::int32_t* rows;   // [count] those below the root, ascending
    const std::int32_t* place;  // [n] where among them a row stands

    /// Doubles in front of the strip that begins with column `begin`.
    static std::int64_t offsetOf(std::int64_t count, std::int64_t begin) {
        // Strips of width w before it have count, count - w, ... rows.
        return begin * count - begin * (begin - stripColumns) / 2;
    }
    static std::int64_t sizeOf(std::int64_t count) {
        const std::int64_t last = count / stripColumns * stripColumns;
        return offsetOf(count, last) + (count - last) * (count - last);
    }

    /// The strip that has column `col`.
    [[nodiscard]] Front stripWith(std::int32_t col) const {
        const std::int32_t begin = col / stripColumns * stripColumns;
        const std::int32_t m = count - begin;
        return {-1,
                rows[begin],
                m,
                std::min(stripColumns, m),
                rows + begin,
                values + offsetOf(count, begin)};
    }
    /// Where in a strip a row stands.
    [[nodiscard]] std::int32_t placeIn(const Front& strip, std::int32_t row) const {
        return place[row] - (count - strip.m);
    }
};

}  // namespace ovrelin
