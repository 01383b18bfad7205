// The sparse symmetric solver beside public ones, one thread each: KKT matrices of the models in
// the given folders and generated grids of up to 200,000 unknowns.
//
//   bench_ldl [--ours] [--grids] [--only NAME] [--budget SECONDS] [--rounds COUNT] FOLDER...
//
// Times are CPU milliseconds, the best of several runs that fill the budget, and of the rounds in
// which ours and the peers take turns: the machine's clock may move between them. Mflop counts the
// operations of the factor before amalgamation, so that padding does not earn; `peak` is their rate
// over that of a DGEMM of order 768 in the same run. Then the factorisation times of CHOLMOD's
// simplicial and supernodal forms and of MUMPS, each with its defaults, and the best analysis and
// solve of the three; a solve is one pass over the factors, `refined` the whole solve with its
// refinement, `first` the factorisation of a new pattern, `factor` that of new values. `r.` are our
// times over the best peer's. `pad` is what the factor stores over the entries of L, `mem` the peak
// of analysis and factorisation less the copies of the matrix, over the bytes of what is stored.
// Backward errors after refinement: normwise max|r| / (max|x| ||A|| + max|b|), componentwise
// max |r_i| / (|A||x| + |b|)_i.

#include "bench/arguments.hpp"
#include "bench/ldl_table.hpp"
#include "bench/problem_files.hpp"
#include "eigen/lapack.hpp"

namespace {

struct Options {
    bool oursOnly = false;
    bool grids = false;
    double budget = 0.3;
    int rounds = 1;
    bench::ModelArguments models;
};

/// Multiply-adds count as two operations, as the elimination's c^2 per column does.
double dgemmPeak() {
    const std::int32_t n = 768;
    std::vector<double> a(static_cast<std::size_t>(n) * n, 1.0), b = a, c = a;
    const double one = 1, zero = 0;
    const double seconds = bench::bestTime(1.0, [&] {
        dgemm_("N", "T", &n, &n, &n, &one, a.data(), &n, b.data(), &n, &zero, c.data(), &n);
    });
    return 2.0 * n * n * n / seconds * 1e-9;
}

void run(ov::Host& host, const bench::Matrix& a, const Options& options, bench::LdlTable& table) {
    if (!options.models.wants(a.name)) return;
    bench::Measured ours;
    bench::Peers peers;
    for (int round = 0; round < options.rounds; ++round) {
        const bench::Measured again = bench::runOurs(host.services(), a, options.budget);
        ours = round == 0 ? again : bench::fasterOf(ours, again);
        if (options.oursOnly) continue;
        bench::Peers peersAgain;
        bench::addCholmod(a, options.budget, peersAgain);
        bench::addMumps(a, options.budget, peersAgain);
        peers = round == 0 ? peersAgain : bench::fasterOf(peers, peersAgain);
    }
    table.report(a, ours, peers);
}

void runGrids(ov::Host& host, const Options& options, bench::LdlTable& table) {
    constexpr std::size_t shapes[][3] = {{100, 100, 1},  {200, 200, 1}, {447, 447, 1},
                                         {1000, 200, 1}, {15, 15, 15},  {25, 25, 25},
                                         {32, 32, 32},   {45, 45, 45},  {200, 200, 5}};
    for (const auto& [width, height, depth] : shapes)
        run(host, bench::gridMatrix(width, height, depth), options, table);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("The sparse symmetric solver beside public ones", "bench_ldl");
    bench::addFolders(app, options.models);
    app.add_flag("--ours", options.oursOnly, "leave out the peers");
    app.add_flag("--grids", options.grids, "also matrices of grids");
    app.add_option("--budget", options.budget, "seconds for each time that is measured")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--rounds", options.rounds, "measurements of each time")
        ->check(CLI::Range(1, 100));
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions hostOptions;
    hostOptions.out = nullptr;
    ov::Host host(hostOptions);
    ovrelin::hostServices = host.services();
    bench::LdlTable table(dgemmPeak());
    bench::visitModels(options.models, [&](const bench::ProblemFile& file) {
        run(host, bench::kktMatrix(file.name, ov::modelio::readModel(file.path)), options, table);
    });
    if (options.grids) runGrids(host, options, table);
    table.printTotals();
    return 0;
}
