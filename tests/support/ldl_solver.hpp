// The sparse solver from creation to release on one test matrix, in a pool of its own.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

#include "sparse/sparse_ldl.hpp"
#include "support/sparse_matrices.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

class LdlSolver {
public:
    LdlSolver(std::initializer_list<std::pair<int, std::int32_t>> options = {}) {
        int code = -1;
        handle = ovrelin::sparseLdlCreate(pool.get(), 0, &code);
        for (const auto& [option, value] : options)
            EXPECT_EQ(set(option, value), ovrelin::ldl::ok) << "option " << option;
    }
    LdlSolver(const LdlSolver&) = delete;
    LdlSolver& operator=(const LdlSolver&) = delete;
    ~LdlSolver() {
        freeFactors();
        ovrelin::sparseLdlFree(&handle);
        EXPECT_EQ(pool.numLive(), 0);
    }

    int set(int option, std::int32_t value) {
        return ovrelin::sparseLdlSetInt(handle, option, value);
    }

    int analyse(const TestPattern& pattern, const double* value = nullptr) {
        freeFactors();
        const int code =
            ovrelin::sparseLdlSymbolic(pattern.n, pattern.colBegin.data(), pattern.rowIndex.data(),
                                       value, handle, &symbolic, &numeric);
        expectIdle();
        return code;
    }
    int analyse(const TestMatrix& a) { return analyse(a.pattern, a.value.data()); }

    int factor(const TestMatrix& a) {
        const int code = ovrelin::sparseLdlNumeric(0, a.n(), a.begin(), a.row(), a.value.data(),
                                                   handle, symbolic, numeric);
        expectIdle();
        return code;
    }

    /// The solution replaces `x`.
    int solve(const TestMatrix& a, Array<double>& x) {
        const int code = ovrelin::sparseLdlSolve(0, a.begin(), a.row(), a.value.data(), x.data(),
                                                 handle, symbolic, numeric);
        expectIdle();
        return code;
    }

    /// Backward error of a solution by the factors at hand.
    double solveError(const TestMatrix& a) {
        Array<double> b(a.n());
        for (std::int32_t i = 0; i < a.n(); ++i) b[i] = std::cos(1.0 + i);
        Array<double> x = b;
        const int code = solve(a, x);
        EXPECT_TRUE(code == ovrelin::ldl::refined || code == ovrelin::ldl::notRefined) << code;
        return backwardError(a, x, b);
    }

    void freeFactors() {
        ovrelin::sparseLdlFreeFactors(handle, &symbolic, &numeric);
        symbolic = nullptr;
        numeric = nullptr;
    }

    TestPool pool;
    ovrelin::SparseLdl* handle = nullptr;
    ovrelin::LdlSymbolic* symbolic = nullptr;
    ovrelin::LdlNumeric* numeric = nullptr;

private:
    void expectIdle() const {
        EXPECT_TRUE(symbolic == nullptr || symbolic->state == ovrelin::ldl::stateIdle);
    }
};

/// Factors and solves what the solver has analysed: as small a backward error as any matrix allows
/// that is not numerically singular, a forward error like LAPACK's, and the inertia of the
/// eigenvalues where no pivot was replaced.
inline void expectLikeLapack(LdlSolver& solver, const Judged& judged) {
    const TestMatrix& matrix = judged.matrix;
    ASSERT_EQ(solver.set(ovrelin::ldl::optPivotStatistics, 1), ovrelin::ldl::ok);
    ASSERT_EQ(solver.factor(matrix), ovrelin::ldl::ok);
    Array<double> x = judged.b;
    const int code = solver.solve(matrix, x);
    if (judged.condition < 1e-10) return;
    EXPECT_TRUE(code == ovrelin::ldl::refined || code == ovrelin::ldl::notRefined) << code;
    EXPECT_LT(backwardError(matrix, x, judged.b), 1e-14);
    const double allowed = 1e-12 / judged.condition * (1 + largest(judged.x));
    for (std::int32_t i = 0; i < matrix.n(); ++i) ASSERT_NEAR(x[i], judged.x[i], allowed);
    if (solver.symbolic->numPerturbed > 0) return;
    EXPECT_EQ(solver.handle->numPositivePivots, judged.numPositive);
    EXPECT_EQ(solver.handle->numNegativePivots, matrix.n() - judged.numPositive);
}

}  // namespace ovtest
