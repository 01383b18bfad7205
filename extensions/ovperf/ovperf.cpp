// The sibling `ovperf`: CPU time of the process, as samples and their differences.

#include <ctime>

#include "module_frame.hpp"

namespace {

constexpr uint64_t kindCpuTime = 1;
constexpr uint64_t microsPerSecond = 1000000;

void destroyPerf(PerfObject* object, void*) {
    if (object != nullptr) object->pool->destroyPool(object->pool);
}

int32_t sample(PerfObject*, PerfSample* out, uint64_t, uint64_t) {
    timespec now{};
    if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now) != 0) return 1;
    out->kind = kindCpuTime;
    out->cpu.seconds = static_cast<uint64_t>(now.tv_sec);
    out->cpu.microseconds = static_cast<uint64_t>(now.tv_nsec) / 1000;
    return 0;
}

/// A later sample that is not later gives zero: the reader takes the numbers as unsigned.
int32_t difference(PerfObject*, const PerfCpuPart* later, const PerfCpuPart* earlier,
                   PerfInterval* out) {
    const uint64_t end = later->seconds * microsPerSecond + later->microseconds;
    const uint64_t begin = earlier->seconds * microsPerSecond + earlier->microseconds;
    const uint64_t micros = end > begin ? end - begin : 0;
    out->seconds = micros / microsPerSecond;
    out->microseconds = micros % microsPerSecond;
    return 0;
}

void* createInstance() {
    PerfObject* object = sibling::makeRecord<PerfObject>("OVPERF POOL", nullptr, &PerfObject::pool);
    if (object == nullptr) return nullptr;
    object->destroyPerf = destroyPerf;
    object->sample = sample;
    object->difference = difference;
    return object;
}

}  // namespace

OVRELIN_SIBLING_EXPORTS(ovperf, "OVPERF POOL", createInstance)
