#include "sparse/numeric/tiles/team.hpp"

#include <algorithm>
#include <thread>

namespace ovrelin {

namespace {

using std::int32_t;

/// A phase as its members see it.
struct Phase {
    LdlSymbolic& symbolic;
    LdlNumeric& numeric;
    const double* matValue;
    PivotRule rule;
    MemberWork work;
};

/// Polls of a waiting member between two that give the processor away.
constexpr int pollsBeforeYield = 200;

void relax() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

void runMember(const Phase& phase, ThreadArgs& args) {
    LdlSymbolic& symbolic = phase.symbolic;
    double* const scaled = args.work + symbolic.updateSize;
    const FrontScratch scratch{args.work, scaled, args.position};
    Member member{args,
                  *args.team,
                  {symbolic, phase.numeric, phase.rule, currentContext(), scratch, symbolic.n, 0,
                   nullptr, phase.matValue},
                  scaled + symbolic.updateSize2,
                  {}};
    const int code = mustLeave(member) ? teamFailure(member.team) : phase.work(member);
    if (code != ldl::ok) failTeam(member.team, code);
    args.numPerturbed += member.front.numPerturbed;
}

int32_t workerMain(ThreadStart* start) {
    ThreadArgs& args = *reinterpret_cast<ThreadArgs*>(start);
    TileTeam& team = *args.team;
    runMember(*static_cast<const Phase*>(team.phase), args);
    __atomic_sub_fetch(&team.running, 1, __ATOMIC_RELEASE);
    return 0;
}

/// Starts worker t; false when the host refuses.
bool startWorker(TileTeam& team, int32_t t) {
    HostDescriptor descriptor{};
    HostEvent* const event = hostServices->createEvent(hostServices, &descriptor, 0, "");
    if (event == nullptr) return false;
    ThreadArgs& args = team.threadArgs[t];
    args.start = {workerMain, event, &args};
    __atomic_add_fetch(&team.running, 1, __ATOMIC_RELAXED);
    HostThread* const thread = hostServices->createThread(hostServices, &args.start, 0, "");
    if (thread == nullptr) {
        __atomic_sub_fetch(&team.running, 1, __ATOMIC_RELAXED);
        event->close(event);
        return false;
    }
    team.threadHandles[t] = thread;
    team.events[t] = event;
    return true;
}

int32_t startWorkers(TileTeam& team) {
    int32_t started = 0;
    while (started < team.numThreads - 1 && startWorker(team, started)) ++started;
    if (started < team.numThreads - 1) failTeam(team, ldl::noMemory);
    return started;
}

/// Waits for the workers and closes their handles. When the wait service fails, the memory that
/// they work on must still not go away under them.
void endWorkers(TileTeam& team, int32_t started) {
    while (started > 0 && team.events[started - 1] == nullptr) --started;
    if (started == 0) return;
    const WaitList list{static_cast<std::uint64_t>(started), team.events.data()};
    if (team.caller->waitAll(team.caller, &list) != 0) {
        failTeam(team, ldl::mismatch);
        while (__atomic_load_n(&team.running, __ATOMIC_ACQUIRE) != 0) std::this_thread::yield();
    }
    for (int32_t t = 0; t < started; ++t) {
        team.threadHandles[t]->close(team.threadHandles[t]);
        team.events[t]->close(team.events[t]);
        team.threadHandles[t] = nullptr;
        team.events[t] = nullptr;
    }
}

}  // namespace

void resetTeam(LdlSymbolic& symbolic, LdlNumeric& numeric) {
    TileTeam& team = numeric.team;
    __atomic_store_n(&team.caller, currentContext(), __ATOMIC_RELEASE);
    team.failed = ldl::ok;
    team.openLeaves = symbolic.tiles.numLeaves;
    for (ThreadArgs& args : team.threadArgs) {
        __atomic_store_n(&args.stopFlag, 0, __ATOMIC_RELAXED);
        args.numPerturbed = 0;
        args.preparedBlock = -1;
    }
    std::fill(team.tileState.begin(), team.tileState.end(), 0);
    std::fill(team.tileTouched.begin(), team.tileTouched.end(), 0);
    std::fill(team.takenSources.begin(), team.takenSources.end(), 0);
    std::fill(symbolic.touched.begin(), symbolic.touched.end(), 0);
}

int runPhase(LdlSymbolic& symbolic, LdlNumeric& numeric, const double* matValue,
             const PivotRule& rule, MemberWork work) {
    TileTeam& team = numeric.team;
    // Without a context there is nothing to wait with, so that no thread may be started.
    if (team.numThreads > 1 && team.caller == nullptr) return ldl::mismatch;
    const Phase phase{symbolic, numeric, matValue, rule, work};
    team.phase = &phase;
    const int32_t started = startWorkers(team);
    runMember(phase, team.threadArgs[team.numThreads - 1]);
    endWorkers(team, started);
    team.phase = nullptr;
    return teamFailure(team);
}

void endRunningTeam(LdlSymbolic& symbolic, LdlNumeric& numeric) {
    TileTeam& team = numeric.team;
    const auto isRunning = [&] {
        return __atomic_load_n(&symbolic.state, __ATOMIC_ACQUIRE) == ldl::stateNumeric;
    };
    if (symbolic.numThreads < 2 || !isRunning()) return;
    if (__atomic_load_n(&team.caller, __ATOMIC_ACQUIRE) == currentContext()) {
        raiseStopFlags(team);
        endWorkers(team, team.numThreads - 1);
        symbolic.state = ldl::stateIdle;
    }
    // The flags are cleared when a factorisation begins: raising them once might come too early.
    while (isRunning()) {
        raiseStopFlags(team);
        std::this_thread::yield();
    }
}

bool mustLeave(Member& member) {
    TileTeam& team = member.team;
    if (teamFailure(team) != ldl::ok) return true;
    if (!stopRequested(member.front.context) && !stopRequested(team.caller) &&
        __atomic_load_n(&member.args.stopFlag, __ATOMIC_RELAXED) == 0)
        return false;
    raiseStopFlags(team);
    failTeam(team, ldl::stopped);
    return true;
}

void pauseWaiting(int* turns) {
    if (*turns < pollsBeforeYield) {
        ++*turns;
        relax();
    } else {
        std::this_thread::yield();
    }
}

void failTeam(TileTeam& team, int code) {
    int32_t none = ldl::ok;
    __atomic_compare_exchange_n(&team.failed, &none, code, false, __ATOMIC_RELEASE,
                                __ATOMIC_RELAXED);
}

int teamFailure(const TileTeam& team) {
    return __atomic_load_n(&team.failed, __ATOMIC_ACQUIRE);
}

void raiseStopFlags(TileTeam& team) {
    for (ThreadArgs& args : team.threadArgs) __atomic_store_n(&args.stopFlag, 1, __ATOMIC_RELAXED);
}

}  // namespace ovrelin
