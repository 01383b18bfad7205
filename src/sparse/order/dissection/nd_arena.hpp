// Scratch of nested dissection: one block, asked from the pool once, from which routines take
// arrays that are given back in the opposite order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/pool.hpp"

namespace ovrelin {

class NdArena {
public:
    /// Room for `words` integers.
    Status make(MemoryPool* pool, std::size_t words) {
        used_ = 0;
        return block_.make(pool, words);
    }

private:
    friend class NdFrame;
    PoolArray<std::int32_t> block_;
    std::size_t used_ = 0;
};

/// What one routine takes from the arena; its end gives everything back.
class NdFrame {
public:
    explicit NdFrame(NdArena& arena) : arena_(arena), start_(arena.used_) {}
    NdFrame(const NdFrame&) = delete;
    NdFrame& operator=(const NdFrame&) = delete;
    ~NdFrame() { arena_.used_ = start_; }

    /// Null when the arena has too little room left, which failed() reports from then on.
    std::int32_t* take(std::int64_t count) {
        const auto wanted = static_cast<std::size_t>(count);
        if (wanted > arena_.block_.size() - arena_.used_) {
            failed_ = true;
            return nullptr;
        }
        std::int32_t* piece = arena_.block_.data() + arena_.used_;
        arena_.used_ += wanted;
        return piece;
    }
    [[nodiscard]] bool failed() const { return failed_; }

private:
    NdArena& arena_;
    std::size_t start_;
    bool failed_ = false;
};

}  // namespace ovrelin
