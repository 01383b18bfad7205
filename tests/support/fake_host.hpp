// A host with one thread context and a clock that ticks once per reading; what the sparse solver
// asks of a host, and nothing else.
#pragma once

#include <cstring>

#include "frame/host_services.hpp"

namespace ovtest {

class FakeHost {
public:
    FakeHost() {
        services_.currentContext = [](HostServices*) { return &context(); };
        services_.queryClock = [](std::int64_t, void* result, std::uint64_t) {
            const double seconds = ++readings();
            std::memcpy(result, &seconds, sizeof seconds);
        };
        context().stopFlag = 0;
        readings() = 0;
        ovrelin::hostServices = &services_;
    }
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;
    ~FakeHost() { ovrelin::hostServices = saved_; }

    static HostContext& context() {
        static HostContext only{};
        return only;
    }
    static int& readings() {
        static int count = 0;
        return count;
    }

private:
    HostServices services_{};
    HostServices* const saved_ = ovrelin::hostServices;
};

}  // namespace ovtest
