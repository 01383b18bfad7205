#include "host/thread_context.hpp"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

#include "host/host_state.hpp"

namespace ov {
namespace {

/// Contexts form a list that only grows; those of ended threads are taken by later ones. So a
/// pointer to a context, or a walk of the list in a signal handler, can never meet freed memory.
struct ThreadContext : HostContext {
    std::atomic<HostState*> host{nullptr};
    std::atomic<bool> isTaken{true};
    ThreadContext* next = nullptr;
};

std::atomic<ThreadContext*> firstContext{nullptr};
thread_local HostState* scopedHost = nullptr;

std::mutex hostsMutex;
std::atomic<HostState*> youngestHost{nullptr};

std::vector<HostState*>& livingHosts() {
    static std::vector<HostState*> hosts;
    return hosts;
}

void store(HostContext* context, std::int32_t flag) {
    __atomic_store_n(&context->stopFlag, flag, __ATOMIC_SEQ_CST);
}

int32_t waitForAll(HostContext*, const WaitList* list) {
    return waitForEvents(list);
}

int32_t noteReleased(HostContext* context, int64_t, int64_t) {
    context->closing = 0;
    return 0;
}

ThreadContext* takeContext() {
    for (ThreadContext* c = firstContext.load(); c != nullptr; c = c->next) {
        bool isTaken = false;
        if (c->isTaken.compare_exchange_strong(isTaken, true)) return c;
    }
    ThreadContext* made = new ThreadContext();
    made->waitAll = waitForAll;
    made->released = noteReleased;
    made->next = firstContext.load();
    while (!firstContext.compare_exchange_weak(made->next, made)) {
    }
    return made;
}

struct ContextLease {
    ThreadContext* context = takeContext();
    ContextLease() = default;
    ContextLease(const ContextLease&) = delete;
    ContextLease& operator=(const ContextLease&) = delete;
    ~ContextLease() {
        context->host.store(nullptr);
        store(context, 0);
        context->closing = 0;
        context->isTaken.store(false);
    }
};

ThreadContext* ownContext() {
    thread_local ContextLease lease;
    return lease.context;
}

}  // namespace

HostState* hostInUse() {
    return scopedHost != nullptr ? scopedHost : youngestHost.load();
}

HostScope::HostScope(HostState* host) : outer_(scopedHost) {
    scopedHost = host;
}
HostScope::~HostScope() {
    scopedHost = outer_;
}

void enterHost(HostState* host) {
    const std::lock_guard lock(hostsMutex);
    livingHosts().push_back(host);
    youngestHost.store(host);
}

void leaveHost(HostState* host) {
    {
        const std::lock_guard lock(hostsMutex);
        std::erase(livingHosts(), host);
        youngestHost.store(livingHosts().empty() ? nullptr : livingHosts().back());
    }
    for (ThreadContext* c = firstContext.load(); c != nullptr; c = c->next) {
        HostState* bound = host;
        if (c->host.compare_exchange_strong(bound, nullptr)) store(c, 0);
    }
}

HostContext* contextFor(HostState* host) {
    ThreadContext* context = ownContext();
    // Binding comes before reading the host's flag, and raising sets the host's flag before it
    // looks at the bindings: one of the two sees the other, and no stop is lost.
    const bool isRebound = context->host.exchange(host) != host;
    if (host->stopRaised.load() != 0) {
        store(context, 1);
    } else if (isRebound) {
        store(context, 0);
    }
    return context;
}

void resetContext(HostState* host) {
    HostContext* context = contextFor(host);
    context->closing = 0;
    store(context, 0);
    if (host->stopRaised.load() != 0) store(context, 1);
}

void setStopFlags(HostState* host, int flag) noexcept {
    for (ThreadContext* c = firstContext.load(); c != nullptr; c = c->next)
        if (c->host.load() == host) store(c, flag);
}

}  // namespace ov
