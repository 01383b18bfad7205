// The embedded host: it lends a module its services (memory pools, threads, clock, loading of
// siblings), counts what the module holds, and turns what the module says into lines of text.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "ovrelin/ovrelin.h"

namespace ov {

struct HostState;

enum class LineKind : std::uint8_t { note, warning, error, heading, iteration, log, trace };

/// One line of output, without its line end.
struct Line {
    LineKind kind = LineKind::note;
    std::uint32_t messageId = 0;  // 0 unless the line renders a numbered message
    std::string_view text;        // valid during the call only
};

/// Memory in the host's pools. Bytes are those asked for, without the host's own overhead.
struct MemoryCounters {
    std::uint64_t liveBytes = 0;
    std::uint64_t peakBytes = 0;
    std::uint64_t liveBlocks = 0;
    std::uint64_t livePools = 0;     // always 0 in the counters of one pool
    std::uint64_t allocations = 0;   // attempts so far, refused ones included
    std::uint64_t leakedBlocks = 0;  // blocks that a destroyed pool still held
    std::uint64_t leakedBytes = 0;
    std::uint64_t misuses = 0;  // frees of blocks that the pool does not hold
};

/// What a destroyed pool still held. The pool's owner record (its first block, when that names the
/// pool, as factories and instances do) lives until the pool goes and is no leak.
struct LeakReport {
    std::string poolName;
    std::uint64_t blocks = 0;
    std::uint64_t bytes = 0;
};

struct HostOptions {
    /// Folder of the modules, searched after the program's own folder and before the system's;
    /// empty: the folder where the first module was found.
    std::string moduleFolder;
    /// Receives every line, on the thread that solves. Empty: lines go to `out` and `err`.
    std::function<void(const Line&)> output;
    std::FILE* out = stdout;  // notes, warnings, headings, iterations, log; null drops them
    std::FILE* err = stderr;  // errors; null drops them
    /// Text log lines above this level are dropped (1 inconsistencies, 2 summaries, 3 notes, 7
    /// trace).
    int logLevel = 3;
    /// False leaves the instances' text log or numbered messages unset.
    bool textLog = true;
    bool messages = true;
    /// Called when a pool is destroyed with blocks in it. Empty: an error line.
    std::function<void(const LeakReport&)> leakHandler;
    /// Most bytes that a single pool may hold; 0: no limit.
    std::uint64_t poolCapBytes = 0;
    /// Refuses the k-th allocation (1 is the next); 0: none. See Host::failAllocation.
    std::uint64_t failAllocation = 0;
};

/// A module that cannot be loaded; what() is the reason.
class LoadError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The embedded host. It must outlive its solvers; several hosts may live side by side, each with
/// its own counters. All members may be called from any thread.
class Host {
public:
    explicit Host(HostOptions options = {});
    /// Waits for the threads that the module made, then reports and frees the pools left over.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The service table bound to this host, for modules linked into the program. Loaded modules
    /// get the process-wide table, which works for the host in use on the calling thread.
    [[nodiscard]] HostServices* services();

    /// Loads the module `name` (once) and makes a factory by its entry; null when it cannot, with
    /// the reason in loadError(). Release the factory with factory->releaseFactory(factory).
    [[nodiscard]] ExtensionFactory* load(std::string_view name);
    /// Why the last load that failed did fail.
    [[nodiscard]] std::string loadError() const;
    /// The version record of the module `name`; throws LoadError when it cannot be loaded.
    void versionRecord(std::string_view name, std::uint64_t (&record)[OVRELIN_VERSION_WORDS]);

    [[nodiscard]] MemoryCounters memory() const;
    /// The counters of one pool of this host.
    [[nodiscard]] static MemoryCounters memory(const MemoryPool* pool);
    /// Refuses the k-th allocation from now on, and that one only; 0 refuses none. Allocations are
    /// counted over all pools of the host: allocate, reallocate and createPool count one each.
    void failAllocation(std::uint64_t k);
    void setLeakHandler(std::function<void(const LeakReport&)> handler);

    /// Raises the stop flag of every thread that works for this host, now or later, until
    /// clearStop(). Safe in a signal handler.
    void raiseStop() noexcept;
    void clearStop() noexcept;
    /// The context of the calling thread. It stays valid for ever (contexts of ended threads are
    /// used again by later ones), so that raising a flag late is harmless.
    [[nodiscard]] HostContext* currentContext();
    /// The stop flag of one thread. Safe in a signal handler.
    static void raiseStop(HostContext* context) noexcept;
    static void clearStop(HostContext* context) noexcept;

    /// Writes a line to where the host's output goes.
    void write(LineKind kind, std::string_view text);

    [[nodiscard]] const HostOptions& options() const;

private:
    friend class Solver;
    std::unique_ptr<HostState> state_;
};

}  // namespace ov
