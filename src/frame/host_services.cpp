#include "frame/host_services.hpp"

#include <cstring>

namespace ovrelin {

HostServices* hostServices = nullptr;

HostContext* currentContext() {
    return hostServices == nullptr ? nullptr : hostServices->currentContext(hostServices);
}

double wallClock() {
    std::uint64_t block[4] = {};
    hostServices->queryClock(OVRELIN_CLOCK_SELECTOR, block, OVRELIN_CLOCK_FLAGS);
    double seconds = 0;
    std::memcpy(&seconds, block, sizeof seconds);
    return seconds;
}

}  // namespace ovrelin
