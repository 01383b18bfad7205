// Timing of the solver benchmarks: CPU time of one thread, best of several runs.
#pragma once

#include <algorithm>
#include <ctime>

namespace bench {

/// CPU seconds of this thread: other work on the machine disturbs them least.
inline double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The best of several runs: enough of them to fill `budget` seconds, at least three and at most
/// forty; two are enough for what takes seconds.
template <class Run>
double bestTime(double budget, Run run) {
    double best = 1e300, total = 0;
    for (int count = 0; count < 40 && (count < 2 || (count < 3 && total < 4) || total < budget);
         ++count) {
        const double begin = cpuSeconds();
        run();
        const double seconds = cpuSeconds() - begin;
        best = std::min(best, seconds);
        total += seconds;
    }
    return best;
}

}  // namespace bench
