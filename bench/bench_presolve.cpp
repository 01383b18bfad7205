// What the presolver is worth: every model of the given folders with its reductions on and off.
//
//   bench_presolve [--time-limit S] FOLDER...
//
// Columns: problem, columns, rows and elements with the shares removed, milliseconds of presolve
// and their share of the solve; then for reductions on and for off: return value, iterations,
// seconds and of the returned point, recomputed from the model as read, row violation, bound
// violation and dual fault. A line ends in a mark where the two disagree, or where the objective
// with the reductions on misses the published optimum by more than 1e-4 of it.

#include <fmt/core.h>

#include <chrono>
#include <cmath>
#include <cstdarg>

#include "bench/arguments.hpp"
#include "bench/problem_files.hpp"
#include "bench/residuals.hpp"
#include "frame/operations/caller_arrays.hpp"
#include "presolve/presolve_model.hpp"
#include "presolve/solution.hpp"
#include "tests/support/tuned_module.hpp"

namespace {

struct Removed {
    std::int32_t rows = 0, cols = 0, elements = 0, numElement = 0;
    double seconds = 0;
    double ends = 0;
};

ProblemInput view(ov::Problem& p, std::vector<double>& x, std::vector<double>& y,
                  std::vector<double>& activity) {
    x.assign(p.numCol(), 0.0);
    y.assign(p.numRow(), 0.0);
    activity.assign(p.numRow(), 0.0);
    p.quadDiag.resize(p.numCol());
    if (p.quad.begin.empty()) p.quad.begin.assign(p.numCol() + 1, 0);
    ProblemInput in = ov::inputRecord(p);
    in.solPrimal = x.data();
    in.solDual = y.data();
    in.rowActivity = activity.data();
    return in;
}

/// The presolver alone, on the module's own records.
Removed presolveOnly(ov::Problem p, SolverInstance* instance) {
    using namespace ovrelin;
    std::vector<double> x, y, activity;
    const ProblemInput input = view(p, x, y, activity);
    Model model{};
    viewProblem(input, model);
    DerivedArrays derived;
    SolveOptions options{};
    options.primalTol = options.dualTol = 1e-6;
    options.infinity = infinityBound;
    TransformRecord transform{};
    PoolObject<Presolver> presolver;
    IpmSolution *in = nullptr, *work = nullptr;
    Removed out;
    if (!isOk(makeDerivedArrays(instance->pool, model, derived)) ||
        !isOk(presolver.make(instance->pool)))
        return out;
    if (p.objSense < 0) negateObjective(model);
    raiseRangeRows(model);
    Model* inForce = &model;
    const auto begin = std::chrono::steady_clock::now();
    const Status status =
        presolveModel(instance, inForce, options, *presolver, transform, in, work, nullptr);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    out = {presolver->numRemovedRow,
           presolver->numRemovedCol,
           presolver->numRemovedElement,
           input.numCoef,
           took.count(),
           static_cast<double>(status)};
    if (work != in) freeSolution(instance, work);
    freeSolution(instance, in);
    freePresolver(presolver);
    return out;
}

struct Totals {
    int count = 0, solvedOn = 0, solvedOff = 0, withOptimum = 0, rightOn = 0, rightOff = 0;
    double on = 0, off = 0, presolve = 0;
    double rows = 0, cols = 0, elements = 0, numRow = 0, numCol = 0, numElement = 0;
    std::int64_t iterationsOn = 0, iterationsOff = 0;  // of models solved both ways
};

ov::Result solveWith(ov::Solver& solver, const ov::Problem& problem, bool reductions) {
    ovtest::tunedParameters().presolve.reductions = reductions;
    return solver.solve(problem);
}

double share(double part, double whole) {
    return whole > 0 ? 100 * part / whole : 0;
}

void printHalf(const ov::Problem& problem, const ov::Result& r) {
    const bench::Residuals res = bench::residuals(problem, r);
    fmt::print(" | {:>2} {:>4} {:>8.3f} {:>7.0e} {:>7.0e} {:>7.0e}", r.returnValue, r.iterations,
               r.solveSeconds, res.rows, res.bounds, res.duals);
}

bool isRight(const bench::ProblemFile& file, const ov::Result& r) {
    return r.isSolved() && (!file.hasOptimum || std::fabs(r.objective - file.optimum) <=
                                                    1e-4 * std::max(1.0, std::fabs(file.optimum)));
}

const char* remark(const bench::ProblemFile& file, const ov::Result& on, const ov::Result& off) {
    if (on.isSolved() != off.isSolved()) return on.isSolved() ? "  <- gained" : "  <- lost";
    if (!on.isSolved()) return "  <- neither";
    if (!isRight(file, on)) return isRight(file, off) ? "  <- spoilt" : "  <- wrong";
    return isRight(file, off) ? "" : "  <- put right";
}

void addTo(Totals& totals, const bench::ProblemFile& file, const ov::Problem& p,
           const Removed& removed, const ov::Result& on, const ov::Result& off) {
    ++totals.count;
    totals.solvedOn += on.isSolved() ? 1 : 0;
    totals.solvedOff += off.isSolved() ? 1 : 0;
    if (file.hasOptimum) {
        ++totals.withOptimum;
        totals.rightOn += isRight(file, on) ? 1 : 0;
        totals.rightOff += isRight(file, off) ? 1 : 0;
    }
    totals.presolve += removed.seconds;
    totals.rows += removed.rows;
    totals.cols += removed.cols;
    totals.elements += removed.elements;
    totals.numRow += static_cast<double>(p.numRow());
    totals.numCol += static_cast<double>(p.numCol());
    totals.numElement += removed.numElement;
    totals.on += on.solveSeconds;
    totals.off += off.solveSeconds;
    if (!on.isSolved() || !off.isSolved()) return;
    totals.iterationsOn += on.iterations;
    totals.iterationsOff += off.iterations;
}

void runFolder(ov::Solver& solver, SolverInstance* instance, const std::string& folder,
               const bench::ModelArguments& arguments, Totals& totals) {
    fmt::print(
        "{}\n{:<12} {:>7} {:>4} {:>7} {:>4} {:>8} {:>4} {:>8} {:>4} | {:>2} {:>4} {:>8} {:>7} "
        "{:>7} "
        "{:>7} | reductions off\n",
        folder, "problem", "columns", "-%", "rows", "-%", "elements", "-%", "pre ms", "%", "rv",
        "iter", "seconds", "rows", "bounds", "duals");
    for (const bench::ProblemFile& file : bench::listProblems(folder)) {
        if (!arguments.wants(file.name)) continue;
        const ov::Problem p = bench::toProblem(ov::modelio::readModel(file.path));
        const Removed removed = presolveOnly(p, instance);
        const ov::Result on = solveWith(solver, p, true), off = solveWith(solver, p, false);
        addTo(totals, file, p, removed, on, off);
        const double n = static_cast<double>(p.numCol()), m = static_cast<double>(p.numRow());
        fmt::print("{:<12} {:>7} {:>4.0f} {:>7} {:>4.0f} {:>8} {:>4.0f} {:>8.2f} {:>4.0f}",
                   file.name, p.numCol(), share(removed.cols, n), p.numRow(),
                   share(removed.rows, m), removed.numElement,
                   share(removed.elements, removed.numElement), 1000 * removed.seconds,
                   share(removed.seconds, on.solveSeconds));
        printHalf(p, on);
        printHalf(p, off);
        fmt::print("{}\n", remark(file, on, off));
        std::fflush(stdout);
    }
}

void printTotals(const Totals& t) {
    fmt::print(
        "models {}: removed {:.1f} % of the columns, {:.1f} % of the rows, {:.1f} % of the "
        "elements; presolve {:.2f} s\n",
        t.count, share(t.cols, t.numCol), share(t.rows, t.numRow), share(t.elements, t.numElement),
        t.presolve);
    fmt::print("  on : solved {}, right {} of {}, {:.2f} s\n", t.solvedOn, t.rightOn, t.withOptimum,
               t.on);
    fmt::print("  off: solved {}, right {} of {}, {:.2f} s\n", t.solvedOff, t.rightOff,
               t.withOptimum, t.off);
    fmt::print("  iterations where both solve: {} on, {} off\n", t.iterationsOn, t.iterationsOff);
}

}  // namespace

int main(int argc, char** argv) {
    bench::ModelArguments arguments;
    double timeLimit = 0;
    CLI::App app("What the presolver is worth", "bench_presolve");
    bench::addFolders(app, arguments)->required();
    app.add_option("--time-limit", timeLimit, "of a solve, seconds")->check(CLI::PositiveNumber);
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ov::Solver solver(host, ovextent, ovtest::tunedEntry);
    ExtensionFactory* factory = ovrelinEntry(nullptr, nullptr);
    auto* instance = static_cast<SolverInstance*>(factory->createInstance());
    Totals totals;
    if (timeLimit > 0) solver.options().timeLimit = timeLimit;
    for (const std::string& folder : arguments.folders)
        runFolder(solver, instance, folder, arguments, totals);
    instance->destroy(instance);
    factory->terminate(factory);
    printTotals(totals);
    return 0;
}
