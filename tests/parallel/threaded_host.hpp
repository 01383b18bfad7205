// A host with threads for the sparse solver, whose thread services fail on request.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame/host_services.hpp"
#include "host/host.hpp"

namespace ovtest {

/// A service that counts its calls and fails at one of them.
struct CountedService {
    std::atomic<std::int64_t> calls{0};
    std::int64_t failAt = -1;

    bool fails() { return calls++ == failAt; }
};

/// The embedded host behind a table of its own. While it lives it is the module's host.
class ThreadedHost {
public:
    enum Service { event, thread, mutex };

    ThreadedHost() : host_(quiet()), table_(*host_.services()) {
        real() = table_;
        table_.createEvent = [](auto... call) {
            return service(event).fails() ? nullptr : real().createEvent(call...);
        };
        table_.createThread = [](auto... call) {
            return service(thread).fails() ? nullptr : real().createThread(call...);
        };
        table_.createMutex = [](auto... call) {
            return service(mutex).fails() ? nullptr : real().createMutex(call...);
        };
        ovrelin::hostServices = &table_;
        failNone();
    }
    ThreadedHost(const ThreadedHost&) = delete;
    ThreadedHost& operator=(const ThreadedHost&) = delete;
    ~ThreadedHost() { ovrelin::hostServices = saved_; }

    /// From now on the k-th call, counting from 0, of that service fails, and none of the others.
    void fail(Service which, std::int64_t k) {
        failNone();
        service(which).failAt = k;
    }
    /// The counters begin anew.
    void failNone() {
        for (const Service each : {event, thread, mutex}) {
            service(each).calls = 0;
            service(each).failAt = -1;
        }
    }
    [[nodiscard]] std::int64_t calls(Service which) const { return service(which).calls; }

    /// The stop flags of all threads of this host.
    void raiseStop() { host_.raiseStop(); }
    void clearStop() { host_.clearStop(); }

private:
    static CountedService& service(Service which) {
        static CountedService services[3];
        return services[which];
    }
    static HostServices& real() {
        static HostServices table{};
        return table;
    }
    static ov::HostOptions quiet() {
        ov::HostOptions options;
        options.out = options.err = nullptr;
        return options;
    }

    ov::Host host_;
    HostServices table_;
    HostServices* const saved_ = ovrelin::hostServices;
};

}  // namespace ovtest
