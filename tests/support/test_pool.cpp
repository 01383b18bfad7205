#include "support/test_pool.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace ovtest {
namespace {

// In front of each block, as large as the strictest alignment.
struct alignas(std::max_align_t) BlockHead {
    std::uint64_t size;
};

constexpr int rawByte = 0xFF;

BlockHead* headOf(void* block) {
    return static_cast<BlockHead*>(block) - 1;
}

}  // namespace

TestPool::TestPool() : table_{} {
    table_.allocate = allocate;
    table_.free = release;
    table_.reallocate = reallocate;
}

void TestPool::failRequest(std::int64_t k) {
    failAt_ = k;
    numRequests_ = 0;
}

void TestPool::onRequest(std::int64_t k, std::function<void()> action) {
    actAt_ = k;
    action_ = std::move(action);
}

bool TestPool::refuses() {
    if (numRequests_ == actAt_) action_();
    return numRequests_++ == failAt_;
}

void* TestPool::allocate(MemoryPool* pool, std::uint64_t size, std::uint64_t flags) {
    TestPool& owner = self(pool);
    if (owner.refuses() || size > (std::uint64_t{1} << 40)) return nullptr;
    auto* head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + size));
    if (head == nullptr) return nullptr;
    head->size = size;
    std::memset(head + 1, flags == OVRELIN_ALLOCATE_ZERO ? 0 : rawByte, size);
    ++owner.numLive_;
    owner.liveBytes_ += size;
    owner.peakBytes_ = std::max(owner.peakBytes_, owner.liveBytes_);
    return head + 1;
}

void TestPool::release(MemoryPool* pool, void* block) {
    TestPool& owner = self(pool);
    --owner.numLive_;
    owner.liveBytes_ -= headOf(block)->size;
    std::free(headOf(block));
}

void* TestPool::reallocate(MemoryPool* pool, void* block, std::uint64_t size, std::uint64_t) {
    TestPool& owner = self(pool);
    const std::uint64_t before = headOf(block)->size;
    if (owner.refuses()) return nullptr;
    auto* head = static_cast<BlockHead*>(std::realloc(headOf(block), sizeof(BlockHead) + size));
    if (head == nullptr) return nullptr;
    head->size = size;
    owner.liveBytes_ += size - before;
    owner.peakBytes_ = std::max(owner.peakBytes_, owner.liveBytes_);
    return head + 1;
}

}  // namespace ovtest
