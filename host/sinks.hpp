// The two channels by which a module speaks: the printf-style text log and the numbered messages.
#pragma once

#include <chrono>

#include "host/host.hpp"

namespace ov {

/// A text log format without its directives.
struct LogFormat {
    int level = 0;       // the number before z or h; 0 without a prefix
    char stream = '\0';  // z the log, h the trace, '\0' no prefix: an internal error
    std::string format;  // the rest, for printf
};

/// Takes a leading %<level>z or %<level>h off, and every %m, the host's margin, which is empty here
/// (to printf it would be the text of errno).
LogFormat parseLogFormat(const char* format);

/// The text log of every instance. It carries no object: the line goes to the host in use on the
/// calling thread.
void writeLog(const char* format, ...);

/// The receiver of numbered messages; `started` is where the elapsed time of the iteration table
/// counts from.
struct MessageWriter : MessageSink {
    explicit MessageWriter(HostState* host);

    HostState* host;
    std::chrono::steady_clock::time_point started;
};

}  // namespace ov
