// What the presolver is worth: every model of the given folders with its reductions on and off.
//
//   bench_presolve [--time-limit S] FOLDER...
//
// Columns: problem, columns, rows and elements with the shares removed, milliseconds of presolve
// and their share of the solve; then for reductions on and for off: return value, iterations,
// seconds and of the returned point, recomputed from the model as read, row violation, bound
// violation and dual fault. A line ends in a mark where the two disagree.

#include <fmt/core.h>

#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstring>

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
    ProblemInput in{};
    in.objSense = p.objSense;
    in.numRow = static_cast<std::int32_t>(p.numRow());
    in.numCol = static_cast<std::int32_t>(p.numCol());
    in.numCoef = static_cast<std::int32_t>(p.matrix.index.size());
    in.numQuadCoef = static_cast<std::int32_t>(p.quad.index.size());
    in.matValue = p.matrix.value.data();
    in.rowIndex = p.matrix.index.data();
    in.colBegin = p.matrix.begin.data();
    in.quadDiag = p.quadDiag.data();
    in.quadMatValue = p.quad.value.data();
    in.quadRowIndex = p.quad.index.data();
    in.quadColBegin = p.quad.begin.data();
    in.obj = p.obj.data();
    in.rhs = p.rhs.data();
    in.range = p.range.empty() ? nullptr : p.range.data();
    in.lower = p.lower.data();
    in.upper = p.upper.data();
    in.rowSense = p.rowSense.data();
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
    int count = 0, solvedOn = 0, solvedOff = 0;
    double on = 0, off = 0, presolve = 0, rows = 0, cols = 0, elements = 0;
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

const char* remark(const ov::Result& on, const ov::Result& off) {
    if (on.isSolved() != off.isSolved()) return on.isSolved() ? "  <- gained" : "  <- lost";
    if (!on.isSolved()) return "  <- neither";
    const double scale = std::max(1.0, std::fabs(off.objective));
    return std::fabs(on.objective - off.objective) > 1e-4 * scale ? "  <- differ" : "";
}

void runFolder(ov::Solver& solver, SolverInstance* instance, const std::string& folder,
               Totals& totals) {
    fmt::print(
        "{}\n{:<12} {:>7} {:>4} {:>7} {:>4} {:>8} {:>4} {:>8} {:>4} | {:>2} {:>4} {:>8} {:>7} "
        "{:>7} "
        "{:>7} | reductions off\n",
        folder, "problem", "columns", "-%", "rows", "-%", "elements", "-%", "pre ms", "%", "rv",
        "iter", "seconds", "rows", "bounds", "duals");
    for (const bench::ProblemFile& file : bench::listProblems(folder)) {
        const ov::Problem p = bench::toProblem(ov::modelio::readModel(file.path));
        const Removed removed = presolveOnly(p, instance);
        const ov::Result on = solveWith(solver, p, true), off = solveWith(solver, p, false);
        ++totals.count;
        totals.solvedOn += on.isSolved() ? 1 : 0;
        totals.solvedOff += off.isSolved() ? 1 : 0;
        totals.on += on.solveSeconds;
        totals.off += off.solveSeconds;
        totals.presolve += removed.seconds;
        const double n = static_cast<double>(p.numCol()), m = static_cast<double>(p.numRow());
        fmt::print("{:<12} {:>7} {:>4.0f} {:>7} {:>4.0f} {:>8} {:>4.0f} {:>8.2f} {:>4.0f}",
                   file.name, p.numCol(), share(removed.cols, n), p.numRow(),
                   share(removed.rows, m), removed.numElement,
                   share(removed.elements, removed.numElement), 1000 * removed.seconds,
                   share(removed.seconds, on.solveSeconds));
        printHalf(p, on);
        printHalf(p, off);
        fmt::print("{}\n", remark(on, off));
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ov::Solver solver(host, ovextent, ovtest::tunedEntry);
    ExtensionFactory* factory = ovrelinEntry(nullptr, nullptr);
    auto* instance = static_cast<SolverInstance*>(factory->createInstance());
    Totals totals;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--time-limit") == 0 && i + 1 < argc)
            solver.options().timeLimit = std::atof(argv[++i]);
        else
            runFolder(solver, instance, argv[i], totals);
    }
    instance->destroy(instance);
    factory->terminate(factory);
    if (totals.count == 0) {
        fmt::print(stderr, "usage: bench_presolve [--time-limit S] FOLDER...\n");
        return 64;
    }
    fmt::print(
        "models {}: solved {} with reductions in {:.2f} s (presolve {:.2f} s), {} without in "
        "{:.2f} s\n",
        totals.count, totals.solvedOn, totals.on, totals.presolve, totals.solvedOff, totals.off);
    return 0;
}
