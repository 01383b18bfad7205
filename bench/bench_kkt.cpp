// The KKT matrices of all models of the given folders at a starting point's diagonal: analysed,
// factored and solved once with a right-hand side of known size. Prints times, fill and the backward
// error max|b - Ax| / (max|x| max rowsum|A| + max|b|), and how many lie below 1e-15.
//
//   bench_kkt FOLDER...

#include <fmt/core.h>

#include <chrono>
#include <cmath>
#include <random>

#include "bench/problem_files.hpp"
#include "frame/host_services.hpp"
#include "sparse/sparse_ldl.hpp"

namespace {

using ovrelin::LdlNumeric;
using ovrelin::LdlSymbolic;
using ovrelin::SparseLdl;

/// [Q + N, -A'; -A, -S]: N the number of finite bounds, S 1 on inequalities; both at least 1e-10.
struct Kkt {
    std::int32_t n = 0, numCol = 0;
    std::vector<std::int32_t> begin, row;
    std::vector<double> value;
};

Kkt makeKkt(const ov::Problem& p) {
    const std::size_t n = p.numCol(), m = p.numRow();
    std::vector<std::vector<std::pair<std::int32_t, double>>> columns(n + m);
    const auto quadBegin = [&](std::size_t j) {
        return p.quad.begin.empty() ? 0 : static_cast<std::size_t>(p.quad.begin[j]);
    };
    for (std::size_t j = 0; j < n; ++j) {
        const double bounds = (p.lower[j] > -1e20 ? 1 : 0) + (p.upper[j] < 1e20 ? 1 : 0);
        const double q = p.quadDiag.empty() ? 0 : p.quadDiag[j];
        const auto at = static_cast<std::int32_t>(j);
        columns[j].emplace_back(at, std::max(1e-10, q + bounds));
        for (std::size_t k = quadBegin(j); k < quadBegin(j + 1); ++k) {
            columns[j].emplace_back(p.quad.index[k], p.quad.value[k]);
            columns[static_cast<std::size_t>(p.quad.index[k])].emplace_back(at, p.quad.value[k]);
        }
        for (auto k = static_cast<std::size_t>(p.matrix.begin[j]);
             k < static_cast<std::size_t>(p.matrix.begin[j + 1]); ++k) {
            const auto row = static_cast<std::int32_t>(n) + p.matrix.index[k];
            columns[j].emplace_back(row, -p.matrix.value[k]);
            columns[static_cast<std::size_t>(row)].emplace_back(at, -p.matrix.value[k]);
        }
    }
    for (std::size_t i = 0; i < m; ++i)
        columns[n + i].emplace_back(static_cast<std::int32_t>(n + i),
                                    p.rowSense[i] == 'E' ? -1e-10 : -1.0);
    Kkt out;
    out.n = static_cast<std::int32_t>(n + m);
    out.numCol = static_cast<std::int32_t>(n);
    out.begin.push_back(0);
    for (auto& column : columns) {
        for (const auto& [row, value] : column) out.row.push_back(row), out.value.push_back(value);
        out.begin.push_back(static_cast<std::int32_t>(out.row.size()));
    }
    return out;
}

double backwardError(const Kkt& a, const std::vector<double>& x, const std::vector<double>& b) {
    double xmax = 0, norm = 0, bmax = 0, rmax = 0;
    for (std::size_t i = 0; i < b.size(); ++i) {
        double sum = 0, r = b[i];
        for (auto k = static_cast<std::size_t>(a.begin[i]);
             k < static_cast<std::size_t>(a.begin[i + 1]); ++k) {
            sum += std::fabs(a.value[k]);
            r -= a.value[k] * x[static_cast<std::size_t>(a.row[k])];
        }
        xmax = std::max(xmax, std::fabs(x[i]));
        bmax = std::max(bmax, std::fabs(b[i]));
        norm = std::max(norm, sum);
        rmax = std::max(rmax, std::fabs(r));
    }
    return rmax / (xmax * norm + bmax);
}

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Totals {
    int count = 0, good = 0, failed = 0;
};

void run(MemoryPool* pool, const bench::ProblemFile& file, Totals& totals) {
    const Kkt a = makeKkt(bench::toProblem(ov::modelio::readModel(file.path)));
    int code = 0;
    SparseLdl* handle = ovrelin::sparseLdlCreate(pool, 0, &code);
    LdlSymbolic* symbolic = nullptr;
    LdlNumeric* numeric = nullptr;
    (void)ovrelin::sparseLdlSetInt(handle, ovrelin::ldl::optFirstBlockSize, a.numCol);
    const double t0 = now();
    code = ovrelin::sparseLdlSymbolic(a.n, a.begin.data(), a.row.data(), a.value.data(), handle,
                                      &symbolic, &numeric);
    const double t1 = now();
    if (code == 0)
        code = ovrelin::sparseLdlNumeric(0, a.n, a.begin.data(), a.row.data(), a.value.data(),
                                         handle, symbolic, numeric);
    const double t2 = now();
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> draw(-1, 1);
    std::vector<double> b(static_cast<std::size_t>(a.n));
    for (double& v : b) v = draw(random);
    std::vector<double> x = b;
    if (code == 0)
        code = ovrelin::sparseLdlSolve(0, a.begin.data(), a.row.data(), a.value.data(), x.data(),
                                       handle, symbolic, numeric);
    const double t3 = now();
    const double error = backwardError(a, x, b);
    ++totals.count;
    if (code != 6 && code != 7) ++totals.failed;
    if (error < 1e-15) ++totals.good;
    fmt::print("{:<12} {:>8} {:>9} {:>10} {:>2} {:>9.2f} {:>9.2f} {:>9.2f} {:>4} {:>4} {:>9.1e}{}\n",
               file.name, a.n, a.row.size(), symbolic != nullptr ? symbolic->numFactorEntries : 0,
               handle->orderingMethod, 1e3 * (t1 - t0), 1e3 * (t2 - t1), 1e3 * (t3 - t2),
               symbolic != nullptr ? symbolic->numPerturbed : -1, code, error,
               error < 1e-15 ? "" : "  <-");
    std::fflush(stdout);
    ovrelin::sparseLdlFreeFactors(handle, &symbolic, &numeric);
    ovrelin::sparseLdlFree(&handle);
}

}  // namespace

int main(int argc, char** argv) {
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ovrelin::hostServices = host.services();
    HostDescriptor descriptor{};
    MemoryPool* pool =
        host.services()->createPool(host.services(), &descriptor, nullptr, "BENCH");
    Totals totals;
    fmt::print("{:<12} {:>8} {:>9} {:>10} {:>2} {:>9} {:>9} {:>9} {:>4} {:>4} {:>9}\n", "problem",
               "n", "nnz", "nnz(L)", "m", "analyse", "factor", "solve", "pert", "code", "backward");
    for (int i = 1; i < argc; ++i)
        for (const bench::ProblemFile& file : bench::listProblems(argv[i]))
            run(pool, file, totals);
    pool->destroyPool(pool);
    if (totals.count == 0) {
        fmt::print(stderr, "usage: bench_kkt FOLDER...\n");
        return 64;
    }
    fmt::print("matrices {}, failed {}, backward error below 1e-15: {} ({:.1f} %)\n", totals.count,
               totals.failed, totals.good, 100.0 * totals.good / totals.count);
    return 0;
}
