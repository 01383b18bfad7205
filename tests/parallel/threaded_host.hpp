// A host with threads for the sparse solver, whose thread services fail on request.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame/host_services.hpp"
#include "host/host.hpp"

namespace ovtest {

/// Which service fails at which call, counting from 0; a negative call fails none.
struct ServiceFaults {
    std::int64_t event = -1, thread = -1, mutex = -1, wait = -1;
};

/// The embedded host behind a table of its own. While it lives it is the module's host.
class ThreadedHost {
public:
    ThreadedHost() : host_(quiet()) {
        table_ = *host_.services();
        real() = table_;
        table_.createEvent = createEvent;
        table_.createThread = createThread;
        table_.createMutex = createMutex;
        table_.currentContext = currentContext;
        saved_ = ovrelin::hostServices;
        ovrelin::hostServices = &table_;
        fail({});
    }
    ThreadedHost(const ThreadedHost&) = delete;
    ThreadedHost& operator=(const ThreadedHost&) = delete;
    ~ThreadedHost() { ovrelin::hostServices = saved_; }

    /// From now on these calls fail; the counters begin anew.
    void fail(const ServiceFaults& faults) {
        state().faults = faults;
        state().events = state().threads = state().mutexes = state().waits = 0;
        state().liveObjects = 0;
    }
    [[nodiscard]] std::int64_t numEvents() const { return state().events; }
    [[nodiscard]] std::int64_t numThreads() const { return state().threads; }
    [[nodiscard]] std::int64_t numMutexes() const { return state().mutexes; }

    /// Thread services as a whole, as the stop flags of all threads of this host.
    void raiseStop() { host_.raiseStop(); }
    void clearStop() { host_.clearStop(); }

private:
    struct State {
        ServiceFaults faults;
        std::atomic<std::int64_t> events{0}, threads{0}, mutexes{0}, waits{0}, liveObjects{0};
    };
    static State& state() {
        static State only;
        return only;
    }
    static HostServices& real() {
        static HostServices table{};
        return table;
    }
    static ov::HostOptions quiet() {
        ov::HostOptions options;
        options.out = nullptr;
        options.err = nullptr;
        return options;
    }

    static HostEvent* createEvent(HostServices* table, HostDescriptor* descriptor,
                                  std::uint64_t zero, const char* name) {
        if (state().events++ == state().faults.event) return nullptr;
        return real().createEvent(table, descriptor, zero, name);
    }
    static HostThread* createThread(HostServices* table, ThreadStart* start, std::uint64_t zero,
                                    const char* name) {
        if (state().threads++ == state().faults.thread) return nullptr;
        return real().createThread(table, start, zero, name);
    }
    static HostMutex* createMutex(HostServices* table, HostDescriptor* descriptor,
                                  std::uint64_t zero, const char* name) {
        if (state().mutexes++ == state().faults.mutex) return nullptr;
        return real().createMutex(table, descriptor, zero, name);
    }
    static HostContext* currentContext(HostServices* table) { return real().currentContext(table); }

    ov::Host host_;
    HostServices table_{};
    HostServices* saved_ = nullptr;
};

}  // namespace ovtest
