// Arrays of the analysis, with the library's return codes.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"

// Leaves the function with the code of `expression` unless that is ok.
#define LDL_TRY(expression)                           \
    do {                                              \
        const int ldlTryCode = (expression);          \
        if (ldlTryCode != ldl::ok) return ldlTryCode; \
    } while (false)

namespace ovrelin {

template <class T>
[[nodiscard]] int makeArray(PoolArray<T>& array, MemoryPool* pool, std::int64_t count) {
    return isOk(array.make(pool, static_cast<std::size_t>(count))) ? ldl::ok : ldl::noMemory;
}

}  // namespace ovrelin
