// The second presolve: a running iteration has shown that rows or columns can leave, the loop has
// stopped with newPass, and the presolver runs on the point reached. The iteration goes on with the
// smaller model and the point's live part; afterwards the point is spread over the larger model
// again, where an empty column keeps the value that it had.
#pragma once

#include "ipm/ipm_state.hpp"
#include "presolve/presolver.hpp"

namespace ovrelin {

/// What one second presolve owns. `model` is the model that the iteration works on: the one it
/// began with, or the reduced one.
struct SecondPass {
    SecondPass(Ipm& iterate, SolveOptions& solveOptions, IpmSolution* inSolution)
        : ipm(iterate), options(solveOptions), model(iterate.model), solution(inSolution) {}
    SecondPass(const SecondPass&) = delete;
    SecondPass& operator=(const SecondPass&) = delete;
    /// Releases a pass that is still open; its measures go to the model it began with.
    ~SecondPass();

    Ipm& ipm;
    SolveOptions& options;
    Model* model;
    IpmSolution* solution;            // of the model it began with
    IpmSolution* reduced = nullptr;   // of the reduced one
    PoolObject<Presolver> presolver;  // set while a pass is open
    TransformRecord transform{};
    bool restarted = false;  // slacks or duals were recomputed and may be zero
};

/// Runs the presolver on the point. A pass that finds nothing to take out ends as failed: the loop
/// asked for it because something can go. A verdict of the presolver is not believed, as the
/// iterate may be far from feasible: the iteration goes on without the pass. `solved` when the
/// presolver has solved what was left: its measures are the iterate's, and there is nothing to
/// iterate on.
Status openSecondPass(SecondPass& pass, TransformRecord& transform, bool& solved);

/// Spreads the point over the larger model, which is in force again. Slacks of rows and duals of
/// bounds that had left are recomputed.
void closeSecondPass(SecondPass& pass);

/// Row slacks from the activities on rows that the presolver had removed by their columns:
/// 'G' rows activity - rhs, 'L' and 'R' rows rhs - activity, 'E' rows 0. Rewrites rowActivity.
void recomputeSlacks(Model& model, const Presolver& presolver, IpmSolution& solution);

/// Bound duals from the reduced costs on columns that the presolver had removed as empty, on the
/// nearer bound: lowerDual = reducedCost, or upperDual = -reducedCost. Rewrites reducedCost.
void recomputeDuals(Model& model, const Presolver& presolver, double infinity,
                    IpmSolution& solution);

}  // namespace ovrelin
