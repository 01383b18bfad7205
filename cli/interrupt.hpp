// Ctrl-C: the first one asks the solve to stop, the second one ends the program.
#pragma once

#include "host/ov.hpp"

namespace ov::cli {

/// While it lives, SIGINT and SIGTERM raise the host's stop flag, which ends orderings and
/// factorisations, and make the break callback of `solver` answer true, which ends the iteration.
/// One at a time.
class InterruptGuard {
public:
    InterruptGuard(Host& host, Solver& solver);
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    Solver& solver_;
};

}  // namespace ov::cli
