// The stages of the sparse solver on one matrix: times, sizes, memory and the errors of the
// solution.
#pragma once

#include <cmath>
#include <random>

#include "bench/cpu_time.hpp"
#include "bench/test_matrices.hpp"
#include "frame/host_services.hpp"
#include "host/ov.hpp"
#include "sparse/sparse_ldl.hpp"

namespace bench {

struct Measured {
    int code = 0;    // of the last stage that ran
    int method = 0;  // ordering
    double analyse = 0, factor = 0;
    double solve = 0;                       // one pass over the factors
    double refined = 0;                     // the solve with its refinement
    double numEntries = 0, operations = 0;  // of the factor before amalgamation
    double stored = 0;       // entries that the factor stores, zeros of the amalgamation included
    double firstFactor = 0;  // with the gathering of a new pattern
    double memory = 0;  // bytes: peak of analysis and factorisation less the copies of the matrix
    double normwise = 0, componentwise = 0;
    int numPerturbed = 0;
    std::uint64_t numericAllocations = 0;
};

/// The least times of two measurements of one matrix.
inline Measured fasterOf(Measured one, const Measured& other) {
    for (double Measured::*time : {&Measured::analyse, &Measured::firstFactor, &Measured::factor,
                                   &Measured::solve, &Measured::refined})
        one.*time = std::min(one.*time, other.*time);
    return one;
}

/// Backward errors: normwise max|r| / (max|x| ||A|| + max|b|), componentwise
/// max |r_i| / (|A||x| + |b|)_i.
inline void measureErrors(const Matrix& a, const std::vector<double>& x,
                          const std::vector<double>& b, Measured& out) {
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

/// The solver on one matrix, in a pool of its own.
class OurSolver {
public:
    OurSolver(HostServices* services, const Matrix& matrix) : a_(matrix) {
        HostDescriptor descriptor{};
        pool_ = services->createPool(services, &descriptor, nullptr, "BENCH");
    }
    OurSolver(const OurSolver&) = delete;
    OurSolver& operator=(const OurSolver&) = delete;
    ~OurSolver() {
        release();
        pool_->destroyPool(pool_);
    }

    int analyse() {
        release();
        int code = 0;
        handle = ovrelin::sparseLdlCreate(pool_, 0, &code);
        if (code != 0) return code;
        (void)ovrelin::sparseLdlSetInt(handle, ovrelin::ldl::optFirstBlockSize, a_.firstBlock);
        return ovrelin::sparseLdlSymbolic(a_.n, a_.begin.data(), a_.row.data(), a_.value.data(),
                                          handle, &symbolic, &numeric);
    }
    int factor() {
        return ovrelin::sparseLdlNumeric(0, a_.n, a_.begin.data(), a_.row.data(), a_.value.data(),
                                         handle, symbolic, numeric);
    }
    /// With a limit of 0 one pass over the factors, otherwise refined.
    int solve(int refinementLimit, std::vector<double>& x) {
        handle->maxRefineIter = refinementLimit;
        return ovrelin::sparseLdlSolve(0, a_.begin.data(), a_.row.data(), a_.value.data(), x.data(),
                                       handle, symbolic, numeric);
    }
    [[nodiscard]] ov::MemoryCounters memory() const { return ov::Host::memory(pool_); }
    [[nodiscard]] double matrixCopyBytes() const {
        return static_cast<double>(4 * (numeric->lowerRow.size() + numeric->lowerSource.size() +
                                        numeric->lowerPlace.size() + numeric->keptBegin.size() +
                                        numeric->keptRow.size()) +
                                   8 * (numeric->lowerValue.size() + numeric->lowerBegin.size()));
    }

    ovrelin::SparseLdl* handle = nullptr;
    ovrelin::LdlSymbolic* symbolic = nullptr;
    ovrelin::LdlNumeric* numeric = nullptr;

private:
    void release() {
        if (handle == nullptr) return;
        ovrelin::sparseLdlFreeFactors(handle, &symbolic, &numeric);
        symbolic = nullptr;
        numeric = nullptr;
        ovrelin::sparseLdlFree(&handle);
    }

    const Matrix& a_;
    MemoryPool* pool_;
};

/// Runs the stages; one that fails leaves the later ones at zero.
inline Measured runOurs(HostServices* services, const Matrix& a, double budget) {
    using ovrelin::ldl::ok;
    Measured out;
    OurSolver solver(services, a);
    out.analyse = bestTime(budget, [&] { out.code = solver.analyse(); });
    if (out.code != ok) return out;
    out.method = solver.handle->orderingMethod;
    out.numEntries = solver.symbolic->numLowerEntries + a.n;
    out.operations = solver.symbolic->flopEstimate;
    out.stored = static_cast<double>(solver.symbolic->numFactorEntries);
    out.firstFactor = 1e300;
    for (int trial = 0; trial < 3; ++trial) {
        (void)solver.analyse();
        const double begin = cpuSeconds();
        (void)solver.factor();
        out.firstFactor = std::min(out.firstFactor, cpuSeconds() - begin);
    }
    const std::uint64_t allocations = solver.memory().allocations;
    out.factor = bestTime(budget, [&] { out.code = solver.factor(); });
    out.numericAllocations = solver.memory().allocations - allocations;
    if (out.code != ok) return out;
    out.memory = static_cast<double>(solver.memory().peakBytes) - solver.matrixCopyBytes();
    out.numPerturbed = solver.symbolic->numPerturbed;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> draw(-1, 1);
    std::vector<double> b(static_cast<std::size_t>(a.n));
    for (double& entry : b) entry = draw(random);
    std::vector<double> x;
    // Replaced pivots ask for refinement even where the limit is 0; the pass alone is wanted here.
    solver.symbolic->numPerturbed = 0;
    out.solve = bestTime(budget, [&] {
        x = b;
        out.code = solver.solve(0, x);
    });
    solver.symbolic->numPerturbed = out.numPerturbed;
    out.refined = bestTime(budget, [&] {
        x = b;
        out.code = solver.solve(64, x);
    });
    measureErrors(a, x, b, out);
    return out;
}

}  // namespace bench
