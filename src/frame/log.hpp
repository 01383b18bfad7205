// The module's two voices: the printf-style text log and the numbered messages. Both sinks may be
// null; then nothing is said and nothing else changes.
#pragma once

#include <cstdint>

#include "ovrelin/codes.h"
#include "ovrelin/objects.h"

namespace ovrelin {

/// Text log. `format` may begin with a host directive (%1z, %2z, %3z, %7h); internal errors begin
/// with "Error " and the routine's name.
template <class... Args>
void logText(const SolverInstance* instance, const char* format, Args... args) {
    if (instance->logSink != nullptr) instance->logSink(format, args...);
}

template <class... Args>
void sendMessage(const SolverInstance* instance, std::int32_t level, std::uint32_t id, Args... args) {
    MessageSink* sink = instance->messageSink;
    if (sink != nullptr) sink->send(sink, level, id, args...);
}

}  // namespace ovrelin
