#include "presolve/presolve_model.hpp"

#include <algorithm>

#include "eigen/convexity.hpp"
#include "frame/log.hpp"
#include "presolve/classify.hpp"
#include "presolve/direct_solve.hpp"
#include "presolve/passes.hpp"
#include "presolve/presolve_summary.hpp"
#include "presolve/reduced_model.hpp"
#include "presolve/reductions.hpp"
#include "presolve/solution.hpp"
#include "verify/verify_presolve.hpp"
#include "verify/verify_sparse.hpp"

namespace ovrelin {
namespace {

/// What the stages of one presolveModel share.
struct Stage {
    SolverInstance* instance;
    const SolveOptions& options;
    Presolver& presolver;
    TransformRecord& transform;
    Model*& model;
    IpmSolution*& inSolution;
    IpmSolution*& workSolution;
};

bool resumes(const SolveOptions& options) {
    return options.startMode >= startModeResume;
}

/// The iteration table of a solve without iterations.
void reportDirect(SolverInstance* instance, const Model& model, const SolveOptions& options) {
    if (options.printFrequency <= 0) return;
    sendMessage(instance, OVRELIN_LEVEL_HEADING, OVRELIN_MSG_HEADING_FIRST);
    sendMessage(instance, OVRELIN_LEVEL_HEADING, OVRELIN_MSG_HEADING_SECOND);
    sendMessage(instance, OVRELIN_LEVEL_ITERATION, OVRELIN_MSG_ITERATION, model.iterations,
                model.complementarity, model.dualityGap, model.primalInfeas, model.boundInfeas,
                model.dualInfeas);
}

/// The whole model by one linear solve; its status stands in the model. The solution of the system
/// is a minimum only of a convex objective.
Status solveBeforeReductions(SolverInstance* instance, Model& model, const SolveOptions& options,
                             Presolver& presolver, IpmSolution& solution, bool useSolveToPoint) {
    const Status convex = checkConvexity(instance, model, options);
    if (!isOk(convex)) {
        model.status = convex;
        presolver.preControl = PRECONTROL_NONE;
        presolver.preRoute = PREROUTE_SOLVED;
        return convex;
    }
    OV_TRY(solveDirectSystem(instance, model, options, solution, useSolveToPoint));
    reportDirect(instance, model, options);
    presolver.preControl = PRECONTROL_NONE;
    presolver.preRoute = PREROUTE_SOLVED;
    return Status::ok;
}

bool withinBounds(const Model& model, double tolerance) {
    for (int32_t j = 0; j < model.numCol; ++j)
        if (!(model.solPrimal[j] >= model.lower[j] - tolerance &&
              model.solPrimal[j] <= model.upper[j] + tolerance))
            return false;
    return true;
}

bool hasBounds(const Model& model, double infinity) {
    for (int32_t j = 0; j < model.numCol; ++j)
        if (model.lower[j] > -infinity || model.upper[j] < infinity) return true;
    return false;
}

/// What the reductions have left by one linear solve. The bounds that the system leaves out were
/// implied by rows, each from bounds of other columns; where the point shows that they were not
/// implied together, or the system was singular, the iterations take over from a clean start.
/// Without any bound the verdict on the point stands: the iterations have nothing to add.
Status solveAfterReductions(Stage& stage) {
    Model& model = *stage.model;
    OV_TRY(checkConvexity(stage.instance, model, stage.options));
    const Status solved =
        solveDirectSystem(stage.instance, model, stage.options, *stage.workSolution, false);
    if (solved == Status::outOfMemory || solved == Status::interrupted) return solved;
    const bool optimal =
        model.status == Status::optimal || model.status == Status::conditionallyOptimal;
    const bool stands = !hasBounds(model, stage.options.infinity) ||
                        (optimal && withinBounds(model, stage.options.primalTol));
    if (isOk(solved) && stands) {
        stage.presolver.preRoute = stage.presolver.preControl == PRECONTROL_REDUCED
                                       ? PREROUTE_SOLVED_POST
                                       : PREROUTE_SOLVED;
        return model.status;
    }
    model.status = Status::ok;
    std::fill_n(model.solPrimal, model.numCol, 0.0);
    std::fill_n(model.solDual, model.numRow, 0.0);
    stage.presolver.preRoute = PREROUTE_FREECOL;
    return Status::ok;
}

bool anythingRemoved(const Presolver& presolver) {
    return presolver.numRemovedRow != 0 || presolver.numRemovedCol != 0 ||
           presolver.numRemovedElement != 0 || presolver.numRemovedQuadElement != 0 ||
           presolver.numChangeRange != 0;
}

void decideControl(const Model& model, const SolveOptions& options, Presolver& presolver) {
    if (anythingRemoved(presolver) || model.typeModel == modelTypeQp) {
        presolver.preControl = PRECONTROL_REDUCED;
        return;
    }
    detectBoundChange(model, options, presolver);
    presolver.preControl = presolver.boundChanged != 0 ? PRECONTROL_BOUND : PRECONTROL_NONE;
}

/// 'L' and 'R' rows of the model that the solve will use.
void countRowKinds(const Model& model, const Presolver& presolver, TransformRecord& transform) {
    const bool reduced = presolver.preControl == PRECONTROL_REDUCED;
    transform.numLcont = transform.numRange = 0;
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (reduced && presolver.rowMap[i] < 0) continue;
        const char sense = reduced ? presolver.rowSense[i] : model.rowSense[i];
        if (sense == OVRELIN_ROW_LESS) ++transform.numLcont;
        if (sense == OVRELIN_ROW_RANGE) ++transform.numRange;
    }
}

/// The caller's model gets a slack column for each range row: the solution record grows.
Status growSolution(Stage& stage) {
    if (stage.transform.numRange == 0) return Status::ok;
    if (resumes(stage.options)) {
        logText(stage.instance,
                "user input initial solution + need to extend for range constraints");
        return Status::failed;
    }
    Model& model = *stage.model;
    stage.workSolution = nullptr;
    freeSolution(stage.instance, stage.inSolution);
    OV_TRY(allocSolution(stage.instance, stage.inSolution, model.numRow,
                         model.numCol + stage.transform.numRange, model.solPrimal, model.solDual));
    stage.workSolution = stage.inSolution;
    return Status::ok;
}

Status useTighterBounds(Stage& stage) {
    OV_TRY(growSolution(stage));
    exchangeBounds(*stage.model, stage.presolver);
    return markRelaxColBound(stage.instance, *stage.model, stage.options, stage.transform,
                             stage.presolver);
}

Status fillReducedModel(Stage& stage) {
    const Model& model = *stage.model;
    stage.workSolution = nullptr;
    OV_TRY(allocSolution(stage.instance, stage.workSolution, model.numRow,
                         model.numCol + stage.transform.numRange, model.solPrimal, model.solDual));
    const bool resume = resumes(stage.options);
    reduceModel(stage.instance, *stage.model, stage.options, stage.presolver,
                resume ? stage.inSolution : nullptr, resume ? stage.workSolution : nullptr);
    return markRelaxColBound(stage.instance, *stage.model, stage.options, stage.transform,
                             stage.presolver);
}

/// Puts a model of its own in the place of the caller's. On failure the caller's is back.
Status useReducedModel(Stage& stage) {
    Presolver& presolver = stage.presolver;
    if (presolver.inModel != nullptr) {
        logText(stage.instance,
                "Error: presolver->inModel must be NULL before generating the reduced model.");
        return Status::failed;
    }
    Model* reduced = allocReducedModel(stage.instance, *stage.model, stage.transform, presolver);
    if (reduced == nullptr) return Status::outOfMemory;
    presolver.inModel = stage.model;
    stage.model = reduced;
    const Status status = fillReducedModel(stage);
    if (isOk(status)) return status;
    freeSolution(stage.instance, stage.workSolution);
    freeReducedModel(presolver, nullptr);
    stage.model = presolver.inModel;
    presolver.inModel = nullptr;
    return status;
}

/// Everything from the working copies to the model that the solve will use.
Status reduce(Stage& stage, bool midSolve) {
    Model& model = *stage.model;
    Presolver& presolver = stage.presolver;
    const SolveOptions& options = stage.options;
    OV_TRY(initPresolver(stage.instance, model, options, presolver));
    // In mid-solve only what is empty or fixed already may go: a row that implies bounds carries a
    // dual that the way back to the point does not hand on.
    if (midSolve) presolver.doRowActivity = presolver.doSingletonRow = 0;
    OV_TRY(removeFreeRows(stage.instance, model, presolver));
    removeZeroElements(stage.instance, presolver);
    OV_TRY(checkColumnBounds(options, presolver));
    OV_TRY(runPasses(stage.instance, model, options, presolver, stage.inSolution));

    classifyRouteAfter(model, options, presolver);
    assignReducedIndex(presolver);
    decideControl(model, options, presolver);
    if (options.debugLevel > 0)
        OV_TRY(VerifyPresolveStructure(stage.instance, options, model, presolver));
    countRowKinds(model, presolver, stage.transform);
    switch (presolver.preControl) {
        case PRECONTROL_NONE:
            return growSolution(stage);
        case PRECONTROL_BOUND:
            return useTighterBounds(stage);
        default:
            return useReducedModel(stage);
    }
}

}  // namespace

