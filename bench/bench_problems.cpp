// Solves every model of the given folders and prints a table beside the published optima, with
// residuals recomputed from the model as read:
//
//   bench_problems [--log] [--time-limit S] FOLDER...
//
// --log, as the first argument, shows what the solver says.
//
// Columns: problem, columns, rows, return value, objective, published optimum, relative error,
// iterations, seconds, and of the returned point: row violation, bound violation, worst sign or
// complementarity fault of the reduced costs, each relative. Exit status 0 unless nothing was found.

#include <fmt/core.h>

#include <cmath>
#include <cstring>

#include "bench/problem_files.hpp"

namespace {

struct Residuals {
    double rows = 0, bounds = 0, duals = 0;
};

double violation(double value, double low, double high) {
    return std::max({0.0, low - value, value - high}) / (1 + std::fabs(value));
}

/// A dual of magnitude d may only stand at distance 0 from the side that its sign names.
double dualFault(double dual, double value, double low, double high, double scale) {
    if (low == high) return 0;
    const double side = dual > 0 ? low : high;
    const double distance = std::fabs(side) >= 1e20
                                ? 1.0
                                : std::min(1.0, std::fabs(value - side) / (1 + std::fabs(value)));
    return std::fabs(dual) * distance / scale;
}

void rowSides(const ov::Problem& p, std::size_t i, double& low, double& high) {
    const char sense = p.rowSense[i];
    low = sense == 'L' || sense == 'N' ? -1e20 : p.rhs[i];
    high = sense == 'G' || sense == 'N' ? 1e20 : sense == 'R' ? p.rhs[i] + p.range[i] : p.rhs[i];
}

Residuals residuals(const ov::Problem& p, const ov::Result& r) {
    std::vector<double> activity(p.numRow(), 0.0);
    for (std::size_t j = 0; j < p.numCol(); ++j)
        for (auto k = p.matrix.begin[j]; k < p.matrix.begin[j + 1]; ++k)
            activity[static_cast<std::size_t>(p.matrix.index[static_cast<std::size_t>(k)])] +=
                p.matrix.value[static_cast<std::size_t>(k)] * r.x[j];
    double scale = 1;
    for (const double c : p.obj) scale = std::max(scale, std::fabs(c));
    Residuals out;
    for (std::size_t i = 0; i < p.numRow(); ++i) {
        double low = 0, high = 0;
        rowSides(p, i, low, high);
        out.rows = std::max(out.rows, violation(activity[i], low, high));
        out.duals = std::max(out.duals,
                             dualFault(p.objSense * r.dual[i], activity[i], low, high, scale));
    }
    for (std::size_t j = 0; j < p.numCol(); ++j) {
        out.bounds = std::max(out.bounds, violation(r.x[j], p.lower[j], p.upper[j]));
        out.duals = std::max(out.duals, dualFault(p.objSense * r.reducedCost[j], r.x[j],
                                                  p.lower[j], p.upper[j], scale));
    }
    return out;
}

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
        const Residuals res = residuals(problem, r);
        const double error = file.hasOptimum ? std::fabs(r.objective - file.optimum) /
                                                   std::max(1.0, std::fabs(file.optimum))
                                             : std::nan("");
        ++totals.count;
        totals.seconds += r.solveSeconds;
        if (r.isSolved()) ++totals.solved;
        if (r.isSolved() && (!file.hasOptimum || error <= 1e-4)) ++totals.right;
        fmt::print(
            "{:<12} {:>7} {:>7} {:>4} {:>16.8e} {:>16.8e} {:>8.1e} {:>5} {:>8.3f} {:>8.1e} {:>8.1e} "
            "{:>8.1e}{}\n",
            file.name, problem.numCol(), problem.numRow(), r.returnValue, r.objective,
            file.hasOptimum ? file.optimum : std::nan(""), error, r.iterations, r.solveSeconds,
            res.rows, res.bounds, res.duals,
            !r.isSolved() ? "  <- not solved" : error > 1e-4 ? "  <- wrong" : "");
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    ov::HostOptions options;
    if (argc < 2 || std::strcmp(argv[1], "--log") != 0) options.out = nullptr;
    ov::Host host(options);
    ov::Solver solver(host);
    Totals totals;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--time-limit") == 0 && i + 1 < argc)
            solver.options().timeLimit = std::atof(argv[++i]);
        else if (std::strcmp(argv[i], "--log") != 0)
            runFolder(solver, argv[i], totals);
    }
    if (totals.count == 0) {
        fmt::print(stderr, "usage: bench_problems [--log] [--time-limit S] FOLDER...\n");
        return 64;
    }
    fmt::print("models {}, solved {}, within 1e-4 of the published optimum {} ({:.1f} %), {:.2f} s\n",
               totals.count, totals.solved, totals.right, 100.0 * totals.right / totals.count,
               totals.seconds);
    return 0;
}
