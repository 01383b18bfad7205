#include "ipm/second_pass.hpp"

#include <algorithm>
#include <utility>

#include "frame/log.hpp"
#include "linalg/sparse_columns.hpp"
#include "presolve/model_values.hpp"
#include "presolve/postsolve.hpp"
#include "presolve/presolve_model.hpp"
#include "presolve/reduced_model.hpp"
#include "presolve/solution.hpp"

namespace ovrelin {
namespace {

void bindInForce(SecondPass& pass, IpmSolution* solution) {
    Ipm& ipm = pass.ipm;
    const Model& model = *pass.model;
    ipm.numRow = model.numRow;
    ipm.numCol = model.numCol;
    ipm.numCoef = model.numCoef;
    ipm.numQuadCoef = model.numQuadCoef;
    ipm.numDim = ipm.numRow + ipm.numCol;
    ipm.numIpmCoef = ipm.numDim + 2 * (ipm.numCoef + ipm.numQuadCoef);
    ipmBindModel(ipm, pass.model, solution);
}

/// The model that the pass began with is in force again; the point stays where it is.
void dropPass(SecondPass& pass) {
    if (!pass.presolver) return;
    Presolver& presolver = *pass.presolver;
    Model* outer = std::exchange(presolver.inModel, nullptr);
    freeReducedModel(presolver, outer);
    if (outer != nullptr) pass.model = outer;
    freePresolver(pass.presolver);
    if (pass.reduced != pass.solution) freeSolution(pass.ipm.instance, pass.reduced);
    pass.reduced = nullptr;
}

void takeMeasures(Ipm& ipm, const Model& model) {
    ipm.primalInfeas = model.primalInfeas;
    ipm.boundInfeas = model.boundInfeas;
    ipm.dualInfeas = model.dualInfeas;
    ipm.dualityGap = model.dualityGap;
    ipm.complementarity = model.complementarity;
    ipm.iterState = iterStop;
    if (ipm.printLevel < 2 || ipm.printFrequency < 1) return;
    sendMessage(ipm.instance, OVRELIN_LEVEL_ITERATION, OVRELIN_MSG_ITERATION, ipm.iteration,
                ipm.complementarity, ipm.dualityGap, ipm.primalInfeas, ipm.boundInfeas,
                ipm.dualInfeas);
}

bool isVerdict(Status status) {
    return status == Status::primalInfeasible || status == Status::primalInfeasibleAlt ||
           status == Status::dualInfeasible || status == Status::infeasibleBoth ||
           status == Status::newPass;
}

/// Removed by its fixed columns: its slack is no iterate's, and no redundancy proves it harmless.
bool leftEmpty(int32_t state) {
    return state < 0 && state != ROWMAP_FREE;
}

}  // namespace

SecondPass::~SecondPass() {
    dropPass(*this);
}

Status openSecondPass(SecondPass& pass, TransformRecord& transform, bool& solved) {
    Ipm& ipm = pass.ipm;
    solved = false;
    OV_TRY(pass.presolver.make(ipm.instance->pool));
    ipm.startMode = pass.options.startMode = startModeResume;
    IpmSolution* in = pass.solution;
    const Status status = presolveModel(ipm.instance, pass.model, pass.options, *pass.presolver,
                                        pass.transform, in, pass.reduced, nullptr);
    pass.model->status = status;
    const int32_t route = pass.presolver->preRoute;
    if (route == PREROUTE_SOLVED || route == PREROUTE_SOLVED_POST) {
        takeMeasures(ipm, *pass.model);
        solved = true;
        return Status::ok;
    }
    releasePresolverWork(*pass.presolver);
    if (isVerdict(status)) {
        transform.forceRecheck = 1;
        dropPass(pass);
        bindInForce(pass, pass.solution);
    } else {
        OV_TRY(status);
        if (pass.presolver->preControl != PRECONTROL_REDUCED) {
            logText(ipm.instance,
                    "Error ipmSolve: model must be reduced if break from normal iteration");
            return Status::failed;
        }
        kktFreeFactors(ipm.kkt);
        bindInForce(pass, pass.reduced);
    }
    return Status::ok;
}

void closeSecondPass(SecondPass& pass) {
    const Presolver& presolver = *pass.presolver;
    kktFreeFactors(pass.ipm.kkt);
    pass.restarted = false;
    if (presolver.inModel != nullptr) {
        Model& outer = *presolver.inModel;
        restorePrimalSolution(presolver, pass.reduced, *pass.solution, nullptr,
                              pass.options.infinity, true);
        pass.restarted = presolver.numRemovedRow > 0 || presolver.numRemovedCol > 0;
        if (presolver.numRemovedRow > 0) recomputeSlacks(outer, presolver, *pass.solution);
        if (presolver.numRemovedCol > 0)
            recomputeDuals(outer, presolver, pass.options.infinity, *pass.solution);
    }
    dropPass(pass);
    bindInForce(pass, pass.solution);
}

void recomputeSlacks(Model& model, const Presolver& presolver, IpmSolution& solution) {
    std::fill_n(model.rowActivity, model.numRow, 0.0);
    addProduct(1, model.numCol, model.colBegin, model.colLength, model.rowIndex, model.matValue,
               solution.solPrimal, model.rowActivity);
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (leftEmpty(presolver.rowMap[i])) solution.ineqnSlack[i] = ineqnSlackOf(model, i);
    }
}

void recomputeDuals(Model& model, const Presolver& presolver, double infinity,
                    IpmSolution& solution) {
    std::copy_n(model.obj, model.numCol, model.reducedCost);
    addTransposedProduct(-1, model.numCol, model.colBegin, model.colLength, model.rowIndex,
                         model.matValue, solution.solDual, model.reducedCost);
    addQuadraticProduct(model, solution.solPrimal, model.reducedCost);
    for (int32_t j = 0; j < model.numCol; ++j) {
        if (presolver.colMap[j] >= 0 || presolver.colMap[j] == COLMAP_FIXED) continue;
        const bool hasLower = model.lower[j] > -infinity, hasUpper = model.upper[j] < infinity;
        const bool nearLower =
            hasLower && (!hasUpper || solution.upperSlack[j] >= solution.lowerSlack[j]);
        if (!hasLower && !hasUpper)
            solution.lowerDual[j] = solution.upperDual[j] = 0;
        else if (nearLower)
            solution.lowerDual[j] = model.reducedCost[j];
        else
            solution.upperDual[j] = -model.reducedCost[j];
    }
}

}  // namespace ovrelin
