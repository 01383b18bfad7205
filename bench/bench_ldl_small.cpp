// What the sparse symmetric solver costs where the arithmetic costs little: matrices of order 10 to
// 1000, each analysed, factored for the first time and solved with refinement from scratch, beside
// the bound of 1 microsecond a row plus 1.5 nanoseconds an operation; then what a further
// factorisation with new values takes, and how often the numeric stage asked the pool for memory.
//
//   bench_ldl_small

#include <fmt/core.h>

#include <random>

#include "bench/ldl_ours.hpp"

namespace {

using bench::Matrix;

/// [D -A'; -A -E] with `perColumn` random entries in each column of A, which has n / 3 rows.
Matrix randomKkt(std::size_t n, std::size_t perColumn) {
    std::mt19937_64 random(n);
    const std::size_t rows = n / 3, cols = n - rows;
    bench::MatrixBuilder builder(fmt::format("kkt{}", perColumn), n);
    std::uniform_real_distribution<double> draw(-1, 1);
    for (std::size_t j = 0; j < cols; ++j) {
        builder.diagonal(j, 1 + draw(random) / 2);
        std::vector<std::size_t> picked;
        while (picked.size() < std::min(perColumn, rows)) {
            const std::size_t row = random() % rows;
            if (std::find(picked.begin(), picked.end(), row) == picked.end()) picked.push_back(row);
        }
        for (const std::size_t row : picked) builder.offDiagonal(cols + row, j, draw(random));
    }
    for (std::size_t i = 0; i < rows; ++i) builder.diagonal(cols + i, -1e-8);
    Matrix matrix = builder.take();
    matrix.firstBlock = static_cast<std::int32_t>(cols);
    return matrix;
}

Matrix chain(std::size_t n) {
    bench::MatrixBuilder builder("chain", n);
    for (std::size_t i = 0; i < n; ++i) {
        builder.diagonal(i, 2.5);
        if (i + 1 < n) builder.offDiagonal(i + 1, i, -1);
    }
    return builder.take();
}

Matrix arrow(std::size_t n) {
    bench::MatrixBuilder builder("arrow", n);
    for (std::size_t i = 0; i < n; ++i) {
        builder.diagonal(i, i + 1 < n ? 2.0 : -1.0);
        if (i + 1 < n) builder.offDiagonal(n - 1, i, 1);
    }
    return builder.take();
}

Matrix dense(std::size_t n) {
    std::mt19937_64 random(n);
    std::uniform_real_distribution<double> draw(-1, 1);
    bench::MatrixBuilder builder("dense", n);
    for (std::size_t j = 0; j < n; ++j) {
        builder.diagonal(j, draw(random));
        for (std::size_t i = j + 1; i < n; ++i) builder.offDiagonal(i, j, draw(random));
    }
    return builder.take();
}

double worst = 0;

void run(HostServices* services, const Matrix& a) {
    bench::OurSolver solver(services, a);
    std::vector<double> x;
    const std::vector<double> b(static_cast<std::size_t>(a.n), 1.0);
    bool failed = false;
    const double all = bench::bestTime(0.2, [&] {
        x = b;
        failed = solver.analyse() != 0 || solver.factor() != 0 || solver.solve(64, x) > 7;
    });
    const std::uint64_t before = solver.memory().allocations;
    const double factor = bench::bestTime(0.1, [&] { (void)solver.factor(); });
    const std::uint64_t allocations = solver.memory().allocations - before;
    const double operations = solver.symbolic->flopEstimate;
    const double bound = 1e-6 * a.n + 1.5e-9 * operations;
    worst = std::max(worst, all / bound);
    fmt::print("{:<8} {:>5} {:>8} {:>9.0f} {:>10.1f} {:>10.1f} {:>6.2f} {:>10.1f} {:>6}{}\n",
               a.name, a.n, a.row.size(), operations, 1e6 * all, 1e6 * bound, all / bound,
               1e6 * factor, allocations, failed ? "  FAILED" : "");
}

}  // namespace

int main() {
    ov::HostOptions options;
    options.out = nullptr;
    ov::Host host(options);
    ovrelin::hostServices = host.services();
    fmt::print("{:<8} {:>5} {:>8} {:>9} {:>10} {:>10} {:>6} {:>10} {:>6}\n", "matrix", "n", "nnz",
               "operations", "all us", "bound us", "ratio", "refactor", "allocs");
    for (const std::size_t n : {10U, 30U, 100U, 300U, 1000U}) {
        run(host.services(), chain(n));
        run(host.services(), arrow(n));
        for (const std::size_t perColumn : {2U, 4U}) run(host.services(), randomKkt(n, perColumn));
        run(host.services(), dense(n));
    }
    fmt::print("worst ratio to the bound {:.2f}\n", worst);
    return 0;
}
