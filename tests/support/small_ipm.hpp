// A record of the iteration on a small problem, in a pool of its own: everything made and bound,
// the point for the test to fill.
#pragma once

#include <gtest/gtest.h>

#include "ipm/ipm_state.hpp"
#include "presolve/solution.hpp"
#include "support/model_data.hpp"
#include "support/ov_problem.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

struct SmallIpm {
    SmallIpm(const SmallProblem& problem, const ovrelin::SolveOptions& solveOptions)
        : small(problem), options(solveOptions) {
        static_cast<ov::Problem&>(data) = toProblem(problem);
        data.bind();
        instance.pool = pool.get();
        EXPECT_TRUE(ovrelin::isOk(make()));
    }
    ~SmallIpm() {
        ipm.reset();
        ovrelin::freeSolution(&instance, solution);
        EXPECT_EQ(pool.numLive(), 0);
    }
    SmallIpm(const SmallIpm&) = delete;
    SmallIpm& operator=(const SmallIpm&) = delete;

    ovrelin::Status make() {
        OV_TRY(ovrelin::allocSolution(&instance, solution, small.numRow, small.numCol,
                                      data.model.solPrimal, data.model.solDual));
        OV_TRY(ipmCreate(ipm, &instance, &data.model, nullptr, ovrelin::iterNormal));
        ipmBindOptions(*ipm, &options);
        ipmSetConstants(*ipm, options, transform);
        OV_TRY(ipmAllocEnv(*ipm));
        ipmBindModel(*ipm, &data.model, solution);
        return ovrelin::Status::ok;
    }

    SmallProblem small;
    TestPool pool;
    SolverInstance instance{};
    ModelData data;
    ovrelin::SolveOptions options;
    ovrelin::TransformRecord transform{};
    ovrelin::IpmSolution* solution = nullptr;
    ovrelin::PoolObject<ovrelin::Ipm> ipm;
};

}  // namespace ovtest
