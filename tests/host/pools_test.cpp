// Pools: alignment and contents of blocks, the accounts, the cap, the refused allocation, and what
// a pool says when it is destroyed with blocks in it.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "host/ov.hpp"

namespace {

struct Fixture {
    std::vector<ov::LeakReport> leaks;
    ov::Host host;

    explicit Fixture(ov::HostOptions options = {})
        : host([&] {
              options.out = options.err = nullptr;
              options.leakHandler = [this](const ov::LeakReport& leak) { leaks.push_back(leak); };
              return options;
          }()) {}

    MemoryPool* makePool(const char* name, MemoryPool* parent = nullptr) {
        HostDescriptor descriptor{};
        HostServices* services = host.services();
        return services->createPool(services, &descriptor, parent, name);
    }
};

void* allocate(MemoryPool* pool, std::uint64_t size, std::uint64_t flags = OVRELIN_ALLOCATE_RAW) {
    return pool->allocate(pool, size, flags);
}

// A random play of allocate, reallocate and free, with contents and accounts followed by hand.
TEST(Pools, ContentsAndAccountsFollowARandomPlay) {
    struct Held {
        unsigned char* data;
        std::size_t size;
        unsigned char fill;
    };
    Fixture f;
    MemoryPool* pool = f.makePool("PLAY");
    std::mt19937 random(1);
    std::vector<Held> held;
    std::uint64_t live = 0, peak = 0;
    const auto isIntact = [](const Held& h, std::size_t upTo) {
        for (std::size_t k = 0; k < upTo; ++k)
            if (h.data[k] != h.fill) return false;
        return true;
    };
    const auto adopt = [&](void* memory, std::size_t size) {
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0u);
        held.push_back({static_cast<unsigned char*>(memory), size,
                        static_cast<unsigned char>(1 + random() % 255)});
        std::memset(memory, held.back().fill, size);
        live += size;
    };
    for (int step = 0; step < 20000; ++step) {
        const std::size_t size = random() % 20 == 0 ? random() % 300000 : random() % 200;
        const std::size_t pick = held.empty() ? 0 : random() % held.size();
        switch (random() % 4) {
            case 0: {
                void* memory = allocate(pool, size, OVRELIN_ALLOCATE_ZERO);
                for (std::size_t k = 0; k < size; ++k)
                    ASSERT_EQ(static_cast<unsigned char*>(memory)[k], 0);
                adopt(memory, size);
                break;
            }
            case 1:
                adopt(allocate(pool, size), size);
                break;
            case 2: {
                if (held.empty()) break;
                Held old = held[pick];
                ASSERT_TRUE(isIntact(old, old.size));
                void* moved = pool->reallocate(pool, old.data, size, 0);
                ASSERT_NE(moved, nullptr);
                old.data = static_cast<unsigned char*>(moved);
                ASSERT_TRUE(isIntact(old, std::min(old.size, size)));
                peak = std::max(peak, live + size);  // both blocks live for a moment
                held.erase(held.begin() + static_cast<std::ptrdiff_t>(pick));
                live -= old.size;
                adopt(moved, size);
                break;
            }
            default:
                if (held.empty()) break;
                ASSERT_TRUE(isIntact(held[pick], held[pick].size));
                pool->free(pool, held[pick].data);
                live -= held[pick].size;
                held.erase(held.begin() + static_cast<std::ptrdiff_t>(pick));
        }
        peak = std::max(peak, live);
        ASSERT_EQ(ov::Host::memory(pool).liveBytes, live);
        ASSERT_EQ(ov::Host::memory(pool).liveBlocks, held.size());
    }
    EXPECT_EQ(f.host.memory().peakBytes, peak);
    for (const Held& h : held) pool->free(pool, h.data);
    EXPECT_EQ(f.host.memory().liveBytes, 0u);
    pool->destroyPool(pool);
    EXPECT_TRUE(f.leaks.empty());
    EXPECT_EQ(f.host.memory().livePools, 0u);
}

// The first block is the pool's owner when it names the pool; nothing else is excused.
TEST(Pools, OwnerRecordIsNoLeak) {
    Fixture f;
    const struct {
        bool isFirst, namesPool;
        std::size_t word;
        std::size_t leaks;
    } cases[] = {{true, true, 0, 0},
                 {true, true, 9, 0},
                 {true, true, 11, 1},
                 {true, false, 0, 1},
                 {false, true, 0, 1}};
    for (const auto& c : cases) {
        f.leaks.clear();
        MemoryPool* pool = f.makePool("OWNED");
        if (!c.isFirst) pool->free(pool, allocate(pool, 8));
        auto** words = static_cast<MemoryPool**>(allocate(pool, 200, OVRELIN_ALLOCATE_ZERO));
        if (c.namesPool) words[c.word] = pool;
        pool->destroyPool(pool);
        EXPECT_EQ(f.leaks.size(), c.leaks) << c.isFirst << c.namesPool << c.word;
    }
}

