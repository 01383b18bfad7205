// Where the updates go in a factor that fits the cache. There the arithmetic of a front with few
// rows below its columns takes less time than finding out where each entry of its update belongs,
// so the analysis writes that down.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"

namespace ovrelin {

/// Block column b with r rows below its columns has, when r <= mostRows, one place for each of the
/// r (r + 1) / 2 entries of its update, the lower triangle by columns: an index of factorValues.
/// Otherwise begin[b] = begin[b + 1]. Empty when the factor is not compact.
struct DirectUpdates {
    static constexpr std::int32_t mostRows = 8;

    PoolArray<std::int32_t> begin;  // [blocks.count + 1]
    PoolArray<std::int32_t> place;  // [begin[blocks.count]]

    [[nodiscard]] bool isCompact() const { return begin.size() != 0; }
};

}  // namespace ovrelin
