// The one global word of the module: the host's service table, written once by `ovextent`.
#pragma once

#include <cstdint>

#include "ovrelin/host.h"

namespace ovrelin {

extern HostServices* hostServices;

/// The context of the calling thread, or null (also before `ovextent`).
HostContext* currentContext();

/// Wall-clock seconds by the host's clock.
double wallClock();

/// True when the host has raised the stop flag of `context`; null never stops. The flag is written
/// by other threads, so every read is atomic.
inline bool stopRequested(const HostContext* context) {
    return context != nullptr && __atomic_load_n(&context->stopFlag, __ATOMIC_RELAXED) != 0;
}

}  // namespace ovrelin