// Destroying a parent destroys its children, the host's end what is left; all of them report.
TEST(Pools, LeaksAreReportedWithThePoolsName) {
    {
        Fixture f;
        MemoryPool* parent = f.makePool("PARENT");
        MemoryPool* child = f.makePool("CHILD", parent);
        MemoryPool* grandchild = f.makePool("GRANDCHILD", child);
        allocate(grandchild, 10);
        allocate(grandchild, 90);
        grandchild->free(grandchild, allocate(grandchild, 1000));
        child->free(child, nullptr);
        MemoryPool* other = f.makePool("OTHER");
        parent->destroyPool(parent);
        EXPECT_EQ(f.host.memory().livePools, 1u);
        ASSERT_EQ(f.leaks.size(), 1u);
        EXPECT_EQ(f.leaks[0].poolName, "GRANDCHILD");
        EXPECT_EQ(f.leaks[0].blocks, 2u);
        EXPECT_EQ(f.leaks[0].bytes, 100u);
        EXPECT_EQ(f.host.memory().leakedBlocks, 2u);
        EXPECT_EQ(f.host.memory().leakedBytes, 100u);
        EXPECT_EQ(f.host.memory().liveBytes, 0u);
        other->destroyPool(other);
    }
    std::vector<std::string> lines;
    {
        ov::HostOptions options;
        options.output = [&](const ov::Line& line) { lines.emplace_back(line.text); };
        ov::Host host(options);
        HostServices* services = host.services();
        HostDescriptor descriptor{};
        allocate(services->createPool(services, &descriptor, nullptr, "FORGOTTEN"), 33);
    }
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("'FORGOTTEN' is destroyed with 1 blocks (33 bytes)"),
              std::string::npos);
}

TEST(Pools, CapLimitsEachPool) {
    ov::HostOptions options;
    options.poolCapBytes = 1000;
    Fixture f(options);
    MemoryPool* pool = f.makePool("CAPPED");
    EXPECT_EQ(allocate(pool, 1001), nullptr);
    EXPECT_EQ(allocate(pool, ~std::uint64_t{0}), nullptr);
    void* big = allocate(pool, 900);
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(allocate(pool, 101), nullptr);
    EXPECT_EQ(pool->reallocate(pool, big, 950, 0), nullptr);  // needs both for a moment
    std::memset(big, 1, 900);                                 // still there
    void* rest = allocate(pool, 100);
    EXPECT_NE(rest, nullptr);
    EXPECT_EQ(allocate(pool, 1), nullptr);
    EXPECT_EQ(ov::Host::memory(pool).liveBytes, 1000u);
    MemoryPool* second = f.makePool("SECOND");
    void* other = allocate(second, 1000);
    EXPECT_NE(other, nullptr);
    pool->free(pool, big);
    pool->free(pool, rest);
    second->free(second, other);
    second->destroyPool(second);
    pool->destroyPool(pool);
    EXPECT_EQ(f.host.memory().peakBytes, 2000u);
    EXPECT_TRUE(f.leaks.empty());
}

TEST(Pools, FreeingAnothersBlockIsCountedAndHarmless) {
    Fixture f;
    MemoryPool* first = f.makePool("FIRST");
    MemoryPool* second = f.makePool("SECOND");
    void* block = allocate(first, 100);
    second->free(second, block);
    EXPECT_EQ(second->reallocate(second, block, 200, 0), nullptr);
    EXPECT_EQ(f.host.memory().misuses, 2u);
    EXPECT_EQ(ov::Host::memory(second).misuses, 2u);
    EXPECT_EQ(ov::Host::memory(first).liveBlocks, 1u);
    first->free(first, block);
    first->destroyPool(first);
    second->destroyPool(second);
    EXPECT_TRUE(f.leaks.empty());
}

TEST(Pools, OnePoolServesManyThreads) {
    Fixture f;
    MemoryPool* pool = f.makePool("SHARED");
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < 4; ++t) {
        threads.emplace_back([pool, t] {
            std::mt19937 random(t);
            std::vector<void*> held;
            for (int k = 0; k < 3000; ++k) {
                if (held.size() < 20 || random() % 2 == 0) {
                    held.push_back(allocate(pool, random() % 500));
                } else {
                    pool->free(pool, held.back());
                    held.pop_back();
                }
            }
            for (void* block : held) pool->free(pool, block);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(ov::Host::memory(pool).liveBytes, 0u);
    EXPECT_EQ(f.host.memory().liveBlocks, 0u);
    pool->destroyPool(pool);
    EXPECT_TRUE(f.leaks.empty());
}

}  // namespace
