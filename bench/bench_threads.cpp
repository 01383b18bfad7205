// Teams of threads against one: factorisation times of the engines on tiles, beside what the thread
// decision makes of each matrix.
//
//   bench_threads [--threads N] [--force] [--tile T] [--least MFLOP] [--repeats R] [--grids]
//                 [--only NAME] FOLDER...
//
// Wall-clock milliseconds, the best of R rounds in which the three take turns, so that other load
// on the machine meets them alike. `dec` is the number of threads decided on, 1 when the matrix
// stays with the sequential engine; --force puts N threads on tiles whatever the decision. --least
// leaves out smaller factorisations, --tile sets the edge of the tiles. Ratios are one thread's
// time over the team's.
//
// The first and the last line tell how long a word takes from one core to another: some 30 ns where
// they share a cache, 150 and more where they do not. A virtual machine may have it either way,
// from one minute to the next, and a team feels it where one thread does not.

#include <fmt/core.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "bench/arguments.hpp"
#include "bench/problem_files.hpp"
#include "bench/test_matrices.hpp"
#include "frame/host_services.hpp"
#include "sparse/sparse_ldl.hpp"

namespace {

using bench::Matrix;
namespace ldl = ovrelin::ldl;

struct Options {
    std::int32_t threads = 2;
    std::int32_t tile = 0;
    int repeats = 9;
    double least = 1;  // million operations
    bool force = false;
    bool grids = false;
    bench::ModelArguments models;
};

/// Nanoseconds that a word takes from one core to another, the best of some batches.
double handOverTime() {
    using Clock = std::chrono::steady_clock;
    constexpr int batches = 40, words = 400;
    std::atomic<int> word{0};
    const auto pass = [&](int to) {
        while (word.load(std::memory_order_acquire) != to - 1) {
#if defined(__x86_64__)
            __builtin_ia32_pause();
#endif
        }
        word.store(to, std::memory_order_release);
    };
    std::thread other([&] {
        for (int i = 0; i < batches * words; ++i) pass(2 * i + 2);
    });
    double best = 1e9;
    for (int batch = 0; batch < batches; ++batch) {
        const auto start = Clock::now();
        for (int i = batch * words; i < (batch + 1) * words; ++i) pass(2 * i + 1);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, seconds / (2 * words));
    }
    other.join();
    return 1e9 * best;
}

/// One analysis of a matrix and its best factorisation time.
class Contender {
public:
    Contender(MemoryPool* pool, const Matrix& a, std::int32_t threads, std::int32_t scheduling,
              const Options& options)
        : matrix_(a) {
        int code = 0;
        handle_ = ovrelin::sparseLdlCreate(pool, 0, &code);
        (void)ovrelin::sparseLdlSetInt(handle_, ldl::optFirstBlockSize, a.firstBlock);
        (void)ovrelin::sparseLdlSetInt(handle_, ldl::optNumThreads, threads);
        (void)ovrelin::sparseLdlSetInt(handle_, ldl::optSchedulingMode, scheduling);
        if (options.force && threads > 1) handle_->parameters.forcedThreads = threads;
        if (threads > 1) handle_->parameters.forcedTileSize = options.tile;
        code_ = ovrelin::sparseLdlSymbolic(a.n, a.begin.data(), a.row.data(), a.value.data(),
                                           handle_, &symbolic_, &numeric_);
    }
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    ~Contender() {
        ovrelin::sparseLdlFreeFactors(handle_, &symbolic_, &numeric_);
        ovrelin::sparseLdlFree(&handle_);
    }

    void factor() {
        using Clock = std::chrono::steady_clock;
        const auto start = Clock::now();
        code_ = ovrelin::sparseLdlNumeric(0, matrix_.n, matrix_.begin.data(), matrix_.row.data(),
                                          matrix_.value.data(), handle_, symbolic_, numeric_);
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best_ = best_ == 0 ? seconds : std::min(best_, seconds);
    }

    [[nodiscard]] bool isOk() const { return code_ == ldl::ok; }
    [[nodiscard]] double best() const { return best_; }
    [[nodiscard]] const ovrelin::LdlSymbolic& symbolic() const { return *symbolic_; }

private:
    const Matrix& matrix_;
    ovrelin::SparseLdl* handle_ = nullptr;
    ovrelin::LdlSymbolic* symbolic_ = nullptr;
    ovrelin::LdlNumeric* numeric_ = nullptr;
    int code_ = 0;
    double best_ = 0;
};

/// Where a team must pay, and by how much it may lose elsewhere.
constexpr double largeOperations = 1e9;
constexpr double leastGain = 1.6;
constexpr double leastElsewhere = 0.95;

struct Totals {
    double logSum[2] = {0, 0};
    double worstLarge[2] = {1e9, 1e9};
    double worstSmall[2] = {1e9, 1e9};
    int large = 0, small = 0, missed = 0;
};

