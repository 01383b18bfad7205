// The sparse solver from creation to release on one test matrix, in a pool of its own.
#pragma once

#include <vector>

#include "sparse/sparse_ldl.hpp"
#include "support/sparse_matrices.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

class LdlSolver {
public:
    LdlSolver() {
        int code = 0;
        handle = ovrelin::sparseLdlCreate(pool.get(), 0, &code);
    }
    LdlSolver(const LdlSolver&) = delete;
    LdlSolver& operator=(const LdlSolver&) = delete;
    ~LdlSolver() {
        freeFactors();
        ovrelin::sparseLdlFree(&handle);
    }

    int set(int option, std::int32_t value) {
        return ovrelin::sparseLdlSetInt(handle, option, value);
    }

    int analyse(const TestMatrix& a) {
        freeFactors();
        return ovrelin::sparseLdlSymbolic(a.n(), a.begin(), a.row(), a.value.data(), handle,
                                          &symbolic, &numeric);
    }

    int factor(const TestMatrix& a) {
        return ovrelin::sparseLdlNumeric(0, a.n(), a.begin(), a.row(), a.value.data(), handle,
                                         symbolic, numeric);
    }

    /// The solution replaces `x`.
    int solve(const TestMatrix& a, std::vector<double>& x) {
        return ovrelin::sparseLdlSolve(0, a.begin(), a.row(), a.value.data(), x.data(), handle,
                                       symbolic, numeric);
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
};

}  // namespace ovtest
