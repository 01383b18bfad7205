/* The services that a host lends to the module: pools, threads, clocks, extension loading.
 *
 * Every object is a record of 8-byte words; "entry k" is the word at index k, counting from 0.
 * The host table, a pool, a lock, a thread and a context all carry their own operations, so that
 * a host may be written in any language that can fill a table of function pointers.
 */
#ifndef OVRELIN_HOST_H
#define OVRELIN_HOST_H

#include <stddef.h>
#include <stdint.h>

#include "ovrelin/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct HostServices HostServices;
typedef struct MemoryPool MemoryPool;
typedef struct HostEvent HostEvent;
typedef struct HostMutex HostMutex;
typedef struct HostThread HostThread;
typedef struct HostContext HostContext;
typedef struct ExtensionFactory ExtensionFactory;

/* Flag words of MemoryPool.allocate. */
#define OVRELIN_ALLOCATE_RAW UINT64_C(0)
#define OVRELIN_ALLOCATE_ZERO UINT64_C(0x80000000)

/* Arguments of HostServices.queryClock for the wall clock. */
#define OVRELIN_CLOCK_SELECTOR 16
#define OVRELIN_CLOCK_FLAGS UINT64_C(0x11800000)

/* A memory pool. All memory of one solver instance lies in one pool. */
struct MemoryPool {
    uint64_t hostWord[2];
    /* Entry 2: destroys the pool and every block in it. */
    void (*destroyPool)(MemoryPool* pool);
    /* Entry 3: `size` bytes aligned for any object, or null. */
    void* (*allocate)(MemoryPool* pool, uint64_t size, uint64_t flags);
    /* Entry 4: gives one block back. */
    void (*free)(MemoryPool* pool, void* block);
    /* Entry 5: the block at its new size (contents kept), or null with the old block untouched. */
    void* (*reallocate)(MemoryPool* pool, void* block, uint64_t size, uint64_t flags);
};

/* The object that a worker thread signals when its routine has returned. */
struct HostEvent {
    uint64_t hostWord[2];
    void (*close)(HostEvent* event); /* entry 2 */
};

struct HostMutex {
    uint64_t hostWord[2];
    void (*close)(HostMutex* mutex);                                    /* entry 2 */
    int32_t (*lock)(HostMutex* mutex, int64_t exclusive, int64_t wait); /* entry 3: (1, 1) */
    int32_t (*unlock)(HostMutex* mutex);                                /* entry 4 */
};

struct HostThread {
    uint64_t hostWord[2];
    /* Entry 2: closes the handle; the thread need not have ended. */
    void (*close)(HostThread* thread);
};

/* What createThread starts: routine(start) runs on the new thread, then `done` is signalled. */
typedef struct ThreadStart ThreadStart;
struct ThreadStart {
    int32_t (*routine)(ThreadStart* start);
    HostEvent* done;
    void* argument;
};

/* The wait objects that HostContext.waitAll waits for. */
typedef struct WaitList {
    uint64_t count;
    HostEvent** events;
} WaitList;

/* The host's view of one calling thread. */
struct HostContext {
    uint64_t hostWord[3];
    uint64_t closing;  /* fourth word: the module writes 1 while it takes an instance down */
    int32_t stopFlag;  /* raised by the host on a user break, from any thread; polled atomically */
    int32_t reserved;
    uint64_t hostWord5[20];
    /* Entry 25: waits for every event of the list; 0 on success. */
    int32_t (*waitAll)(HostContext* context, const WaitList* list);
    /* Entry 26: called (1, 0) when an instance has released what it held on this thread. */
    int32_t (*released)(HostContext* context, int64_t a, int64_t b);
};

/* A descriptor block for createEvent, createMutex and createPool. */
typedef struct HostDescriptor {
    uint64_t word[3];
} HostDescriptor;

/* The table of host services. The entry numbers are binary interface. */
struct HostServices {
    uint64_t hostWord[2];
    /* Entry 2 */
    HostEvent* (*createEvent)(HostServices* host, HostDescriptor* descriptor, uint64_t zero,
                              const char* name);
    /* Entry 3 */
    HostMutex* (*createMutex)(HostServices* host, HostDescriptor* descriptor, uint64_t zero,
                              const char* name);
    uint64_t unused4[2];
    /* Entry 6 */
    MemoryPool* (*createPool)(HostServices* host, HostDescriptor* descriptor, MemoryPool* parent,
                              const char* name);
    uint64_t unused7[2];
    /* Entry 9: a sibling module by name (`length` wide characters), or null. */
    ExtensionFactory* (*loadExtension)(HostServices* host, const wchar_t* name, uint64_t length,
                                       uint64_t zero);
    /* Entry 10 */
    HostThread* (*createThread)(HostServices* host, ThreadStart* start, uint64_t zero,
                                const char* name);
    /* Entry 11: the context of the calling thread, or null. */
    HostContext* (*currentContext)(HostServices* host);
    uint64_t unused12[21];
    /* Entry 33: called without the table. result[0], read as a double, is wall-clock seconds. */
    void (*queryClock)(int64_t selector, void* result, uint64_t flags);
};

OVRELIN_ASSERT_LAYOUT(MemoryPool, 48, reallocate, 40);
OVRELIN_ASSERT_LAYOUT(HostEvent, 24, close, 16);
OVRELIN_ASSERT_LAYOUT(HostMutex, 40, unlock, 32);
OVRELIN_ASSERT_LAYOUT(HostThread, 24, close, 16);
OVRELIN_ASSERT_LAYOUT(ThreadStart, 24, argument, 16);
OVRELIN_ASSERT_LAYOUT(WaitList, 16, events, 8);
OVRELIN_ASSERT_LAYOUT(HostContext, 216, released, 208);
OVRELIN_ASSERT_LAYOUT(HostDescriptor, 24, word, 0);
OVRELIN_ASSERT_LAYOUT(HostServices, 272, queryClock, 264);

#ifdef __cplusplus
}
#endif

#endif
