#include "host/memory_pool.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace ov {
namespace {

constexpr std::uintptr_t blockAlignment = 64;
constexpr std::uint64_t largestBlock = std::uint64_t{1} << 62;
/// Marks a living block. A free of anything else is counted and otherwise ignored.
constexpr std::uint64_t livingMark = 0x6f76626c6f636b21;

/// Stands right before the bytes that the module sees.
struct Block {
    Block* previous;
    Block* next;
    Pool* pool;
    void* base;  // what malloc gave
    std::uint64_t size;
    std::uint64_t mark;
};

void* payload(Block* block) {
    return block + 1;
}
Block* blockOf(void* memory) {
    return static_cast<Block*>(memory) - 1;
}

}  // namespace

struct Pool : MemoryPool {
    PoolLedger* ledger = nullptr;
    Pool* parent = nullptr;
    std::atomic<int> numChildren{0};
    Pool* previousPool = nullptr;
    Pool* nextPool = nullptr;
    std::string name;
    std::mutex mutex;  // guards what follows
    Block* first = nullptr;
    Block* owner = nullptr;  // the first block ever made here, while it lives
    bool isOwnerMade = false;
    MemoryCounters counters;
};

namespace {

/// Counts one attempt; true when it is the one to refuse.
bool isRefused(PoolLedger& ledger) {
    ledger.allocations.fetch_add(1, std::memory_order_relaxed);
    if (ledger.refuseIn.load(std::memory_order_relaxed) <= 0) return false;
    return ledger.refuseIn.fetch_sub(1, std::memory_order_relaxed) == 1;
}

void raisePeak(std::atomic<std::uint64_t>& peak, std::uint64_t value) {
    std::uint64_t seen = peak.load(std::memory_order_relaxed);
    while (seen < value && !peak.compare_exchange_weak(seen, value, std::memory_order_relaxed)) {
    }
}

/// Takes `size` bytes from the cap, before the memory is asked for.
bool reserve(Pool& pool, std::uint64_t size) {
    const std::uint64_t cap = pool.ledger->poolCapBytes;
    const std::lock_guard lock(pool.mutex);
    ++pool.counters.allocations;
    if (cap != 0 && (size > cap || pool.counters.liveBytes > cap - size)) return false;
    pool.counters.liveBytes += size;
    pool.counters.peakBytes = std::max(pool.counters.peakBytes, pool.counters.liveBytes);
    return true;
}

void unreserve(Pool& pool, std::uint64_t size) {
    const std::lock_guard lock(pool.mutex);
    pool.counters.liveBytes -= size;
}

/// Memory for one block. malloc and calloc rather than an aligned allocation: they are served from
/// the thread's cache, and calloc gets large zero blocks untouched from the system.
Block* obtain(std::uint64_t size, bool isZero) {
    const std::uint64_t total = size + sizeof(Block) + blockAlignment;
    void* base = isZero ? std::calloc(1, total) : std::malloc(total);
    if (base == nullptr) return nullptr;
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(base) + sizeof(Block);
    const std::uintptr_t aligned = (start + blockAlignment - 1) / blockAlignment * blockAlignment;
    Block* block = blockOf(reinterpret_cast<void*>(aligned));
    block->base = base;
    block->size = size;
    block->mark = livingMark;
    char* end = static_cast<char*>(payload(block)) + size;
    ASAN_POISON_MEMORY_REGION(end,
                              static_cast<std::size_t>(static_cast<char*>(base) + total - end));
    return block;
}

void link(Pool& pool, Block* block) {
    const std::lock_guard lock(pool.mutex);
    block->pool = &pool;
    block->previous = nullptr;
    block->next = pool.first;
    if (pool.first != nullptr) pool.first->previous = block;
    pool.first = block;
    ++pool.counters.liveBlocks;
    if (!pool.isOwnerMade) pool.owner = block;
    pool.isOwnerMade = true;
}

void unlink(Pool& pool, Block* block) {
    const std::lock_guard lock(pool.mutex);
    (block->previous != nullptr ? block->previous->next : pool.first) = block->next;
    if (block->next != nullptr) block->next->previous = block->previous;
    if (pool.owner == block) pool.owner = nullptr;
    --pool.counters.liveBlocks;
    pool.counters.liveBytes -= block->size;
}

void* allocate(MemoryPool* base, std::uint64_t size, std::uint64_t flags) {
    Pool& pool = *static_cast<Pool*>(base);
    PoolLedger& ledger = *pool.ledger;
    if (isRefused(ledger) || size > largestBlock || !reserve(pool, size)) return nullptr;
    Block* block = obtain(size, (flags & OVRELIN_ALLOCATE_ZERO) != 0);
    if (block == nullptr) {
        unreserve(pool, size);
        return nullptr;
    }
    link(pool, block);
    ledger.liveBlocks.fetch_add(1, std::memory_order_relaxed);
    raisePeak(ledger.peakBytes, ledger.liveBytes.fetch_add(size, std::memory_order_relaxed) + size);
    return payload(block);
}

void giveBack(PoolLedger& ledger, Block* block) {
    ledger.liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    ledger.liveBytes.fetch_sub(block->size, std::memory_order_relaxed);
    block->mark = 0;
    std::free(block->base);
}

/// Null unless `memory` is a living block of the pool.
Block* findBlock(Pool& pool, void* memory) {
    Block* block = blockOf(memory);
    if (block->mark == livingMark && block->pool == &pool) return block;
    pool.ledger->misuses.fetch_add(1, std::memory_order_relaxed);
    const std::lock_guard lock(pool.mutex);
    ++pool.counters.misuses;
    return nullptr;
}

void release(MemoryPool* base, void* memory) {
    if (memory == nullptr) return;
    Pool& pool = *static_cast<Pool*>(base);
    Block* block = findBlock(pool, memory);
    if (block == nullptr) return;
    unlink(pool, block);
    giveBack(*pool.ledger, block);
}

void* reallocate(MemoryPool* base, void* memory, std::uint64_t size, std::uint64_t flags) {
    if (memory == nullptr) return allocate(base, size, flags);
    Block* old = findBlock(*static_cast<Pool*>(base), memory);
    if (old == nullptr) return nullptr;
    void* moved = allocate(base, size, flags);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, memory, std::min(size, old->size));
    release(base, memory);
    return moved;
}

