#include "host/threading.hpp"

#include <thread>
#include <utility>

#include "host/thread_context.hpp"

namespace ov {
namespace {

/// Shared between the event and the thread that will signal it: the waiter may close the event as
/// soon as it wakes, while the signaller still holds the lock.
struct Signal {
    std::mutex mutex;
    std::condition_variable changed;
    bool isRaised = false;

    void raise() {
        const std::lock_guard lock(mutex);
        isRaised = true;
        changed.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isRaised; });
    }
};

struct Event : HostEvent {
    std::shared_ptr<Signal> signal = std::make_shared<Signal>();
};

struct Mutex : HostMutex {
    std::mutex mutex;
};

void closeEvent(HostEvent* event) {
    delete static_cast<Event*>(event);
}
void closeMutex(HostMutex* mutex) {
    delete static_cast<Mutex*>(mutex);
}
void closeThread(HostThread* thread) {
    delete thread;
}

int32_t lockMutex(HostMutex* mutex, int64_t, int64_t wait) {
    Mutex* known = static_cast<Mutex*>(mutex);
    if (wait == 0) return known->mutex.try_lock() ? 0 : 1;
    known->mutex.lock();
    return 0;
}

int32_t unlockMutex(HostMutex* mutex) {
    static_cast<Mutex*>(mutex)->mutex.unlock();
    return 0;
}

}  // namespace

HostEvent* makeEvent() {
    Event* event = new Event();
    event->close = closeEvent;
    return event;
}

HostMutex* makeMutex() {
    Mutex* mutex = new Mutex();
    mutex->close = closeMutex;
    mutex->lock = lockMutex;
    mutex->unlock = unlockMutex;
    return mutex;
}

int32_t waitForEvents(const WaitList* list) {
    if (list == nullptr) return 1;
    for (std::uint64_t k = 0; k < list->count; ++k)
        if (list->events[k] == nullptr) return 1;
    for (std::uint64_t k = 0; k < list->count; ++k)
        static_cast<Event*>(list->events[k])->signal->wait();
    return 0;
}

struct ThreadCrew::Worker {
    std::condition_variable changed;
    ThreadStart* job = nullptr;
    std::shared_ptr<Signal> done;
    bool isBusy = false;
    bool isEnding = false;
    std::thread thread;
};

ThreadCrew::ThreadCrew(HostState* host) : host_(host) {}
ThreadCrew::~ThreadCrew() {
    finish();
}

void ThreadCrew::serve(Worker& worker) {
    const HostScope scope(host_);
    std::unique_lock lock(mutex_);
    while (true) {
        worker.changed.wait(lock, [&] { return worker.job != nullptr || worker.isEnding; });
        if (worker.job == nullptr) return;
        ThreadStart* job = std::exchange(worker.job, nullptr);
        const std::shared_ptr<Signal> done = std::move(worker.done);
        lock.unlock();
        resetContext(host_);
        job->routine(job);
        lock.lock();
        // Free before the signal: who waits for it may ask for the next thread at once.
        worker.isBusy = false;
        if (done != nullptr) done->raise();
    }
}

ThreadCrew::Worker& ThreadCrew::findWorker() {
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (!worker->isBusy) return *worker;
    auto made = std::make_unique<Worker>();
    workers_.reserve(workers_.size() + 1);
    made->thread = std::thread([this, worker = made.get()] { serve(*worker); });
    workers_.push_back(std::move(made));
    return *workers_.back();
}

HostThread* ThreadCrew::run(ThreadStart* start) {
    auto handle = std::make_unique<HostThread>();
    handle->close = closeThread;
    const std::lock_guard lock(mutex_);
    Worker& worker = findWorker();
    worker.isBusy = true;
    worker.job = start;
    if (start->done != nullptr) worker.done = static_cast<Event*>(start->done)->signal;
    worker.changed.notify_one();
    return handle.release();
}

void ThreadCrew::finish() {
    {
        const std::lock_guard lock(mutex_);
        for (const std::unique_ptr<Worker>& worker : workers_) {
            worker->isEnding = true;
            worker->changed.notify_one();
        }
    }
    for (const std::unique_ptr<Worker>& worker : workers_) worker->thread.join();
    workers_.clear();
}

std::size_t ThreadCrew::size() const {
    const std::lock_guard lock(mutex_);
    return workers_.size();
}

}  // namespace ov
