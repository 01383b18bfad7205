#include "cli/interrupt.hpp"

#include <atomic>
#include <csignal>

namespace ov::cli {
namespace {

std::atomic<Host*> activeHost{nullptr};
std::atomic<bool> raised{false};
static_assert(std::atomic<Host*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free,
              "a signal handler may touch these only when no lock is behind them");

extern "C" void onSignal(int) {
    raised.store(true);
    if (Host* const host = activeHost.load()) host->raiseStop();
}

void install(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

InterruptGuard::InterruptGuard(Host& host, Solver& solver) : solver_(solver) {
    raised.store(false);
    activeHost.store(&host);
    solver_.setBreak([] { return raised.load(); });
    install(onSignal, static_cast<int>(SA_RESETHAND));  // the next signal has its usual effect
}

InterruptGuard::~InterruptGuard() {
    install(SIG_DFL, 0);
    activeHost.store(nullptr);
    solver_.setBreak({});
}

}  // namespace ov::cli
