// The host in use on a thread, and the context that the host shows to modules on it.
#pragma once

#include "host/host.hpp"

namespace ov {

/// The host in use on the calling thread: that of the innermost HostScope, otherwise the youngest
/// host that lives; null without any.
HostState* hostInUse();

/// Makes `host` the one in use on this thread until the end of the scope.
class HostScope {
public:
    explicit HostScope(HostState* host);
    ~HostScope();
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;

private:
    HostState* outer_;
};

/// A host enters when it is ready and leaves before it goes.
void enterHost(HostState* host);
void leaveHost(HostState* host);

/// The context of the calling thread, bound to `host`: from now on raiseStop(host) reaches it.
HostContext* contextFor(HostState* host);
/// Binds the context anew with the host's own stop flag, for a thread that starts another job.
void resetContext(HostState* host);

/// Raises or clears the flag in every context bound to `host`. Only atomic loads and stores, so
/// that a signal handler may call it.
void setStopFlags(HostState* host, int flag) noexcept;

}  // namespace ov
