// Memory pools with accounting. A pool knows every block in it, so that destroying it frees all and
// can tell what was forgotten. Blocks are aligned to a cache line (64 bytes).
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>

#include "host/host.hpp"

namespace ov {

struct Pool;

/// The accounts of all pools of one host.
struct PoolLedger {
    std::atomic<std::uint64_t> liveBytes{0}, peakBytes{0}, liveBlocks{0}, livePools{0};
    std::atomic<std::uint64_t> allocations{0}, leakedBlocks{0}, leakedBytes{0}, misuses{0};
    /// Attempts left until the one that is refused; none is when this is 0 or less.
    std::atomic<std::int64_t> refuseIn{0};
    std::uint64_t poolCapBytes = 0;
    std::mutex mutex;  // guards what follows
    Pool* firstPool = nullptr;
    std::function<void(const LeakReport&)> onLeak;
};

/// A new pool, or null. Destroying `parent` (may be null) destroys the pool too.
MemoryPool* makePool(PoolLedger& ledger, MemoryPool* parent, const char* name);
/// Destroys every pool that is left.
void destroyAllPools(PoolLedger& ledger);
MemoryCounters readCounters(const PoolLedger& ledger);
MemoryCounters readCounters(const MemoryPool* pool);

}  // namespace ov
