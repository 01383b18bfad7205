// Events, mutexes and worker threads.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "host/host.hpp"

namespace ov {

HostEvent* makeEvent();
HostMutex* makeMutex();

/// Waits until every event of the list is signalled; 0, or non-zero for a list with a null in it.
int32_t waitForEvents(const WaitList* list);

/// The threads of one host. A thread that has done its job parks and takes the next one: a solver
/// that asks for a team in every iteration pays for the making of threads only once.
class ThreadCrew {
public:
    explicit ThreadCrew(HostState* host);
    ~ThreadCrew();
    ThreadCrew(const ThreadCrew&) = delete;
    ThreadCrew& operator=(const ThreadCrew&) = delete;

    /// Runs start->routine(start) on a thread, then signals start->done (may be null). The record
    /// and the event need to live until the signal only. Null when no thread can be had.
    HostThread* run(ThreadStart* start);
    /// Waits for all jobs and ends the threads.
    void finish();
    [[nodiscard]] std::size_t size() const;

private:
    struct Worker;
    void serve(Worker& worker);
    Worker& findWorker();

    HostState* host_;
    mutable std::mutex mutex_;
    std::vector<std::unique_ptr<Worker>> workers_;
};

}  // namespace ov
