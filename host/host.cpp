#include "host/host.hpp"

#include <exception>
#include <utility>

#include "host/host_state.hpp"
#include "host/thread_context.hpp"

namespace ov {
namespace {

void writeLeak(HostState& host, const LeakReport& report) {
    const std::string text = "ERROR: memory pool '" + report.poolName + "' is destroyed with " +
                             std::to_string(report.blocks) + " blocks (" +
                             std::to_string(report.bytes) + " bytes) still in it.";
    writeLine(host, {LineKind::error, 0, text});
}

void setLeakReport(HostState& host, std::function<void(const LeakReport&)> handler) {
    if (!handler) handler = [&host](const LeakReport& report) { writeLeak(host, report); };
    const std::lock_guard lock(host.ledger.mutex);
    host.ledger.onLeak = std::move(handler);
}

ExtensionFactory* noteFailure(HostState& host, std::string_view name, std::string reason) {
    writeLine(host, {LineKind::error, 0,
                     "ERROR: The extension '" + std::string(name) + "' is not loaded: " + reason});
    const std::lock_guard lock(host.errorMutex);
    host.loadError = std::move(reason);
    return nullptr;
}

}  // namespace

HostState::HostState(HostOptions given)
    : options(std::move(given)), crew(this), loader(processServices(), options.moduleFolder) {
    fillServices(table, this);
    ledger.poolCapBytes = options.poolCapBytes;
    ledger.refuseIn = static_cast<std::int64_t>(options.failAllocation);
    setLeakReport(*this, options.leakHandler);
}

void writeLine(HostState& host, const Line& line) {
    try {
        if (host.options.output) {
            host.options.output(line);
            return;
        }
        std::FILE* stream = line.kind == LineKind::error ? host.options.err : host.options.out;
        if (stream == nullptr) return;
        // One write per line, so that lines of solvers on different threads do not mix.
        const std::string text = std::string(line.text) + '\n';
        std::fwrite(text.data(), 1, text.size(), stream);
    } catch (...) {
        // A module is calling: nothing may pass through it. The line is lost.
    }
}

ExtensionFactory* loadFactory(HostState& host, std::string_view name) {
    const HostScope scope(&host);
    std::string reason;
    const LoadedModule* module = host.loader.find(name, reason);
    ExtensionFactory* factory = module == nullptr ? nullptr : makeFactory(*module, reason);
    return factory != nullptr ? factory : noteFailure(host, name, std::move(reason));
}

Host::Host(HostOptions options) : state_(std::make_unique<HostState>(std::move(options))) {
    enterHost(state_.get());
}

Host::~Host() {
    state_->crew.finish();
    {
        const HostScope scope(state_.get());
        destroyAllPools(state_->ledger);
    }
    leaveHost(state_.get());
}

HostServices* Host::services() {
    return &state_->table;
}

ExtensionFactory* Host::load(std::string_view name) {
    return loadFactory(*state_, name);
}

std::string Host::loadError() const {
    const std::lock_guard lock(state_->errorMutex);
    return state_->loadError;
}

void Host::versionRecord(std::string_view name, std::uint64_t (&record)[OVRELIN_VERSION_WORDS]) {
    std::string reason;
    const LoadedModule* module = state_->loader.find(name, reason);
    if (module == nullptr) throw LoadError(reason);
    module->version(record);
}

MemoryCounters Host::memory() const {
    return readCounters(state_->ledger);
}
MemoryCounters Host::memory(const MemoryPool* pool) {
    return readCounters(pool);
}

void Host::failAllocation(std::uint64_t k) {
    state_->ledger.refuseIn = static_cast<std::int64_t>(k);
}

void Host::setLeakHandler(std::function<void(const LeakReport&)> handler) {
    setLeakReport(*state_, std::move(handler));
}

void Host::raiseStop() noexcept {
    state_->stopRaised.store(1);
    setStopFlags(state_.get(), 1);
}

void Host::clearStop() noexcept {
    state_->stopRaised.store(0);
    setStopFlags(state_.get(), 0);
}

HostContext* Host::currentContext() {
    return contextFor(state_.get());
}

void Host::raiseStop(HostContext* context) noexcept {
    __atomic_store_n(&context->stopFlag, 1, __ATOMIC_SEQ_CST);
}

void Host::clearStop(HostContext* context) noexcept {
    __atomic_store_n(&context->stopFlag, 0, __ATOMIC_SEQ_CST);
}

void Host::write(LineKind kind, std::string_view text) {
    writeLine(*state_, {kind, 0, text});
}

const HostOptions& Host::options() const {
    return state_->options;
}

}  // namespace ov
