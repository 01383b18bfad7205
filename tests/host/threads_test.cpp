// Threads, events, mutexes and wait-for-all as a solver uses them; contexts and their stop flags.

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "host/ov.hpp"

namespace {

bool isStopRaised(const HostContext* context) {
    return __atomic_load_n(&context->stopFlag, __ATOMIC_SEQ_CST) != 0;
}

/// A team as the module makes one: a start record, an event and a handle for each worker.
template <class Work>
class Team {
public:
    Team(ov::Host& host, std::size_t size, Work work)
        : services_(host.services()), work_(work), members_(size), events_(size) {
        HostDescriptor descriptor{};
        for (std::size_t k = 0; k < size; ++k) {
            events_[k] = services_->createEvent(services_, &descriptor, 0, "");
            members_[k] = {{run, events_[k], this}, k};
            HostThread* thread = services_->createThread(services_, &members_[k].start, 0, "");
            EXPECT_NE(thread, nullptr);
            thread->close(thread);
        }
    }
    Team(const Team&) = delete;
    Team& operator=(const Team&) = delete;

    /// Waits for all and closes the events; the records may go at once afterwards.
    void wait() {
        const WaitList list{events_.size(), events_.data()};
        HostContext* context = services_->currentContext(services_);
        EXPECT_EQ(context->waitAll(context, &list), 0);
        for (HostEvent* event : events_) event->close(event);
    }

private:
    struct Member {
        ThreadStart start;
        std::size_t index;
    };
    static int32_t run(ThreadStart* start) {
        Team& team = *static_cast<Team*>(start->argument);
        team.work_(reinterpret_cast<Member*>(start)->index);
        return 0;
    }

    HostServices* services_;
    Work work_;
    std::vector<Member> members_;
    std::vector<HostEvent*> events_;
};

TEST(Threads, TeamsComeAndGoAndTheMutexExcludes) {
    ov::Host host;
    HostServices* services = host.services();
    HostDescriptor descriptor{};
    HostMutex* mutex = services->createMutex(services, &descriptor, 0, "");
    long total = 0;  // guarded by the mutex alone
    std::set<HostContext*> contexts;
    for (int round = 0; round < 200; ++round) {
        std::vector<std::size_t> written(6, 0);
        {
            Team team(host, 6, [&](std::size_t index) {
                for (int k = 0; k < 20; ++k) {
                    EXPECT_EQ(mutex->lock(mutex, 1, 1), 0);
                    ++total;
                    contexts.insert(services->currentContext(services));
                    EXPECT_EQ(mutex->unlock(mutex), 0);
                }
                written[index] = index + 1;
            });
            team.wait();
        }
        for (std::size_t k = 0; k < 6; ++k) ASSERT_EQ(written[k], k + 1);
    }
    EXPECT_EQ(total, 200 * 6 * 20);
    EXPECT_LT(contexts.size(), 100u);  // of 1200 workers: threads are used again
    EXPECT_EQ(contexts.count(services->currentContext(services)), 0u);
    mutex->close(mutex);
}

TEST(Threads, WaitForAllRefusesBadLists) {
    ov::Host host;
    HostContext* context = host.currentContext();
    HostEvent* events[] = {nullptr};
    const WaitList withNull{1, events};
    const WaitList empty{0, nullptr};
    EXPECT_NE(context->waitAll(context, nullptr), 0);
    EXPECT_NE(context->waitAll(context, &withNull), 0);
    EXPECT_EQ(context->waitAll(context, &empty), 0);
}

TEST(Threads, MutexCanBeTriedWithoutWaiting) {
    ov::Host host;
    HostDescriptor descriptor{};
    HostMutex* mutex = host.services()->createMutex(host.services(), &descriptor, 0, "");
    ASSERT_EQ(mutex->lock(mutex, 1, 1), 0);
    std::thread([&] { EXPECT_NE(mutex->lock(mutex, 1, 0), 0); }).join();
    mutex->unlock(mutex);
    std::thread([&] {
        EXPECT_EQ(mutex->lock(mutex, 1, 0), 0);
        mutex->unlock(mutex);
    }).join();
    mutex->close(mutex);
}

TEST(Contexts, EachThreadHasItsOwnFlag) {
    ov::Host host;
    HostContext* mine = host.currentContext();
    EXPECT_EQ(mine, host.currentContext());
    std::atomic<HostContext*> theirs = nullptr;
    std::atomic<bool> seen = false;
    std::thread other([&] {
        theirs = host.currentContext();
        while (!isStopRaised(theirs)) std::this_thread::yield();
        seen = true;
        while (isStopRaised(theirs)) std::this_thread::yield();
    });
    while (theirs == nullptr) std::this_thread::yield();
    EXPECT_NE(theirs, mine);
    ov::Host::raiseStop(theirs);
    while (!seen) std::this_thread::yield();
    EXPECT_FALSE(isStopRaised(mine));
    ov::Host::clearStop(theirs);
    other.join();
    // The context outlives its thread: a late flag is harmless, and the next thread starts clean.
    ov::Host::raiseStop(theirs);
    std::thread([&] { EXPECT_FALSE(isStopRaised(host.currentContext())); }).join();
}

TEST(Contexts, HostsStopReachesThreadsOfNowAndLaterAndNoOtherHost) {
    HostContext* mine = nullptr;
    {
        ov::Host ended;
        mine = ended.currentContext();
        ended.raiseStop();
    }
    EXPECT_FALSE(isStopRaised(mine));
    ov::Host host, bystander;
    std::thread([&] { EXPECT_FALSE(isStopRaised(bystander.currentContext())); }).join();
    mine = host.currentContext();
    host.raiseStop();
    EXPECT_TRUE(isStopRaised(mine));
    std::thread([&] { EXPECT_TRUE(isStopRaised(host.currentContext())); }).join();
    std::thread([&] { EXPECT_FALSE(isStopRaised(bystander.currentContext())); }).join();
    bool isSeenByWorker = false;
    Team team(host, 1, [&](std::size_t) { isSeenByWorker = isStopRaised(host.currentContext()); });
    team.wait();
    EXPECT_TRUE(isSeenByWorker);
    // A thread that turns to another host leaves the flag behind, and meets it when it comes back.
    EXPECT_FALSE(isStopRaised(bystander.currentContext()));
    EXPECT_TRUE(isStopRaised(host.currentContext()));
    host.clearStop();
    EXPECT_FALSE(isStopRaised(host.currentContext()));
    Team again(host, 1, [&](std::size_t) { isSeenByWorker = isStopRaised(host.currentContext()); });
    again.wait();
    EXPECT_FALSE(isSeenByWorker);
}

TEST(Clock, GivesWallClockSecondsThatNeverTurnBack) {
    ov::Host host;
    const auto seconds = [&] {
        double block[4] = {};
        host.services()->queryClock(OVRELIN_CLOCK_SELECTOR, block, OVRELIN_CLOCK_FLAGS);
        return block[0];
    };
    const double first = seconds();
    EXPECT_NEAR(first, static_cast<double>(std::time(nullptr)), 2.0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const double passed = seconds() - first;
    EXPECT_TRUE(passed > 0.019 && passed < 5) << passed;
    for (int k = 0; k < 1000; ++k) {
        const double earlier = seconds();
        ASSERT_LE(earlier, seconds());
    }
}

}  // namespace
