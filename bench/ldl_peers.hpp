// The public solvers that the sparse solver is measured beside, each with one thread and the BLAS of
// this process. A peer that was not there at build time reports nothing.
#pragma once

#include <algorithm>
#include <cmath>
#include <ctime>

#include "bench/test_matrices.hpp"

#ifdef OVRELIN_BENCH_CHOLMOD
#include <suitesparse/cholmod.h>
#endif
#ifdef OVRELIN_BENCH_MUMPS
#include <dmumps_c.h>
#endif

namespace bench {

/// Seconds; negative where there is none.
struct PeerTimes {
    double analyse = -1, factor = -1;
    double numEntries = 0;
};

/// CPU seconds of this thread: other work on the machine disturbs them least.
inline double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// The best of several runs: enough of them to fill half a second, at least two and at most twenty.
template <class Run>
double bestTime(Run run) {
    double best = 1e300, total = 0;
    for (int count = 0; count < 20 && (count < 2 || total < 0.5); ++count) {
        const double begin = cpuSeconds();
        run();
        const double seconds = cpuSeconds() - begin;
        best = std::min(best, seconds);
        total += seconds;
    }
    return best;
}

#ifdef OVRELIN_BENCH_CHOLMOD
/// The lower triangle; with `dominant`, the same pattern with a diagonal that makes it definite.
inline cholmod_sparse* cholmodMatrix(const Matrix& a, bool dominant, cholmod_common& common) {
    const auto n = static_cast<std::size_t>(a.n);
    cholmod_sparse* lower =
        cholmod_allocate_sparse(n, n, a.row.size(), 0, 1, -1, CHOLMOD_REAL, &common);
    auto* const begin = static_cast<int*>(lower->p);
    auto* const row = static_cast<int*>(lower->i);
    auto* const value = static_cast<double*>(lower->x);
    int count = 0;
    for (std::size_t j = 0; j < n; ++j) {
        begin[j] = count;
        const auto own = static_cast<std::int32_t>(j);
        const int diagonal = count++;
        double sum = 1, kept = 0;
        for (auto k = static_cast<std::size_t>(a.begin[j]);
             k < static_cast<std::size_t>(a.begin[j + 1]); ++k) {
            if (a.row[k] == own) kept = a.value[k];
            if (a.row[k] != own) sum += std::fabs(a.value[k]);
            if (a.row[k] <= own) continue;
            row[count] = a.row[k];
            value[count++] = a.value[k];
        }
        row[diagonal] = own;
        value[diagonal] = dominant ? sum : kept;
    }
    begin[n] = count;
    return lower;
}

inline PeerTimes runCholmodForm(const Matrix& a, int form, bool dominant) {
    cholmod_common common;
    cholmod_start(&common);
    common.print = 0;
    common.supernodal = form;
    common.final_ll = 0;
    cholmod_sparse* lower = cholmodMatrix(a, dominant, common);
    PeerTimes times;
    cholmod_factor* factor = nullptr;
    times.analyse = bestTime([&] {
        if (factor != nullptr) cholmod_free_factor(&factor, &common);
        factor = cholmod_analyze(lower, &common);
    });
    times.numEntries = common.lnz;
    const double seconds = bestTime([&] { cholmod_factorize(lower, factor, &common); });
    if (common.status == CHOLMOD_OK) times.factor = seconds;
    cholmod_free_factor(&factor, &common);
    cholmod_free_sparse(&lower, &common);
    cholmod_finish(&common);
    return times;
}

/// The better of CHOLMOD's two forms: simplicial L D L' of the matrix itself, and supernodal L L',
/// which takes definite matrices only and gets the same pattern with a dominant diagonal.
inline PeerTimes runCholmod(const Matrix& a) {
    const PeerTimes supernodal = runCholmodForm(a, CHOLMOD_SUPERNODAL, true);
    // Simplicial code runs near one GFLOP/s: hopeless, and long, where the other form took seconds.
    if (supernodal.factor > 1) return supernodal;
    const PeerTimes simplicial = runCholmodForm(a, CHOLMOD_SIMPLICIAL, false);
    PeerTimes best = simplicial;
    if (simplicial.factor < 0 || supernodal.factor < simplicial.factor) best = supernodal;
    best.analyse = std::min(simplicial.analyse, supernodal.analyse);
    return best;
}
#else
inline PeerTimes runCholmod(const Matrix&) { return {}; }
#endif

#ifdef OVRELIN_BENCH_MUMPS
/// MUMPS for general symmetric matrices with its own choice of ordering, on the matrix itself.
inline PeerTimes runMumps(const Matrix& a) {
    constexpr int start = -1, end = -2, analyse = 1, factorise = 2, useCommWorld = -987654;
    std::vector<MUMPS_INT> rows, cols;
    std::vector<double> values;
    for (std::size_t j = 0; j < static_cast<std::size_t>(a.n); ++j)
        for (auto k = static_cast<std::size_t>(a.begin[j]);
             k < static_cast<std::size_t>(a.begin[j + 1]); ++k) {
            if (a.row[k] < static_cast<std::int32_t>(j)) continue;
            rows.push_back(a.row[k] + 1);
            cols.push_back(static_cast<MUMPS_INT>(j) + 1);
            values.push_back(a.value[k]);
        }
    DMUMPS_STRUC_C id{};
    id.comm_fortran = useCommWorld;
    id.par = 1;
    id.sym = 2;
    id.job = start;
    dmumps_c(&id);
    for (int k = 0; k < 4; ++k) id.icntl[k] = k == 3 ? 0 : -1;  // silence
    id.icntl[13] = 50;                                          // room for delayed pivots
    id.n = a.n;
    id.nnz = static_cast<MUMPS_INT8>(values.size());
    id.irn = rows.data();
    id.jcn = cols.data();
    id.a = values.data();
    const auto run = [&](int job) {
        id.job = job;
        dmumps_c(&id);
    };
    PeerTimes times;
    const double analysed = bestTime([&] { run(analyse); });
    if (id.infog[0] >= 0) times.analyse = analysed;
    const double factored = bestTime([&] { run(factorise); });
    if (id.infog[0] >= 0) times.factor = factored;
    times.numEntries = id.infog[28] >= 0 ? id.infog[28] : -1e6 * id.infog[28];
    run(end);
    return times;
}
#else
inline PeerTimes runMumps(const Matrix&) { return {}; }
#endif

}  // namespace bench