/// Factories and instances live in their own pool and go with it: the first block is such an owner
/// record when one of its leading words is the pool's address.
bool isOwnerRecord(const Pool& pool, const Block* block) {
    if (block != pool.owner) return false;
    const std::uint64_t numWords = std::min(block->size, sizeof(ExtensionFactory)) / 8;
    const std::uint64_t wanted =
        reinterpret_cast<std::uintptr_t>(static_cast<const MemoryPool*>(&pool));
    std::uint64_t word = 0;
    for (std::uint64_t k = 0; k < numWords; ++k) {
        std::memcpy(&word, reinterpret_cast<const char*>(block + 1) + 8 * k, 8);
        if (word == wanted) return true;
    }
    return false;
}

void reportLeak(Pool& pool) {
    LeakReport report;
    for (const Block* block = pool.first; block != nullptr; block = block->next) {
        if (isOwnerRecord(pool, block)) continue;
        ++report.blocks;
        report.bytes += block->size;
    }
    if (report.blocks == 0) return;
    pool.ledger->leakedBlocks.fetch_add(report.blocks);
    pool.ledger->leakedBytes.fetch_add(report.bytes);
    report.poolName = pool.name;
    std::function<void(const LeakReport&)> handler;
    {
        const std::lock_guard lock(pool.ledger->mutex);
        handler = pool.ledger->onLeak;
    }
    try {
        if (handler) handler(report);
    } catch (...) {
        // A module is calling: nothing may pass through it. The counters have the leak.
    }
}

void destroyPool(MemoryPool* base);

void destroyChildren(Pool& pool) {
    while (pool.numChildren.load() > 0) {
        Pool* child = nullptr;
        {
            const std::lock_guard lock(pool.ledger->mutex);
            child = pool.ledger->firstPool;
            while (child != nullptr && child->parent != &pool) child = child->nextPool;
        }
        if (child == nullptr) return;
        destroyPool(child);
    }
}

void registerPool(Pool& pool) {
    PoolLedger& ledger = *pool.ledger;
    ledger.livePools.fetch_add(1);
    const std::lock_guard lock(ledger.mutex);
    pool.nextPool = ledger.firstPool;
    if (ledger.firstPool != nullptr) ledger.firstPool->previousPool = &pool;
    ledger.firstPool = &pool;
    if (pool.parent != nullptr) ++pool.parent->numChildren;
}

void unregisterPool(Pool& pool) {
    PoolLedger& ledger = *pool.ledger;
    ledger.livePools.fetch_sub(1);
    const std::lock_guard lock(ledger.mutex);
    (pool.previousPool != nullptr ? pool.previousPool->nextPool : ledger.firstPool) = pool.nextPool;
    if (pool.nextPool != nullptr) pool.nextPool->previousPool = pool.previousPool;
    if (pool.parent != nullptr) --pool.parent->numChildren;
}

void destroyPool(MemoryPool* base) {
    if (base == nullptr) return;
    Pool& pool = *static_cast<Pool*>(base);
    destroyChildren(pool);
    unregisterPool(pool);
    reportLeak(pool);
    for (Block* block = pool.first; block != nullptr;) {
        Block* next = block->next;
        giveBack(*pool.ledger, block);
        block = next;
    }
    delete &pool;
}

}  // namespace

MemoryPool* makePool(PoolLedger& ledger, MemoryPool* parent, const char* name) {
    if (isRefused(ledger)) return nullptr;
    try {
        Pool* pool = new Pool;
        pool->hostWord[0] = pool->hostWord[1] = 0;
        pool->destroyPool = destroyPool;
        pool->allocate = allocate;
        pool->free = release;
        pool->reallocate = reallocate;
        pool->ledger = &ledger;
        pool->parent = static_cast<Pool*>(parent);
        registerPool(*pool);
        if (name != nullptr) pool->name = name;
        return pool;
    } catch (const std::exception&) {
        return nullptr;
    }
}

void destroyAllPools(PoolLedger& ledger) {
    while (true) {
        Pool* pool = nullptr;
        {
            const std::lock_guard lock(ledger.mutex);
            pool = ledger.firstPool;
        }
        if (pool == nullptr) return;
        while (pool->parent != nullptr) pool = pool->parent;
        destroyPool(pool);
    }
}

MemoryCounters readCounters(const PoolLedger& ledger) {
    MemoryCounters counters;
    counters.liveBytes = ledger.liveBytes;
    counters.peakBytes = ledger.peakBytes;
    counters.liveBlocks = ledger.liveBlocks;
    counters.livePools = ledger.livePools;
    counters.allocations = ledger.allocations;
    counters.leakedBlocks = ledger.leakedBlocks;
    counters.leakedBytes = ledger.leakedBytes;
    counters.misuses = ledger.misuses;
    return counters;
}

MemoryCounters readCounters(const MemoryPool* pool) {
    Pool& known = *static_cast<Pool*>(const_cast<MemoryPool*>(pool));
    const std::lock_guard lock(known.mutex);
    return known.counters;
}

}  // namespace ov
