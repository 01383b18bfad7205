// Solves every model of the given folders and prints a table beside the published optima, with
// residuals recomputed from the model as read:
//
//   bench_problems [--log] [--time-limit S] [--refine-tolerance X] FOLDER...
//
// --log shows what the solver says. --refine-tolerance moves the backward
// error at which the refinement of a KKT solve stops.
//
// Columns: problem, columns, rows, return value, objective, published optimum, relative error,
// iterations, seconds, and of the returned point: row violation, bound violation, worst sign or
// complementarity fault of the reduced costs, each relative. Exit status 0 unless nothing was
// found.

#include <fmt/core.h>

#include <cmath>

#include "bench/arguments.hpp"
#include "bench/problem_files.hpp"
#include "bench/residuals.hpp"
#include "tests/support/tuned_module.hpp"

namespace {

struct Totals {
    int count = 0, solved = 0, right = 0;
    double seconds = 0;
};

void runFolder(ov::Solver& solver, const std::string& folder,
               const bench::ModelArguments& arguments, Totals& totals) {
    fmt::print("{}\n{:<12} {:>7} {:>7} {:>4} {:>16} {:>16} {:>8} {:>5} {:>8} {:>8} {:>8} {:>8}\n",
               folder, "problem", "columns", "rows", "rv", "objective", "published", "relerr",
               "iter", "seconds", "rowviol", "bndviol", "dualflt");
    for (const bench::ProblemFile& file : bench::listProblems(folder)) {
        if (!arguments.wants(file.name)) continue;
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
    bench::ModelArguments arguments;
    bool showLog = false;
    double timeLimit = 0;
    double& refineTolerance = ovtest::tunedParameters().sparse.refineTolerance;
    CLI::App app("Solves models and compares with their published optima", "bench_problems");
    bench::addFolders(app, arguments)->required();
    app.add_flag("--log", showLog, "show what the solver says");
    app.add_option("--time-limit", timeLimit, "of a solve, seconds")->check(CLI::PositiveNumber);
    app.add_option("--refine-tolerance", refineTolerance, "backward error that ends a refinement")
        ->check(CLI::NonNegativeNumber);
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions options;
    if (!showLog) options.out = nullptr;
    ov::Host host(options);
    ov::Solver solver(host, ovextent, ovtest::tunedEntry);
    Totals totals;
    if (timeLimit > 0) solver.options().timeLimit = timeLimit;
    for (const std::string& folder : arguments.folders)
        runFolder(solver, folder, arguments, totals);
    fmt::print(
        "models {}, solved {}, within 1e-4 of the published optimum {} ({:.1f} %), {:.2f} s\n",
        totals.count, totals.solved, totals.right, 100.0 * totals.right / std::max(totals.count, 1),
        totals.seconds);
    return 0;
}
