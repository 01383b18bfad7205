// What the convexity test costs beside a solve:
//
//   bench_convexity [--grid N] FOLDER...
//
// For every model with off-diagonal quadratic entries: columns, those entries; of the eigenvalue
// solver on its own its products, the smallest eigenvalue and its code (12: the limit of products
// came first); the milliseconds of the test on the Q as given; of the whole solve with the test and
// without it (least of several runs), and the share of the difference: there the presolver has
// reduced Q first. Models with a diagonal Q are only counted: there the test reads one array.
//
// --grid N: the five-point Laplacian of an N x N grid minus shifts around its smallest eigenvalue,
// beside one factorisation of the Newton matrix of the same model.

#include <fmt/core.h>

#include <chrono>
#include <cmath>
#include <numbers>

#include "bench/arguments.hpp"
#include "bench/problem_files.hpp"
#include "eigen/convexity.hpp"
#include "eigen/full_quadratic.hpp"
#include "eigen/sparse_eigen.hpp"
#include "sparse/kkt_solver.hpp"
#include "tests/support/tuned_module.hpp"

namespace {

double now() {
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(time).count();
}

/// The records of the test over the arrays of a problem.
struct Case {
    ov::Problem problem;
    std::vector<std::int32_t> length;
    ovrelin::Model model{};

