// A memory pool for tests: counts what is live and fails the k-th allocation on request.
#pragma once

#include <cstdint>
#include <functional>

#include "ovrelin/host.h"

namespace ovtest {

/// The table of operations is the first member, so that a pointer to it is a pointer to the pool.
/// Raw blocks are filled with a pattern that is NaN as doubles and absurd as indices, so that
/// nothing can lean on memory that happens to be clean.
class TestPool {
public:
    TestPool();
    TestPool(const TestPool&) = delete;
    TestPool& operator=(const TestPool&) = delete;

    [[nodiscard]] MemoryPool* get() { return &table_; }

    /// Fails the k-th request from now on, counting from 0; a negative k fails none.
    void failRequest(std::int64_t k);

    /// Calls `action` at the k-th request, counted as above; a negative k ends that.
    void onRequest(std::int64_t k, std::function<void()> action);

    /// Requests for a block or a new size, since the last failRequest.
    [[nodiscard]] std::int64_t numRequests() const { return numRequests_; }
    [[nodiscard]] std::int64_t numLive() const { return numLive_; }
    [[nodiscard]] std::uint64_t liveBytes() const { return liveBytes_; }
    [[nodiscard]] std::uint64_t peakBytes() const { return peakBytes_; }

private:
    static TestPool& self(MemoryPool* pool) { return *reinterpret_cast<TestPool*>(pool); }
    static void* allocate(MemoryPool* pool, std::uint64_t size, std::uint64_t flags);
    static void release(MemoryPool* pool, void* block);
    static void* reallocate(MemoryPool* pool, void* block, std::uint64_t size, std::uint64_t flags);
    bool refuses();

    MemoryPool table_;
    std::int64_t failAt_ = -1;
    std::int64_t actAt_ = -1;
    std::function<void()> action_;
    std::int64_t numRequests_ = 0;
    std::int64_t numLive_ = 0;
    std::uint64_t liveBytes_ = 0;
    std::uint64_t peakBytes_ = 0;
};

}  // namespace ovtest
