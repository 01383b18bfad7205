// The stopwatch of one solve: CPU time through the sibling `ovperf`, wall-clock time through the
// host, and a limit on whichever of the two is in force.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "ovrelin/objects.h"

namespace ovrelin {

struct SolverTimer {
    SolverInstance* instance;
    std::int32_t realTime;   // 0 measures CPU time, 1 wall-clock time
    double microsPerSecond;  // 1000000.0
    double cpuLimit;
    double cpuElapsed;
    ExtensionFactory* perfFactory;
    PerfObject* perfTimer;
    PerfSample startSample, currentSample;
    double realLimit;
    double realStart, realNow, realElapsed;
};

/// Makes the timer and loads `ovperf`. Null, with outStatus outOfMemory, when either fails.
SolverTimer* createSolverTimer(SolverInstance* instance, MemoryPool* pool, Status* outStatus);
/// Writes the limit of the measure in force, in seconds.
void setLimit(SolverTimer* timer, double seconds);
void start(SolverTimer* timer);
/// Seconds since start by the measure in force.
double elapsed(SolverTimer* timer);
/// True when the measure in force is not below its limit; never at the default limit.
bool isExpired(SolverTimer* timer);
/// Null-safe; releases `ovperf`, frees the record, clears the pointer.
void destroySolverTimer(MemoryPool* pool, SolverTimer** timer);

}  // namespace ovrelin
