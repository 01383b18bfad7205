// Runs the analysis on a test pattern and holds what comes out of it.
#pragma once

#include "sparse/sparse_ldl.hpp"
#include "support/sparse_patterns.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

/// Handle with the default options, in a pool of its own; the records go back at the end.
class Analysis {
public:
    Analysis() { resetHandle(); }

    int run(const TestPattern& pattern) {
        free();
        ovrelin::LdlSymbolic* newSymbolic = nullptr;
        ovrelin::LdlNumeric* newNumeric = nullptr;
        const int code =
            ovrelin::sparseLdlSymbolic(pattern.n, pattern.colBegin.data(), pattern.rowIndex.data(),
                                       nullptr, &handle, &newSymbolic, &newNumeric);
        symbolic.adopt(pool.get(), newSymbolic);
        numeric.adopt(pool.get(), newNumeric);
        return code;
    }

    void free() {
        symbolic.reset();
        numeric.reset();
    }

    void resetHandle() {
        handle = {};
        handle.pool = pool.get();
        handle.matrixClass = 1;
        handle.orderingMethod = -1;
        handle.numThreads = 4;
        handle.schedulingMode = 1;
    }

    TestPool pool;
    ovrelin::SparseLdl handle{};
    ovrelin::PoolObject<ovrelin::LdlSymbolic> symbolic;
    ovrelin::PoolObject<ovrelin::LdlNumeric> numeric;
};

}  // namespace ovtest
