#include "host/sinks.hpp"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <vector>

#include "host/host_state.hpp"
#include "host/message_catalogue.hpp"
#include "host/thread_context.hpp"

namespace ov {
namespace {

LineKind kindOf(const LogFormat& parsed) {
    if (parsed.stream == '\0') return LineKind::error;
    return parsed.stream == 'h' ? LineKind::trace : LineKind::log;
}

std::string printToString(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::vector<char> buffer(256);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    if (length >= static_cast<int>(buffer.size())) {
        buffer.resize(static_cast<std::size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, again);
    }
    va_end(again);
    return length < 0 ? std::string(format)
                      : std::string(buffer.data(), static_cast<std::size_t>(length));
}

void writeLogLine(HostState& host, const char* format, std::va_list arguments) {
    const LogFormat parsed = parseLogFormat(format);
    if (parsed.level > host.options.logLevel) return;
    std::string text = printToString(parsed.format.c_str(), arguments);
    while (!text.empty() && text.back() == '\n') text.pop_back();
    if (parsed.stream == 'z' && parsed.level == 1) text.insert(0, "WARNING: ");
    writeLine(host, {kindOf(parsed), 0, text});
}

void sendMessage(MessageSink* sink, int32_t level, uint32_t id, ...) {
    const MessageWriter& writer = *static_cast<MessageWriter*>(sink);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - writer.started;
    std::va_list arguments;
    va_start(arguments, id);
    try {
        const std::string text = renderMessage(level, id, elapsed.count(), arguments);
        writeLine(*writer.host, {kindOfLevel(level), id, text});
    } catch (...) {
        // A module is calling: nothing may pass through it. The line is lost.
    }
    va_end(arguments);
}

}  // namespace

LogFormat parseLogFormat(const char* format) {
    LogFormat parsed;
    const char* at = format;
    if (*at == '%') {
        const char* digit = at + 1;
        while (std::isdigit(static_cast<unsigned char>(*digit)) != 0) ++digit;
        if (digit > at + 1 && (*digit == 'z' || *digit == 'h')) {
            for (const char* d = at + 1; d < digit; ++d)
                parsed.level = 10 * parsed.level + (*d - '0');
            parsed.stream = *digit;
            at = digit + 1;
        }
    }
    while (*at != '\0') {
        if (at[0] == '%' && at[1] == 'm') {
            at += 2;
        } else if (at[0] == '%' && at[1] == '%') {
            parsed.format += "%%";
            at += 2;
        } else {
            parsed.format += *at++;
        }
    }
    return parsed;
}

void writeLog(const char* format, ...) {
    HostState* host = hostInUse();
    if (host == nullptr || format == nullptr) return;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        writeLogLine(*host, format, arguments);
    } catch (...) {
        // A module is calling: nothing may pass through it. The line is lost.
    }
    va_end(arguments);
}

MessageWriter::MessageWriter(HostState* state)
    : MessageSink{sendMessage}, host(state), started(std::chrono::steady_clock::now()) {}

}  // namespace ov
