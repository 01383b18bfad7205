/* The binary interface is plain C: a host may be written in it. Compiling this as C11 checks the
 * layouts that the headers assert, as every C++ file does, and that the entries sit at the words
 * that other programs count to. */
#include <stddef.h>

#include "ovrelin/ovrelin.h"

#define AT_WORD(record, entry, word) \
    _Static_assert(offsetof(record, entry) == 8 * (word), #record "." #entry)

AT_WORD(HostServices, createEvent, 2);
AT_WORD(HostServices, createMutex, 3);
AT_WORD(HostServices, createPool, 6);
AT_WORD(HostServices, loadExtension, 9);
AT_WORD(HostServices, createThread, 10);
AT_WORD(HostServices, currentContext, 11);
AT_WORD(HostServices, queryClock, 33);
AT_WORD(HostContext, closing, 3);
AT_WORD(HostContext, waitAll, 25);
AT_WORD(HostContext, released, 26);
AT_WORD(MemoryPool, destroyPool, 2);
AT_WORD(MemoryPool, allocate, 3);
AT_WORD(MemoryPool, free, 4);
AT_WORD(MemoryPool, reallocate, 5);
AT_WORD(HostMutex, close, 2);
AT_WORD(HostMutex, lock, 3);
AT_WORD(HostMutex, unlock, 4);
AT_WORD(ExtensionFactory, releaseFactory, 2);
AT_WORD(ExtensionFactory, createInstance, 10);
AT_WORD(SolverInstance, solveWithOptions, 6);
AT_WORD(SolverInstance, matrixStatistics, 9);
AT_WORD(ScalingInstance, computeScaling, 24);
AT_WORD(ScalingInstance, applyScaling, 25);
AT_WORD(PerfObject, destroyPerf, 2);
AT_WORD(PerfObject, sample, 14);
AT_WORD(PerfObject, difference, 15);