Status presolveModel(SolverInstance* instance, Model*& model, const SolveOptions& options,
                     Presolver& presolver, TransformRecord& transform, IpmSolution*& inSolution,
                     IpmSolution*& workSolution, const Submodel* submodel) {
    const bool midSolve = submodel != nullptr || resumes(options);
    if ((inSolution != nullptr) != resumes(options) || workSolution != nullptr) {
        logText(instance, "solution pointer error before IPM pre-processing");
        if (!midSolve) printPresolveSummary(instance, *model, options, presolver);
        return Status::failed;
    }
    presolver.preControl = PRECONTROL_UNDECIDED;
    presolver.preRoute = PREROUTE_NORMAL;
    if (inSolution == nullptr) {
        OV_TRY(allocSolution(instance, inSolution, model->numRow, model->numCol, model->solPrimal,
                             model->solDual));
    }
    workSolution = inSolution;
    classifyRouteBefore(*model, options, presolver);
    if (presolver.preRoute == PREROUTE_DIRECT) {
        printPresolveSummary(instance, *model, options, presolver);
        return solveBeforeReductions(instance, *model, options, presolver, *inSolution, true);
    }

    Stage stage{instance, options, presolver, transform, model, inSolution, workSolution};
    const Status status = reduce(stage, midSolve);
    if (!midSolve) printPresolveSummary(instance, *model, options, presolver);
    OV_TRY(status);
    if (options.debugLevel > 0) OV_TRY(VerifyPresolveValue(instance, options, *model, presolver));
    if (model->numCoef == 0 && model->numQuadCoef == 0) {
        presolver.preRoute = PREROUTE_SOLVED_POST;
        return Status::optimal;
    }
    return presolver.preRoute == PREROUTE_DIRECT ? solveAfterReductions(stage) : Status::ok;
}

