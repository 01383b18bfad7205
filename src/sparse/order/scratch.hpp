// One block of scratch, dealt out piece by piece. The analysis asks the pool once and every routine
// below it takes its arrays from here, so that none of them can fail for lack of memory.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

namespace ovrelin {

/// A view of a block of bytes; take() deals pieces from the front. Copies deal independently: a
/// callee that receives a copy gives its pieces back by returning.
class Scratch {
public:
    Scratch(void* block, std::size_t bytes) : next_(static_cast<std::byte*>(block)), left_(bytes) {}

    /// Room for `count` elements, rounded up so that every piece is aligned for a double.
    template <class T>
    [[nodiscard]] T* take(std::int64_t count) {
        const std::size_t bytes = bytesFor<T>(count);
        assert(bytes <= left_);
        std::byte* piece = next_;
        next_ += bytes;
        left_ -= bytes;
        return reinterpret_cast<T*>(piece);
    }

    template <class T>
    [[nodiscard]] static std::size_t bytesFor(std::int64_t count) {
        constexpr std::size_t unit = 8;
        return (static_cast<std::size_t>(count) * sizeof(T) + unit - 1) / unit * unit;
    }

private:
    std::byte* next_;
    std::size_t left_;
};

}  // namespace ovrelin
