// What a solve costs when the arithmetic costs nothing: a 2-variable QP through the loaded module,
// repeated on one instance, and with a fresh instance each time.
//
//   bench_small [REPEATS]

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

#include "host/ov.hpp"

namespace {

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

template <class Work>
void report(const char* what, int repeats, Work work) {
    std::vector<double> times;
    for (int i = 0; i < repeats; ++i) {
        const double start = now();
        work();
        times.push_back(1e6 * (now() - start));
    }
    std::sort(times.begin(), times.end());
    fmt::print("{:<28} first-to-last of {}: min {:.1f} us, median {:.1f} us, 99 % {:.1f} us\n",
               what, repeats, times.front(), times[times.size() / 2],
               times[times.size() * 99 / 100]);
}

}  // namespace

int main(int argc, char** argv) {
    const int repeats = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1000;
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ov::Problem problem;
    problem.obj = {-2, -6};
    problem.quadDiag = {2, 2};
    problem.quad = {{0, 1, 1}, {1}, {-1}};
    problem.matrix = {{0, 2, 4}, {0, 1, 0, 1}, {1, -1, 1, 2}};
    problem.rowSense = {'L', 'L'};
    problem.rhs = {2, 2};
    problem.lower = {0, 0};
    problem.upper = {1e20, 1e20};
    ov::Solver solver(host);
    double start = now();
    const ov::Result first = solver.solve(problem);
    fmt::print("first solve: {:.1f} us, return value {}, {} iterations, objective {:.9g}\n",
               1e6 * (now() - start), first.returnValue, first.iterations, first.objective);
    report("same instance", repeats, [&] { (void)solver.solve(problem); });
    report("instance made each time", repeats, [&] {
        ov::Solver fresh(host);
        (void)fresh.solve(problem);
    });
    return first.returnValue == OVRELIN_OPTIMAL ? 0 : 1;
}
