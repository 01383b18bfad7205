// The KKT matrices of all models of the given folders at a starting point's diagonal: analysed,
// factored and solved once with a right-hand side of known size. Prints times, fill and the
// backward error max|b - Ax| / (max|x| max rowsum|A| + max|b|), and how many lie below 1e-15.
//
//   bench_kkt FOLDER...

#include <fmt/core.h>

#include "bench/arguments.hpp"
#include "bench/ldl_ours.hpp"
#include "bench/problem_files.hpp"

namespace {

struct Totals {
    int count = 0, good = 0, failed = 0;
};

void run(ov::Host& host, const bench::ProblemFile& file, Totals& totals) {
    const bench::Matrix a = bench::kktMatrix(file.name, ov::modelio::readModel(file.path));
    const bench::Measured out = bench::runOurs(host.services(), a, 0);
    const bool good = out.normwise < 1e-15;
    ++totals.count;
    totals.failed += out.code == 6 || out.code == 7 ? 0 : 1;
    totals.good += good ? 1 : 0;
    fmt::print(
        "{:<12} {:>8} {:>9} {:>10} {:>2} {:>9.2f} {:>9.2f} {:>9.2f} {:>4} {:>4} {:>9.1e}{}\n",
        file.name, a.n, a.row.size(), out.numEntries, out.method, 1e3 * out.analyse,
        1e3 * out.factor, 1e3 * out.refined, out.numPerturbed, out.code, out.normwise,
        good ? "" : "  <-");
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    bench::ModelArguments arguments;
    CLI::App app("Backward errors of one solve with every KKT matrix", "bench_kkt");
    bench::addFolders(app, arguments)->required();
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ovrelin::hostServices = host.services();
    Totals totals;
    fmt::print("{:<12} {:>8} {:>9} {:>10} {:>2} {:>9} {:>9} {:>9} {:>4} {:>4} {:>9}\n", "problem",
               "n", "nnz", "nnz(L)", "o", "analyse", "factor", "solve", "pert", "code", "backward");
    bench::visitModels(arguments, [&](const bench::ProblemFile& file) { run(host, file, totals); });
    fmt::print("matrices {}, failed {}, backward error below 1e-15: {} ({:.1f} %)\n", totals.count,
               totals.failed, totals.good, 100.0 * totals.good / std::max(totals.count, 1));
    return 0;
}