    explicit Case(ov::Problem given) : problem(std::move(given)) {
        for (std::size_t j = 0; j + 1 < problem.quad.begin.size(); ++j)
            length.push_back(problem.quad.begin[j + 1] - problem.quad.begin[j]);
        model.typeModel = ovrelin::modelTypeQp;
        model.objSense = problem.objSense;
        model.numCol = static_cast<std::int32_t>(problem.numCol());
        model.numQuadCoef = static_cast<std::int32_t>(problem.quad.value.size());
        model.quadDiag = problem.quadDiag.data();
        model.quadColBegin = problem.quad.begin.data();
        model.quadColLength = length.data();
        model.quadRowIndex = problem.quad.index.data();
        model.quadMatValue = problem.quad.value.data();
    }
};

struct TestRun {
    ovrelin::Status status;
    double seconds;
};

TestRun runTest(SolverInstance* instance, const Case& one) {
    const ovrelin::SolveOptions options{};
    TestRun run{ovrelin::Status::ok, 1e300};
    for (int repeat = 0; repeat < 3; ++repeat) {
        const double start = now();
        run.status = ovrelin::checkConvexity(instance, one.model, options);
        run.seconds = std::min(run.seconds, now() - start);
    }
    return run;
}

struct EigenResult {
    int code;
    double value, seconds;
    std::int64_t products;
};

EigenResult runEigen(MemoryPool* pool, const Case& one) {
    ovrelin::FullQuadratic full{};
    EigenResult out{ovrelin::ldl::noMemory, 0, 0, 0};
    if (!isOk(ovrelin::makeFullQuadratic(pool, one.model, full))) return out;
    ovrelin::SparseLdl* handle = ovrelin::sparseLdlCreate(pool, 0, &out.code);
    if (handle == nullptr) return out;
    std::vector<double> vector(static_cast<std::size_t>(full.n));
    double residual = 0;
    const double start = now();
    out.code = ovrelin::sparseLdlEigen(full.n, full.colBegin.data(), full.rowIndex.data(),
                                       full.matValue.data(), handle, nullptr, &out.value,
                                       vector.data(), &residual);
    out.seconds = now() - start;
    out.products = handle->eigenProducts;
    ovrelin::sparseLdlFree(&handle);
    return out;
}

struct SolveTimes {
    double with = 1e300, without = 1e300;
};

/// Least of several runs, in turns, so that what disturbs the machine meets both.
SolveTimes timeSolves(ov::Solver& solver, const ov::Problem& problem) {
    SolveTimes times;
    bool& tested = ovtest::tunedParameters().eigen.testConvexity;
    for (int run = 0; run < 20 && (run < 2 || times.with * run < 0.5); ++run) {
        tested = true;
        times.with = std::min(times.with, solver.solve(problem).solveSeconds);
        tested = false;
        times.without = std::min(times.without, solver.solve(problem).solveSeconds);
    }
    tested = true;
    return times;
}

struct Totals {
    int count = 0, diagonal = 0, dear = 0;
    double with = 0, without = 0;
};

void runModel(ov::Solver& solver, SolverInstance* instance, const std::string& name,
              const Case& one, Totals& totals) {
    const EigenResult eigen = runEigen(instance->pool, one);
    const TestRun test = runTest(instance, one);
    const SolveTimes times = timeSolves(solver, one.problem);
    const double share = std::max(0.0, (times.with - times.without) / times.with);
    ++totals.count;
    totals.with += times.with;
    totals.without += times.without;
    if (share > 0.1) ++totals.dear;
    fmt::print(
        "{:<12} {:>7} {:>8} {:>8} {:>10.2e} {:>4} {:>9.3f} {:>10.3f} {:>10.3f} {:>6.1f}%{}\n", name,
        one.model.numCol, one.model.numQuadCoef, eigen.products, eigen.value, eigen.code,
        1e3 * test.seconds, 1e3 * times.with, 1e3 * times.without, 100 * share,
        test.status != ovrelin::Status::ok ? "  <- refused"
        : share > 0.1                      ? "  <- above 10 %"
                                           : "");
    std::fflush(stdout);
}

void runFolder(ov::Solver& solver, SolverInstance* instance, const std::string& folder,
               const bench::ModelArguments& arguments, Totals& totals) {
    fmt::print("{}\n{:<12} {:>7} {:>8} {:>8} {:>10} {:>4} {:>9} {:>10} {:>10} {:>7}\n", folder,
               "problem", "columns", "offdiag", "products", "lowest", "code", "test ms", "solve ms",
               "without", "share");
    for (const bench::ProblemFile& file : bench::listProblems(folder)) {
        if (!arguments.wants(file.name)) continue;
        const Case one(bench::toProblem(ov::modelio::readModel(file.path)));
        if (one.model.numQuadCoef == 0)
            ++totals.diagonal;
        else
            runModel(solver, instance, file.name, one, totals);
    }
}

ov::Problem gridLaplacian(std::int32_t side, double shift) {
    ov::Problem p;
    p.quad.begin.push_back(0);
    for (std::int32_t i = 0; i < side * side; ++i) {
        p.quadDiag.push_back(4 - shift);
        if (i % side != side - 1) p.quad.index.push_back(i + 1), p.quad.value.push_back(-1);
        if (i + side < side * side) p.quad.index.push_back(i + side), p.quad.value.push_back(-1);
        p.quad.begin.push_back(static_cast<std::int32_t>(p.quad.index.size()));
    }
    const auto n = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    p.obj.assign(n, 0.0);
    p.lower.assign(n, 0.0);
    p.upper.assign(n, 1e20);
    p.matrix.begin.assign(n + 1, 0);
    return p;
}

/// Analysis and numeric factorisation of Q + I, the Newton matrix at a first iterate.
void factorNewton(MemoryPool* pool, const Case& one, double& analyse, double& factor) {
    ovrelin::FullQuadratic full{};
    if (!isOk(ovrelin::makeShiftedQuadratic(pool, one.model, -1.0, full))) return;
    const ovrelin::KktMatrix matrix{full.n, full.colBegin.data(), full.rowIndex.data(),
                                    full.matValue.data()};
    ovrelin::KktSlots slots{};
    slots.pool = pool;
    double at = now();
    if (isOk(ovrelin::kktSolverCreate(slots, pool, full.n, 1, {})) &&
        isOk(ovrelin::kktAnalyze(slots, matrix, {}))) {
        analyse = now() - at;
        at = now();
        if (isOk(ovrelin::kktFactor(slots, matrix, {}))) factor = now() - at;
    }
    ovrelin::kktSolverFree(slots);
}

void runGrid(SolverInstance* instance, std::int32_t side) {
    const double lowest = 8 * std::pow(std::sin(std::numbers::pi / (2.0 * (side + 1))), 2);
    double analyse = std::nan(""), factor = std::nan("");
    factorNewton(instance->pool, Case(gridLaplacian(side, 0)), analyse, factor);
    fmt::print("grid {0} x {0}: analysis {1:.3f} s, one factorisation {2:.3f} s\n", side, analyse,
               factor);
    fmt::print("{:>11} {:>12} {:>8} {:>4} {:>9} {:>12} {:>9} {:>8}\n", "lowest", "found",
               "products", "code", "eigen s", "verdict", "test s", "/factor");
    for (const double target : {lowest, 1e-5, -5e-5, -2e-4, -2e-3, -2e-2, -2e-1}) {
        const Case one(gridLaplacian(side, lowest - target));
        const EigenResult eigen = runEigen(instance->pool, one);
        const TestRun test = runTest(instance, one);
        fmt::print("{:>11.3e} {:>12.3e} {:>8} {:>4} {:>9.3f} {:>12} {:>9.3f} {:>8.1f}\n", target,
                   eigen.value, eigen.products, eigen.code, eigen.seconds,
                   test.status == ovrelin::Status::ok          ? "convex"
                   : test.status == ovrelin::Status::notConvex ? "not convex"
                                                               : "failed",
                   test.seconds, test.seconds / factor);
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    bench::ModelArguments arguments;
    std::int32_t side = 0;
    CLI::App app("What the convexity test costs beside a solve", "bench_convexity");
    bench::addFolders(app, arguments);
    app.add_option("--grid", side, "also the Laplacian of an N x N grid")
        ->type_name("N")
        ->check(CLI::Range(2, 2000));
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions quiet;
    quiet.out = nullptr;
    ov::Host host(quiet);
    ov::Solver solver(host, ovextent, ovtest::tunedEntry);
    HostDescriptor descriptor{};
    MemoryPool* pool = host.services()->createPool(host.services(), &descriptor, nullptr, "BENCH");
    SolverInstance instance{};
    instance.pool = pool;
    Totals totals;
    for (const std::string& folder : arguments.folders)
        runFolder(solver, &instance, folder, arguments, totals);
    if (side > 0) runGrid(&instance, side);
    if (totals.count > 0) {
        fmt::print(
            "models {}, above 10 % of their solve {}, diagonal {}; all solves {:.3f} s, "
            "without the test {:.3f} s\n",
            totals.count, totals.dear, totals.diagonal, totals.with, totals.without);
    }
    pool->destroyPool(pool);
    return 0;
}
