// All that a host holds, behind its public face.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>

#include "host/extension_loader.hpp"
#include "host/host.hpp"
#include "host/memory_pool.hpp"
#include "host/threading.hpp"

namespace ov {

struct HostState {
    explicit HostState(HostOptions given);

    HostOptions options;
    PoolLedger ledger;
    std::atomic<int> stopRaised{0};
    ThreadCrew crew;
    ExtensionLoader loader;
    HostServices table;  // bound to this host
    mutable std::mutex errorMutex;
    std::string loadError;
};

/// Fills a service table. It works for `host`, or with null for the host in use on the calling
/// thread (services.cpp).
void fillServices(HostServices& table, HostState* host);
/// The table that loaded modules get: one for the process, because a module keeps one table only
/// and serves every host of the process.
HostServices* processServices();

/// Loads a module and makes a factory, or notes the reason and writes it as an error line.
ExtensionFactory* loadFactory(HostState& host, std::string_view name);

void writeLine(HostState& host, const Line& line);

}  // namespace ov
