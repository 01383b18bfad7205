// The sparse symmetric solver beside public ones, one thread each: KKT matrices of the models in the
// given folders and generated grids of up to 200,000 unknowns.
//
//   bench_ldl [--ours] [--grids] [--only NAME] FOLDER...
//
// Times are CPU milliseconds, the best of several runs. Mflop counts the operations of the factor
// before amalgamation, so that padding does not earn. `c` and `m` are CHOLMOD and MUMPS, each with its
// defaults; `ratio` is our time over the better of the two. Backward errors after refinement: normwise
// max|r| / (max|x| ||A|| + max|b|) and componentwise max |r_i| / (|A||x| + |b|)_i.

#include <fmt/core.h>

#include <cstring>
#include <random>

#include "bench/ldl_peers.hpp"
#include "bench/problem_files.hpp"
#include "frame/host_services.hpp"
#include "linalg/blas.hpp"
#include "sparse/sparse_ldl.hpp"

namespace {

using bench::Matrix;
using bench::PeerTimes;

struct Options {
    bool oursOnly = false;
    bool grids = false;
    std::string only;
    std::vector<std::string> folders;
};

struct Measured {
    int code = 0;
    int method = 0;
    double analyse = 0, factor = 0, solve = 0;
    double numEntries = 0, operations = 0;
    double normwise = 0, componentwise = 0;
    int numPerturbed = 0;
};

/// Multiply-adds count as two operations, as the elimination's c^2 per column does.
double dgemmPeak() {
    const std::int32_t n = 768;
    std::vector<double> a(static_cast<std::size_t>(n) * n, 1.0), b = a, c = a;
    const double one = 1, zero = 0;
    const double seconds = bench::bestTime([&] {
        dgemm_("N", "T", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
    });
    return 2.0 * n * n * n / seconds * 1e-9;
}

void measureErrors(const Matrix& a, const std::vector<double>& x, const std::vector<double>& b,
                   Measured& out) {
    double residual = 0, norm = 0, xmax = 0, bmax = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        double r = b[i], rowSum = 0, reach = std::fabs(b[i]);
        for (auto k = static_cast<std::size_t>(a.begin[i]);
             k < static_cast<std::size_t>(a.begin[i + 1]); ++k) {
            const double product = a.value[k] * x[static_cast<std::size_t>(a.row[k])];
            r -= product;
            reach += std::fabs(product);
            rowSum += std::fabs(a.value[k]);
        }
        residual = std::max(residual, std::fabs(r));
        norm = std::max(norm, rowSum);
        xmax = std::max(xmax, std::fabs(x[i]));
        bmax = std::max(bmax, std::fabs(b[i]));
        if (reach > 0) out.componentwise = std::max(out.componentwise, std::fabs(r) / reach);
    }
    out.normwise = residual / (xmax * norm + bmax);
}

/// Runs the three stages; a stage that fails leaves the later ones at zero.
Measured runOurs(MemoryPool* pool, const Matrix& a) {
    using namespace ovrelin;
    Measured out;
    SparseLdl* handle = nullptr;
    LdlSymbolic* symbolic = nullptr;
    LdlNumeric* numeric = nullptr;
    const auto release = [&] {
        if (handle == nullptr) return;
        sparseLdlFreeFactors(handle, &symbolic, &numeric);
        symbolic = nullptr;
        numeric = nullptr;
        sparseLdlFree(&handle);
    };
    out.analyse = bench::bestTime([&] {
        release();
        handle = sparseLdlCreate(pool, 0, &out.code);
        (void)sparseLdlSetInt(handle, ldl::optFirstBlockSize, a.firstBlock);
        out.code = sparseLdlSymbolic(a.n, a.begin.data(), a.row.data(), a.value.data(), handle,
                                     &symbolic, &numeric);
    });
    if (out.code != ldl::ok) return release(), out;
    out.method = handle->orderingMethod;
    out.numEntries = symbolic->numLowerEntries + a.n;
    out.operations = symbolic->flopEstimate;
    out.factor = bench::bestTime([&] {
        out.code = sparseLdlNumeric(0, a.n, a.begin.data(), a.row.data(), a.value.data(), handle,
                                    symbolic, numeric);
    });
    out.numPerturbed = symbolic->numPerturbed;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> draw(-1, 1);
    std::vector<double> b(static_cast<std::size_t>(a.n));
    for (double& entry : b) entry = draw(random);
    std::vector<double> x;
    out.solve = bench::bestTime([&] {
        x = b;
        out.code = sparseLdlSolve(0, a.begin.data(), a.row.data(), a.value.data(), x.data(), handle,
                                  symbolic, numeric);
    });
    measureErrors(a, x, b, out);
    release();
    return out;
}

/// A geometric mean in the making.
struct Mean {
    double sum = 0;
    int count = 0;
    void add(double ratio) { sum += std::log(ratio), ++count; }
    [[nodiscard]] double value() const { return count > 0 ? std::exp(sum / count) : 0; }
};

struct Totals {
    Mean analyse, factor, fill, factorLarge;
    int count = 0, below15 = 0, failed = 0;
};

/// Factorisations above this many operations are listed in a mean of their own.
constexpr double largeOperations = 1e8;

double betterOf(double first, double second) {
    if (first <= 0) return second;
    return second <= 0 ? first : std::min(first, second);
}

void printHead(double peak) {
    fmt::print("DGEMM peak {:.1f} GFLOP/s\n", peak);
    fmt::print("{:<14} {:>7} {:>8} {:>9} {:>9} m {:>8} {:>8} {:>8} {:>6} {:>4} | {:>8} {:>8} {:>8} {:>8} | "
               "{:>5} {:>5} {:>5} | c {:>7} {:>7} {:>4}\n",
               "matrix", "n", "nnz", "nnz(L)", "Mflop", "analyse", "factor", "solve", "GF/s", "peak",
               "c.ana", "c.fact", "m.ana", "m.fact", "r.ana", "r.fac", "fill", "normw", "compw",
               "pert");
}

void report(const Matrix& a, const Measured& ours, const PeerTimes& cholmod, const PeerTimes& mumps,
            double peak, Totals& totals) {
    const double speed = ours.operations / ours.factor * 1e-9;
    const double peerFactor = betterOf(cholmod.factor, mumps.factor);
    const double peerAnalyse = betterOf(cholmod.analyse, mumps.analyse);
    const double factorRatio = peerFactor > 0 ? ours.factor / peerFactor : 0;
    const double analyseRatio = peerAnalyse > 0 ? ours.analyse / peerAnalyse : 0;
    const double fill = cholmod.numEntries > 0 ? ours.numEntries / cholmod.numEntries : 0;
    if (factorRatio > 0) totals.factor.add(factorRatio);
    if (factorRatio > 0 && ours.operations > largeOperations) totals.factorLarge.add(factorRatio);
    if (analyseRatio > 0) totals.analyse.add(analyseRatio);
    if (fill > 0) totals.fill.add(fill);
    ++totals.count;
    totals.below15 += ours.normwise < 1e-15 ? 1 : 0;
    totals.failed += ours.code == 6 || ours.code == 7 ? 0 : 1;
    fmt::print("{:<14} {:>7} {:>8} {:>9} {:>9.2f} {} {:>8.2f} {:>8.3f} {:>8.2f} {:>6.2f} {:>3.0f}% | {:>8.2f} "
               "{:>8.3f} {:>8.2f} {:>8.3f} | {:>5.2f} {:>5.2f} {:>5.2f} | {} {:>7.0e} {:>7.0e} {:>4}\n",
               a.name, a.n, a.row.size(), ours.numEntries, ours.operations * 1e-6, ours.method,
               1e3 * ours.analyse, 1e3 * ours.factor, 1e3 * ours.solve, speed,
               100 * speed / peak, 1e3 * cholmod.analyse, 1e3 * cholmod.factor,
               1e3 * mumps.analyse, 1e3 * mumps.factor, analyseRatio, factorRatio, fill, ours.code,
               ours.normwise, ours.componentwise, ours.numPerturbed);
    std::fflush(stdout);
}

void run(MemoryPool* pool, const Matrix& a, const Options& options, double peak, Totals& totals) {
    const Measured ours = runOurs(pool, a);
    const PeerTimes cholmod = options.oursOnly ? PeerTimes{} : bench::runCholmod(a);
    const PeerTimes mumps = options.oursOnly ? PeerTimes{} : bench::runMumps(a);
    report(a, ours, cholmod, mumps, peak, totals);
}

void printTotals(const Totals& totals) {
    fmt::print("matrices {}, failed {}, normwise backward error below 1e-15: {} ({:.1f} %)\n",
               totals.count, totals.failed, totals.below15,
               totals.count > 0 ? 100.0 * totals.below15 / totals.count : 0.0);
    fmt::print("geometric means of ours over the better peer: analysis {:.2f}, factorisation {:.2f} "
               "(above {:.0e} operations {:.2f}); fill over CHOLMOD's {:.3f}\n",
               totals.analyse.value(), totals.factor.value(), largeOperations,
               totals.factorLarge.value(), totals.fill.value());
}

Options readOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--ours") == 0)
            options.oursOnly = true;
        else if (std::strcmp(argv[i], "--grids") == 0)
            options.grids = true;
        else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc)
            options.only = argv[++i];
        else
            options.folders.emplace_back(argv[i]);
    }
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = readOptions(argc, argv);
    if (options.folders.empty() && !options.grids) {
        fmt::print(stderr, "usage: bench_ldl [--ours] [--grids] [--only NAME] FOLDER...\n");
        return 64;
    }
    ov::HostOptions hostOptions;
    hostOptions.out = nullptr;
    ov::Host host(hostOptions);
    ovrelin::hostServices = host.services();
    HostDescriptor descriptor{};
    MemoryPool* pool = host.services()->createPool(host.services(), &descriptor, nullptr, "BENCH");
    const double peak = dgemmPeak();
    printHead(peak);
    Totals totals;
    for (const std::string& folder : options.folders)
        for (const bench::ProblemFile& file : bench::listProblems(folder)) {
            if (!options.only.empty() && file.name != options.only) continue;
            run(pool, bench::kktMatrix(file.name, ov::modelio::readModel(file.path)), options, peak,
                totals);
        }
    constexpr std::size_t shapes[][3] = {{100, 100, 1}, {200, 200, 1}, {447, 447, 1}, {1000, 200, 1},
                                         {15, 15, 15},  {25, 25, 25},  {32, 32, 32},  {200, 200, 5}};
    if (options.grids)
        for (const auto& [width, height, depth] : shapes)
            run(pool, bench::gridMatrix(width, height, depth), options, peak, totals);
    printTotals(totals);
    pool->destroyPool(pool);
    return 0;
}
