// A symmetric pattern seen through a permutation, without a copy of it.
#pragma once

#include <cstdint>

#include "sparse/order/graph.hpp"

namespace ovrelin {

/// Column j of P A P' has the rows inversePerm[row] for the rows of column perm[j] of A.
struct PermutedPattern {
    SparsePattern pattern;
    const std::int32_t* perm;         // [n] new to old
    const std::int32_t* inversePerm;  // [n] old to new

    [[nodiscard]] std::int32_t begin(std::int32_t j) const { return pattern.colBegin[perm[j]]; }
    [[nodiscard]] std::int32_t end(std::int32_t j) const { return pattern.colBegin[perm[j] + 1]; }
    [[nodiscard]] std::int32_t row(std::int32_t p) const {
        return inversePerm[pattern.rowIndex[p]];
    }
};

}  // namespace ovrelin
