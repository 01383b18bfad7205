// The table of host services. Every entry is called by a module: nothing may throw out of it.

#include <cstring>
#include <string>
#include <utility>

#include "host/host_state.hpp"
#include "host/thread_context.hpp"

namespace ov {
namespace {

HostState* hostOf(HostServices* table) {
    HostState* bound = reinterpret_cast<HostState*>(table->hostWord[0]);
    return bound != nullptr ? bound : hostInUse();
}

/// The result of `make`, or null when it throws or there is no host.
template <class Make>
auto guarded(HostServices* table, Make make) -> decltype(make(std::declval<HostState&>())) {
    HostState* host = hostOf(table);
    if (host == nullptr) return nullptr;
    try {
        return make(*host);
    } catch (...) {
        return nullptr;
    }
}

HostEvent* createEvent(HostServices* table, HostDescriptor*, uint64_t, const char*) {
    return guarded(table, [](HostState&) { return makeEvent(); });
}

HostMutex* createMutex(HostServices* table, HostDescriptor*, uint64_t, const char*) {
    return guarded(table, [](HostState&) { return makeMutex(); });
}

MemoryPool* createPool(HostServices* table, HostDescriptor*, MemoryPool* parent, const char* name) {
    return guarded(table, [&](HostState& host) { return makePool(host.ledger, parent, name); });
}

ExtensionFactory* loadExtension(HostServices* table, const wchar_t* name, uint64_t length,
                                uint64_t) {
    return guarded(table, [&](HostState& host) {
        std::string narrow(length, '?');  // '?' is in no module's name
        for (uint64_t k = 0; k < length; ++k)
            if (name[k] > 0 && name[k] < 128) narrow[k] = static_cast<char>(name[k]);
        return loadFactory(host, narrow);
    });
}

HostThread* createThread(HostServices* table, ThreadStart* start, uint64_t, const char*) {
    return guarded(table, [&](HostState& host) { return host.crew.run(start); });
}

HostContext* currentContext(HostServices* table) {
    return guarded(table, [](HostState& host) { return contextFor(&host); });
}

/// The system's time when the process first asks, carried on by the steady clock: seconds since
/// 1970 that no correction of the system's time can turn back.
double wallSeconds() {
    using namespace std::chrono;
    static const auto steadyStart = steady_clock::now();
    static const double systemStart =
        duration<double>(system_clock::now().time_since_epoch()).count();
    return systemStart + duration<double>(steady_clock::now() - steadyStart).count();
}

void queryClock(int64_t selector, void* result, uint64_t) {
    const double seconds = selector == OVRELIN_CLOCK_SELECTOR ? wallSeconds() : 0.0;
    std::memcpy(result, &seconds, sizeof seconds);
}

}  // namespace

void fillServices(HostServices& table, HostState* host) {
    table = HostServices{};
    table.hostWord[0] = reinterpret_cast<std::uintptr_t>(host);
    table.createEvent = createEvent;
    table.createMutex = createMutex;
    table.createPool = createPool;
    table.loadExtension = loadExtension;
    table.createThread = createThread;
    table.currentContext = currentContext;
    table.queryClock = queryClock;
}

HostServices* processServices() {
    static HostServices table = [] {
        HostServices made;
        fillServices(made, nullptr);
        return made;
    }();
    return &table;
}

}  // namespace ov
