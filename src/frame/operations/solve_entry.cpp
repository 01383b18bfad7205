#include "frame/operations/solve_entry.hpp"

#include <algorithm>

#include "frame/operations/caller_arrays.hpp"
#include "frame/operations/sibling.hpp"
#include "frame/operations/solve_driver.hpp"
#include "frame/solver_timer.hpp"
#include "ovrelin/codes.h"

namespace ovrelin {
namespace {

constexpr int32_t maximise = -1;

std::int32_t returnValue(Status status, int32_t objSense) {
    switch (status) {
        case Status::optimal:
            return OVRELIN_OPTIMAL;
        case Status::conditionallyOptimal:
            return OVRELIN_CONDITIONALLY_OPTIMAL;
        case Status::primalInfeasible:
        case Status::primalInfeasibleAlt:
            return OVRELIN_PRIMAL_INFEASIBLE;
        case Status::dualInfeasible:
            return OVRELIN_DUAL_INFEASIBLE;
        case Status::infeasibleBoth:
            return OVRELIN_INFEASIBLE_OR_UNBOUNDED;
        case Status::iterationLimit:
            return OVRELIN_ITERATION_LIMIT;
        case Status::timeLimit:
            return OVRELIN_TIME_LIMIT;
        case Status::outOfMemory:
            return OVRELIN_OUT_OF_MEMORY;
        case Status::interrupted:
            return OVRELIN_INTERRUPTED;
        case Status::notConvex:
            return objSense == maximise ? OVRELIN_NOT_CONCAVE : OVRELIN_NOT_CONVEX;
        default:
            return OVRELIN_FAILED;
    }
}

void fillOptions(const InstanceOptions& given, const SolverParameters& parameters,
                 SolveOptions& options) {
    options.presolver = given.presolver;
    options.debugLevel = parameters.debugLevel;
    options.realTime = given.realTime;
    options.primalTol = given.primalTol;
    options.dualTol = given.dualTol;
    options.optimalityTol = given.optimalityTol;
    options.infinity = infinityBound;
    options.iterationLimit = given.iterationLimit;
    options.timeLimit = given.timeLimit;
    options.printFrequency = given.printFrequency;
    options.printLevel = given.printFrequency < 1 ? 1 : 2;
    options.threadCount = given.threadCount;
    options.threadMode = given.threadMode;
    options.parameters = parameters;
}

// A limit still has a point worth keeping; a verdict of infeasibility or a failure has none.
bool keepsPoint(Status status) {
    return status == Status::optimal || status == Status::conditionallyOptimal ||
           status == Status::iterationLimit || status == Status::timeLimit;
}

void copyResults(const Model& model, ProblemInput& problem) {
    problem.objValue = model.objValue;
    problem.iterations = model.iterations;
    problem.primalInfeas = model.primalInfeas;
    problem.dualInfeas = model.dualInfeas;
    problem.boundInfeas = model.boundInfeas;
    problem.dualityGap = model.dualityGap;
    problem.complementarity = model.complementarity;
}

Status solveView(SolverInstance* instance, ProblemInput& problem, const InstanceOptions& given,
                 const SolverParameters& parameters, SolverTimer* timer) {
    PoolObject<Model> model;
    PoolObject<SolveOptions> options;
    DerivedArrays derived;
    OV_TRY(model.make(instance->pool));
    viewProblem(problem, *model);
    OV_TRY(options.make(instance->pool));
    fillOptions(given, parameters, *options);
    OV_TRY(makeDerivedArrays(instance->pool, *model, derived));

    const bool negated = problem.objSense == maximise;
    if (negated) {
        negateObjective(*model);
        model->objConstant = -model->objConstant;
    }
    raiseRangeRows(*model);
    OV_TRY(checkNumbers(*model));
    std::fill_n(model->rowActivity, model->numRow, 0.0);
    const Status status = solveDriver(instance, model.get(), options.get(), timer);
    if (negated) negateObjective(*model);
    lowerRangeRows(*model, derived);
    if (!keepsPoint(status)) zeroResults(*model);
    copyResults(*model, problem);
    return status;
}

Status solveTimed(SolverInstance* instance, ProblemInput& problem, const InstanceOptions& given,
                  const SolverParameters& parameters, SolverTimer* timer) {
    OV_TRY(loadScalingSibling(instance));
    const Status status = solveView(instance, problem, given, parameters, timer);
    releaseScalingSibling(instance);
    return status;
}

}  // namespace

std::int32_t solveEntry(SolverInstance* instance, ProblemInput* problem,
                        const InstanceOptions* options, const SolverParameters& parameters) {
    Status status = Status::ok;
    double seconds = 0.0;
    SolverTimer* timer = createSolverTimer(instance, instance->pool, &status);
    if (timer != nullptr) {
        timer->realTime = options->realTime;
        setLimit(timer, options->timeLimit);
        start(timer);
        status = solveTimed(instance, *problem, *options, parameters, timer);
        seconds = elapsed(timer);
        destroySolverTimer(instance->pool, &timer);
    }
    problem->preTime = 0.0;
    problem->solveTime = seconds;
    return returnValue(status, problem->objSense);
}

std::int32_t solveWithOptions(SolverInstance* instance, ProblemInput* problem,
                              const InstanceOptions* options) {
    return solveEntry(instance, problem, options, SolverParameters{});
}

std::int32_t solve(SolverInstance* instance, ProblemInput* problem) {
    return solveEntry(instance, problem, &instance->defaultOptions, SolverParameters{});
}

}  // namespace ovrelin
