// Teams of threads, made with the host's services for one phase of a factorisation: numThreads - 1
// workers, and the calling thread as the last member.
#pragma once

#include "frame/host_services.hpp"
#include "sparse/numeric/root_sum.hpp"

namespace ovrelin {

/// One member at work.
struct Member {
    ThreadArgs& args;
    TileTeam& team;
    Factorisation front;  // with the member's own scratch and context
    double* diagonal;     // [tileSize * tileSize] the diagonal block made ready for tile solves
    RootSum sum;          // of the subtree at hand
};

/// What each member does; returns ok or what ended it.
using MemberWork = int (*)(Member& member);

/// Before the first phase of a factorisation: no stop flags, nothing failed, no tile final.
void resetTeam(LdlSymbolic& symbolic, LdlNumeric& numeric);

/// Runs one phase and waits for its end. Returns the first failure of a member; noMemory when the
/// host made no thread or wait object; mismatch when its wait service failed. No thread is left
/// behind in any case.
[[nodiscard]] int runPhase(LdlSymbolic& symbolic, LdlNumeric& numeric, const double* matValue,
                           const PivotRule& rule, MemberWork work);

/// Ends a factorisation that is still running when its memory is about to go: raises the stop flags
/// of the team and waits until its members have left. A factorisation that another thread runs is
/// over when that thread has left it; one that this thread abandoned is over when its workers are.
void endRunningTeam(LdlSymbolic& symbolic, LdlNumeric& numeric);

/// True when this member has to leave: someone failed, or a stop flag is up: its own, that of its
/// thread or that of the calling one. A member that sees a stop flag raises those of all others.
[[nodiscard]] bool mustLeave(Member& member);

/// One turn of a loop that waits for others; `turns` counts them, from 0.
void pauseWaiting(int* turns);

/// Ends the work of all members with `code`, unless another failure came first.
void failTeam(TileTeam& team, int code);
[[nodiscard]] int teamFailure(const TileTeam& team);
void raiseStopFlags(TileTeam& team);

}  // namespace ovrelin
