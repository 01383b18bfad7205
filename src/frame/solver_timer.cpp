#include "frame/solver_timer.hpp"

#include <cwchar>

#include "frame/host_services.hpp"
#include "frame/solver_records.hpp"

namespace ovrelin {
namespace {

constexpr wchar_t perfName[] = L"ovperf";

bool loadPerf(SolverTimer* timer) {
    timer->perfFactory =
        hostServices->loadExtension(hostServices, perfName, std::wcslen(perfName), 0);
    if (timer->perfFactory == nullptr) return false;
    timer->perfTimer = static_cast<PerfObject*>(timer->perfFactory->createInstance());
    return timer->perfTimer != nullptr;
}

void measure(SolverTimer* timer) {
    PerfObject* perf = timer->perfTimer;
    perf->sample(perf, &timer->currentSample, 0, 0);
    PerfInterval interval{};
    perf->difference(perf, &timer->currentSample.cpu, &timer->startSample.cpu, &interval);
    timer->cpuElapsed = static_cast<double>(interval.seconds) +
                        static_cast<double>(interval.microseconds) / timer->microsPerSecond;
    timer->realNow = wallClock();
    timer->realElapsed = timer->realNow - timer->realStart;
}

}  // namespace

SolverTimer* createSolverTimer(SolverInstance* instance, MemoryPool* pool, Status* outStatus) {
    PoolObject<SolverTimer> made;
    *outStatus = made.make(pool);
    if (!isOk(*outStatus)) return nullptr;
    SolverTimer* timer = made.release();
    timer->instance = instance;
    timer->microsPerSecond = 1000000.0;
    timer->cpuLimit = maxDouble;
    timer->realLimit = maxDouble;
    if (!loadPerf(timer)) {
        destroySolverTimer(pool, &timer);
        *outStatus = Status::outOfMemory;
    }
    return timer;
}

void setLimit(SolverTimer* timer, double seconds) {
    (timer->realTime != 0 ? timer->realLimit : timer->cpuLimit) = seconds;
}

void start(SolverTimer* timer) {
    timer->perfTimer->sample(timer->perfTimer, &timer->startSample, 0, 0);
    timer->realStart = wallClock();
}

double elapsed(SolverTimer* timer) {
    measure(timer);
    return timer->realTime != 0 ? timer->realElapsed : timer->cpuElapsed;
}

bool isExpired(SolverTimer* timer) {
    measure(timer);
    return timer->realTime != 0 ? timer->realElapsed >= timer->realLimit
                                : timer->cpuElapsed >= timer->cpuLimit;
}

void destroySolverTimer(MemoryPool* pool, SolverTimer** timer) {
    if (*timer == nullptr) return;
    if ((*timer)->perfTimer != nullptr)
        (*timer)->perfTimer->destroyPerf((*timer)->perfTimer, &(*timer)->startSample);
    if ((*timer)->perfFactory != nullptr)
        (*timer)->perfFactory->releaseFactory((*timer)->perfFactory);
    PoolObject<SolverTimer> owner;
    owner.adopt(pool, *timer);
    *timer = nullptr;
}

}  // namespace ovrelin