Status collectStatistics(SolverInstance* instance, Model& model, const SolveOptions& options,
                         Presolver& presolver, TransformRecord& transform, IpmSolution*& inSolution,
                         IpmSolution*& workSolution) {
    presolver.preControl = PRECONTROL_NONE;
    presolver.preRoute = PREROUTE_NORMAL;
    if (model.numCoef == 0 && model.numQuadCoef == 0) {
        logText(instance,
                "numCoef==0  numQuadCoef==0, external presolver should have solved this instance");
        return Status::failed;
    }
    classifyRouteBefore(model, options, presolver);
    if (presolver.preRoute == PREROUTE_DIRECT) {
        printPresolveSummary(instance, model, options, presolver);
        OV_TRY(allocSolution(instance, inSolution, model.numRow, model.numCol, model.solPrimal,
                             model.solDual));
        workSolution = inSolution;
        return solveBeforeReductions(instance, model, options, presolver, *inSolution, false);
    }
    countRowKinds(model, presolver, transform);
    OV_TRY(allocSolution(instance, inSolution, model.numRow, model.numCol + transform.numRange,
                         model.solPrimal, model.solDual));
    workSolution = inSolution;
    return VerifyPresolveDisabled(instance, options.debugLevel, presolver);
}

}  // namespace ovrelin
