// A small dense problem as the presolver's caller holds it, one presolve with the self-checks on,
// and the way back from an exact solution of what is left.
#pragma once

#include <string>
#include <vector>

#include "presolve/postsolve.hpp"
#include "presolve/presolve_model.hpp"
#include "support/model_data.hpp"
#include "support/small_problem.hpp"
#include "support/test_pool.hpp"

namespace ovtest {

/// typeModel: linear models may be given as such. keepZeros stores zero elements too. Rows 'R'
/// carry their upper limit in rhs.
void fillModel(const SmallProblem& small, std::int32_t typeModel, bool keepZeros, ModelData& out);

/// The dense form of a model, rows by their senses.
SmallProblem toDense(const ovrelin::Model& model);

/// What the log has said since the last call: the lines that report a fault.
std::vector<std::string> takeFaults();

/// Self-checks on, tolerances of the solver.
ovrelin::SolveOptions checkedOptions();

class PresolveRun {
public:
    PresolveRun(const SmallProblem& small, const ovrelin::SolveOptions& options,
                std::int32_t typeModel = ovrelin::modelTypeQp, bool keepZeros = false);
    ~PresolveRun();
    PresolveRun(const PresolveRun&) = delete;
    PresolveRun& operator=(const PresolveRun&) = delete;

    ovrelin::Status presolve();
    /// The record with its working copies and a solution record, no pass run: for tests that set
    /// the maps themselves.
    ovrelin::Status makeByHand();
    /// The short path of a model that has been presolved elsewhere.
    ovrelin::Status collect();
    /// Writes the exact solution of the model in force, with slacks and duals as an iteration
    /// leaves them; false when enumeration finds no optimum.
    bool solveExactly();
    ovrelin::Status postsolve();

    void release();

    TestPool pool;
    SolverInstance instance{};
    ovrelin::SolveOptions options;
    ModelData data;         // the caller's model
    ovrelin::Model* model;  // the one in force
    ovrelin::PoolObject<ovrelin::Presolver> presolver;
    ovrelin::TransformRecord transform{};
    ovrelin::IpmSolution* inSolution = nullptr;
    ovrelin::IpmSolution* workSolution = nullptr;
};

}  // namespace ovtest
