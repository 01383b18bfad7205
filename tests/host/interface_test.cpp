// The entries of the binary interface must sit at the words that other programs count to. (That C
// and C++ see the same records is asserted in the headers; interface_c.c compiles them as C.)

#include <gtest/gtest.h>

#include <cstddef>

#include "ovrelin/ovrelin.h"

namespace {

TEST(Interface, EntriesAreAtTheirWords) {
    struct Place {
        const char* name;
        size_t offset;
        size_t word;
    };
    const Place places[] = {
        {"createEvent", offsetof(HostServices, createEvent), 2},
        {"createMutex", offsetof(HostServices, createMutex), 3},
        {"createPool", offsetof(HostServices, createPool), 6},
        {"loadExtension", offsetof(HostServices, loadExtension), 9},
        {"createThread", offsetof(HostServices, createThread), 10},
        {"currentContext", offsetof(HostServices, currentContext), 11},
        {"queryClock", offsetof(HostServices, queryClock), 33},
        {"closing", offsetof(HostContext, closing), 3},
        {"waitAll", offsetof(HostContext, waitAll), 25},
        {"released", offsetof(HostContext, released), 26},
        {"destroyPool", offsetof(MemoryPool, destroyPool), 2},
        {"allocate", offsetof(MemoryPool, allocate), 3},
        {"free", offsetof(MemoryPool, free), 4},
        {"reallocate", offsetof(MemoryPool, reallocate), 5},
        {"close", offsetof(HostMutex, close), 2},
        {"lock", offsetof(HostMutex, lock), 3},
        {"unlock", offsetof(HostMutex, unlock), 4},
        {"releaseFactory", offsetof(ExtensionFactory, releaseFactory), 2},
        {"createInstance", offsetof(ExtensionFactory, createInstance), 10},
        {"solveWithOptions", offsetof(SolverInstance, solveWithOptions), 6},
        {"matrixStatistics", offsetof(SolverInstance, matrixStatistics), 9},
        {"computeScaling", offsetof(ScalingInstance, computeScaling), 24},
        {"applyScaling", offsetof(ScalingInstance, applyScaling), 25},
        {"destroyPerf", offsetof(PerfObject, destroyPerf), 2},
        {"sample", offsetof(PerfObject, sample), 14},
        {"difference", offsetof(PerfObject, difference), 15},
    };
    for (const Place& place : places) EXPECT_EQ(place.offset, 8 * place.word) << place.name;
}

}  // namespace
