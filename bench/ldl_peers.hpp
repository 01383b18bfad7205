// The public solvers that the sparse solver is measured beside, each with one thread, its own
// choice of ordering and the BLAS of this process. A peer that was not there at build time reports
// nothing.
#pragma once

#include <algorithm>
#include <cmath>

#include "bench/cpu_time.hpp"
#include "bench/test_matrices.hpp"

#ifdef OVRELIN_BENCH_CHOLMOD
#include <suitesparse/cholmod.h>
#endif
#ifdef OVRELIN_BENCH_MUMPS
#include <dmumps_c.h>
#endif

namespace bench {

/// Seconds; negative where there is none. The solve is one pass over the factors, no refinement.
struct PeerTimes {
    double analyse = -1, factor = -1, solve = -1;
    double numEntries = 0;
};

struct Peers {
    PeerTimes simplicial, supernodal, multifrontal;
};

/// The least times of two measurements of one matrix.
inline Peers fasterOf(Peers one, const Peers& other) {
    for (PeerTimes Peers::*peer : {&Peers::simplicial, &Peers::supernodal, &Peers::multifrontal})
        for (double PeerTimes::*time : {&PeerTimes::analyse, &PeerTimes::factor, &PeerTimes::solve})
            (one.*peer).*time = std::min((one.*peer).*time, (other.*peer).*time);
    return one;
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

inline double cholmodSolve(cholmod_factor* factor, double budget, cholmod_common& common) {
    cholmod_dense* b = cholmod_ones(factor->n, 1, CHOLMOD_REAL, &common);
    cholmod_dense *x = nullptr, *y = nullptr, *e = nullptr;
    const double seconds = bestTime(budget, [&] {
        cholmod_solve2(CHOLMOD_A, factor, b, nullptr, &x, nullptr, &y, &e, &common);
    });
    for (cholmod_dense** vector : {&b, &x, &y, &e}) cholmod_free_dense(vector, &common);
    return seconds;
}

inline PeerTimes runCholmod(const Matrix& a, int form, bool dominant, double budget) {
    cholmod_common common;
    cholmod_start(&common);
    common.print = 0;
    common.supernodal = form;
    common.final_ll = 0;
    cholmod_sparse* lower = cholmodMatrix(a, dominant, common);
    PeerTimes times;
    cholmod_factor* factor = nullptr;
    times.analyse = bestTime(budget, [&] {
        if (factor != nullptr) cholmod_free_factor(&factor, &common);
        factor = cholmod_analyze(lower, &common);
    });
    times.numEntries = common.lnz;
    const double seconds = bestTime(budget, [&] { cholmod_factorize(lower, factor, &common); });
    if (common.status == CHOLMOD_OK) {
        times.factor = seconds;
        times.solve = cholmodSolve(factor, budget, common);
    }
    cholmod_free_factor(&factor, &common);
    cholmod_free_sparse(&lower, &common);
    cholmod_finish(&common);
    return times;
}

/// CHOLMOD's two forms: simplicial L D L' of the matrix itself, and supernodal L L', which takes
/// definite matrices only and gets the same pattern with a dominant diagonal.
inline void addCholmod(const Matrix& a, double budget, Peers& peers) {
    peers.supernodal = runCholmod(a, CHOLMOD_SUPERNODAL, true, budget);
    // Simplicial code runs near one GFLOP/s: hopeless, and long, where the other form took seconds.
    if (peers.supernodal.factor > 1) return;
    peers.simplicial = runCholmod(a, CHOLMOD_SIMPLICIAL, false, budget);
}
#else
inline void addCholmod(const Matrix&, double, Peers&) {}
#endif

#ifdef OVRELIN_BENCH_MUMPS
/// MUMPS for general symmetric matrices, on the matrix itself.
inline void addMumps(const Matrix& a, double budget, Peers& peers) {
    constexpr int start = -1, end = -2, analyse = 1, factorise = 2, solve = 3;
    constexpr int useCommWorld = -987654, outOfRoom = -9;
    std::vector<MUMPS_INT> rows, cols;
    std::vector<double> values, x(static_cast<std::size_t>(a.n), 1.0);
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
    id.n = a.n;
    id.nnz = static_cast<MUMPS_INT8>(values.size());
    id.irn = rows.data();
    id.jcn = cols.data();
    id.a = values.data();
    id.rhs = x.data();
    const auto timeOf = [&](int job) {
        const double seconds = bestTime(budget, [&] {
            id.job = job;
            dmumps_c(&id);
        });
        return id.infog[0] >= 0 ? seconds : -1;
    };
    PeerTimes& times = peers.multifrontal;
    times.analyse = timeOf(analyse);
    // Delayed pivots need room; how much, only the factorisation tells.
    for (const int percent : {50, 400, 4000}) {
        id.icntl[13] = percent;
        times.factor = timeOf(factorise);
        if (id.infog[0] != outOfRoom) break;
    }
    if (times.factor >= 0) times.solve = timeOf(solve);
    times.numEntries = id.infog[28] >= 0 ? id.infog[28] : -1e6 * id.infog[28];
    id.job = end;
    dmumps_c(&id);
}
#else
inline void addMumps(const Matrix&, double, Peers&) {}
#endif

}  // namespace bench
