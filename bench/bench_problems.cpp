// Solves every model of the given folders and prints a table beside the published optima, with
// residuals recomputed from the model as read:
//
//   bench_problems [--log] [--time-limit S] [--refine-tolerance X] FOLDER...
//
// --log, as the first argument, shows what the solver says. --refine-tolerance moves the backward
// error at which the refinement of a KKT solve stops.
//
// Columns: problem, columns, rows, return value, objective, published optimum, relative error,
// iterations, seconds, and of the returned point: row violation, bound violation, worst sign or
// complementarity fault of the reduced costs, each relative. Exit status 0 unless nothing was
// found.

#include <fmt/core.h>

#include <cmath>
#include <cstring>

#include "bench/problem_files.hpp"
#include "bench/residuals.hpp"
#include "tests/support/tuned_module.hpp"

namespace {

struct Totals {
    int count = 0, solved = 0, right = 0;
    double seconds = 0;
};

void runFolder(ov::Solver& solver, const std::string& folder, Totals& totals) {
    fmt::print("{}\n{:<12} {:>7} {:>7} {:>4} {:>16} {:>16} {:>8} {:>5} {:>8} {:>8} {:>8} {:>8}\n",
               folder, "problem", "columns", "rows", "rv", "objective", "published", "relerr",
               "iter", "seconds", "rowviol", "bndviol", "dualflt");
    for (const bench::ProblemFile& file : bench::listProblems(folder)) {
        const ov::Problem problem = bench::toProblem(ov::modelio::readModel(file.path));
        const ov::Result r = solver.solve(problem);
        const bench::Residuals res = bench::residuals(problem, r);
        const double error = file.hasOptimum ? std::fabs(r.objective - file.optimum) /
                                                   std::max(1.0, std::fabs(file.optimum))
                                             : std::nan("");
        ++totals.count;
        totals.seconds += r.solveSeconds;
        if (r.isSolved()) ++totals.solved;
        if (r.isSolved() && (!file.hasOptimum || error <= 1e-4)) ++totals.right;
        fmt::print(
            "{:<12} {:>7} {:>7} {:>4} {:>16.8e} {:>16.8e} {:>8.1e} {:>5} {:>8.3f} {:>8.1e} "
            "{:>8.1e} "
            "{:>8.1e}{}\n",
            file.name, problem.numCol(), problem.numRow(), r.returnValue, r.objective,
            file.hasOptimum ? file.optimum : std::nan(""), error, r.iterations, r.solveSeconds,
            res.rows, res.bounds, res.duals,
            !r.isSolved()  ? "  <- not solved"
            : error > 1e-4 ? "  <- wrong"
                           : "");
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    ov::HostOptions options;
    if (argc < 2 || std::strcmp(argv[1], "--log") != 0) options.out = nullptr;
    ov::Host host(options);
    ov::Solver solver(host, ovextent, ovtest::tunedEntry);
    Totals totals;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--time-limit") == 0 && i + 1 < argc)
            solver.options().timeLimit = std::atof(argv[++i]);
        else if (std::strcmp(argv[i], "--refine-tolerance") == 0 && i + 1 < argc)
            ovtest::tunedParameters().sparse.refineTolerance = std::atof(argv[++i]);
        else if (std::strcmp(argv[i], "--log") != 0)
            runFolder(solver, argv[i], totals);
    }
    if (totals.count == 0) {
        fmt::print(
            stderr,
            "usage: bench_problems [--log] [--time-limit S] [--refine-tolerance X] FOLDER...\n");
        return 64;
    }
    fmt::print(
        "models {}, solved {}, within 1e-4 of the published optimum {} ({:.1f} %), {:.2f} s\n",
        totals.count, totals.solved, totals.right, 100.0 * totals.right / totals.count,
        totals.seconds);
    return 0;
}
