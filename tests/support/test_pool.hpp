// A memory pool for tests: counts what is live and fails the k-th allocation on request.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "ovrelin/host.h"

namespace ovtest {

/// The table of operations is the first member, so that a pointer to it is a pointer to the pool.
/// Raw blocks are filled with a pattern that is NaN as doubles and absurd as indices, so that
/// nothing can lean on memory that happens to be clean; the same pattern behind each block shows
/// that nobody wrote there.
class TestPool {
public:
    TestPool() {
        table_.allocate = [](MemoryPool* pool, std::uint64_t size, std::uint64_t flags) {
            if (self(pool).refuses(size)) return static_cast<void*>(nullptr);
            ++self(pool).numLive_;
            void* const block = resized(nullptr, size);
            return std::memset(block, flags == OVRELIN_ALLOCATE_ZERO ? 0 : raw, size);
        };
        table_.free = [](MemoryPool* pool, void* block) {
            --self(pool).numLive_;
            expectGuarded(block);
            std::free(static_cast<Head*>(block) - 1);
        };
        table_.reallocate = [](MemoryPool* pool, void* block, std::uint64_t size, std::uint64_t) {
            expectGuarded(block);
            return self(pool).refuses(size) ? nullptr : resized(block, size);
        };
    }
    TestPool(const TestPool&) = delete;
    TestPool& operator=(const TestPool&) = delete;

    [[nodiscard]] MemoryPool* get() { return &table_; }

    /// Fails the k-th request from now on, counting from 0; a negative k fails none.
    void failRequest(std::int64_t k) {
        failAt_ = k;
        numRequests_ = 0;
    }

    /// Calls `action` at the k-th request, counted as above; a negative k ends that.
    void onRequest(std::int64_t k, std::function<void()> action) {
        actAt_ = k;
        action_ = std::move(action);
    }

    /// Requests for a block or a new size, since the last failRequest.
    [[nodiscard]] std::int64_t numRequests() const { return numRequests_; }
    [[nodiscard]] std::int64_t numLive() const { return numLive_; }

private:
    static constexpr int raw = 0xFF;
#if defined(__SANITIZE_ADDRESS__)
    static constexpr std::size_t guardBytes = 0;  // the sanitizer sees reads there as well
#else
    static constexpr std::size_t guardBytes = 16;
#endif
    // In front of each block, as large as the strictest alignment.
    struct alignas(std::max_align_t) Head {
        std::uint64_t size;
    };
    static void* resized(void* block, std::uint64_t size) {
        Head* const old = block == nullptr ? nullptr : static_cast<Head*>(block) - 1;
        auto* const head = static_cast<Head*>(std::realloc(old, sizeof(Head) + size + guardBytes));
        head->size = size;
        std::memset(reinterpret_cast<char*>(head + 1) + size, raw, guardBytes);
        return head + 1;
    }
    static void expectGuarded(void* block) {
        const char* const end = static_cast<char*>(block) + (static_cast<Head*>(block) - 1)->size;
        for (std::size_t k = 0; k < guardBytes; ++k)
            ASSERT_EQ(end[k], static_cast<char>(raw)) << "written behind the end of a block";
    }
    static TestPool& self(MemoryPool* pool) { return *reinterpret_cast<TestPool*>(pool); }
    bool refuses(std::uint64_t size) {
        if (numRequests_ == actAt_) action_();
        return numRequests_++ == failAt_ || size > std::uint64_t{1} << 40;
    }

    MemoryPool table_{};
    std::int64_t failAt_ = -1, actAt_ = -1, numRequests_ = 0, numLive_ = 0;
    std::function<void()> action_;
};

/// Calls `attempt` undisturbed, then with its k-th request refused for every k, then undisturbed
/// again. A refusal must be reported as `refused`, and no attempt may leave a block behind.
template <class Attempt, class Code>
void refuseEveryRequest(TestPool& pool, Attempt attempt, Code good, Code refused) {
    const std::int64_t numLive = pool.numLive();
    pool.failRequest(-1);
    ASSERT_EQ(attempt(), good);
    const std::int64_t count = pool.numRequests();
    for (std::int64_t k = 0; k < count; ++k) {
        pool.failRequest(k);
        EXPECT_EQ(attempt(), refused) << "request " << k;
        EXPECT_EQ(pool.numLive(), numLive) << "request " << k;
    }
    pool.failRequest(-1);
    EXPECT_EQ(attempt(), good);
}

}  // namespace ovtest
