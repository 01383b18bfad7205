// Arrays of the analysis, with the library's return codes.
#pragma once

#include <cstdint>

#include "sparse/ldl_try.hpp"

namespace ovrelin {

template <class T>
[[nodiscard]] int makeArray(PoolArray<T>& array, MemoryPool* pool, std::int64_t count) {
    return isOk(array.make(pool, static_cast<std::size_t>(count))) ? ldl::ok : ldl::noMemory;
}

}  // namespace ovrelin