void printHead(std::int32_t threads) {
    fmt::print("{} threads against one; {:.0f} ns from core to core\n", threads, handOverTime());
    fmt::print(
        "{:<15} {:>7} {:>9} {:>9} {:>9} | {:>3} {:>4} {:>6} {:>9} {:>5} | {:>3} {:>4} {:>6} {:>9} "
        "{:>5}\n",
        "matrix", "n", "nnz(L)", "Mflop", "one", "dec", "tile", "top", "static", "ratio", "dec",
        "tile", "top", "dynamic", "ratio");
}

void run(MemoryPool* pool, const Matrix& a, const Options& options, Totals& totals) {
    Contender one(pool, a, 1, 1, options);
    const double ops = one.isOk() ? one.symbolic().flopEstimate : 0;
    if (ops < options.least * 1e6) return;
    Contender fixed(pool, a, options.threads, 1, options);
    Contender dynamic(pool, a, options.threads, 0, options);
    Contender* const all[] = {&one, &fixed, &dynamic};
    for (int round = 0; round < options.repeats; ++round)
        for (Contender* contender : all) contender->factor();
    fmt::print("{:<15} {:>7} {:>9.0f} {:>9.1f} {:>9.3f}", a.name, a.n,
               one.symbolic().numLowerEntries + a.n, ops * 1e-6, 1e3 * one.best());
    const bool large = ops > largeOperations;
    ++(large ? totals.large : totals.small);
    for (int engine = 0; engine < 2; ++engine) {
        const Contender& team = *all[engine + 1];
        const ovrelin::LdlSymbolic& symbolic = team.symbolic();
        const double ratio = one.best() / team.best();
        fmt::print(" | {:>3} {:>4} {:>6} {:>9.3f} {:>5.2f}{}", symbolic.numThreads,
                   symbolic.tileSize, symbolic.tiles.numTopTiles, 1e3 * team.best(), ratio,
                   team.isOk() ? "" : "!");
        double& worst = large ? totals.worstLarge[engine] : totals.worstSmall[engine];
        worst = std::min(worst, ratio);
        if (large) totals.logSum[engine] += std::log(ratio);
        if (ratio < (large ? leastGain : leastElsewhere)) ++totals.missed, fmt::print(" *");
    }
    fmt::print("\n");
    std::fflush(stdout);
}

void printTotals(const Totals& totals) {
    const char* const names[] = {"static", "dynamic"};
    for (int engine = 0; engine < 2; ++engine) {
        const double mean = totals.large > 0 ? std::exp(totals.logSum[engine] / totals.large) : 0;
        fmt::print(
            "{}: above {:.0e} operations geometric mean {:.2f}, worst {:.2f} of {}; below worst "
            "{:.2f} of {}\n",
            names[engine], largeOperations, mean, totals.large > 0 ? totals.worstLarge[engine] : 0,
            totals.large, totals.small > 0 ? totals.worstSmall[engine] : 0, totals.small);
    }
    fmt::print("* below {} (above {:.0e} operations) or {} (below): {}\n", leastGain,
               largeOperations, leastElsewhere, totals.missed);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("The factorisation by a team of threads beside one thread", "bench_threads");
    bench::addFolders(app, options.models);
    app.add_option("--threads", options.threads, "in the team")->check(CLI::Range(1, 32));
    app.add_flag("--force", options.force, "whatever the thread decision says");
    app.add_option("--tile", options.tile, "edge of the tiles")->check(CLI::Range(16, 1024));
    app.add_option("--least", options.least, "million operations that a matrix must need");
    app.add_option("--repeats", options.repeats, "rounds; the best counts")
        ->check(CLI::PositiveNumber);
    app.add_flag("--grids", options.grids, "also matrices of grids");
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions hostOptions;
    hostOptions.out = nullptr;
    ov::Host host(hostOptions);
    ovrelin::hostServices = host.services();
    HostDescriptor descriptor{};
    MemoryPool* pool = host.services()->createPool(host.services(), &descriptor, nullptr, "BENCH");
    printHead(options.threads);
    Totals totals;
    bench::visitModels(options.models, [&](const bench::ProblemFile& file) {
        run(pool, bench::kktMatrix(file.name, ov::modelio::readModel(file.path)), options, totals);
    });
    constexpr std::size_t shapes[][3] = {
        {100, 100, 1}, {200, 200, 1}, {447, 447, 1}, {1000, 200, 1}, {700, 400, 1}, {15, 15, 15},
        {20, 20, 20},  {25, 25, 25},  {32, 32, 32},  {40, 40, 40},   {200, 200, 5}};
    if (options.grids)
        for (const auto& [width, height, depth] : shapes) {
            const Matrix a = bench::gridMatrix(width, height, depth);
            if (options.models.wants(a.name)) run(pool, a, options, totals);
        }
    printTotals(totals);
    fmt::print("{:.0f} ns from core to core at the end\n", handOverTime());
    pool->destroyPool(pool);
    return 0;
}
