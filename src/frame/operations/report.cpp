#include "frame/operations/report.hpp"

#include "frame/log.hpp"

namespace ovrelin {
namespace {

// The threadMode that warrants a warning.
constexpr int32_t warnedThreadMode = 2;

void note(const SolverInstance* instance, std::uint32_t id) {
    sendMessage(instance, OVRELIN_LEVEL_NOTE, id);
}

void noteWithObjective(const SolverInstance* instance, std::uint32_t id, double objValue) {
    note(instance, id);
    sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_OBJECTIVE, objValue);
}

void notePrimalInfeasible(const SolverInstance* instance, const Model& model) {
    note(instance, OVRELIN_MSG_PRIMAL_INFEASIBLE);
    if (model.typeModel == modelTypeLp) note(instance, OVRELIN_MSG_LP_PRIMAL_INFEASIBLE);
}

void noteNotConvex(const SolverInstance* instance, const Model& model) {
    note(instance, model.objSense == -1 ? OVRELIN_MSG_NOT_CONCAVE : OVRELIN_MSG_NOT_CONVEX);
    sendMessage(instance, OVRELIN_LEVEL_WARNING, OVRELIN_MSG_CONVEXITY_ADVICE);
}

}  // namespace

void reportThreads(const SolverInstance* instance, const SolveOptions& options) {
    if (options.printLevel == 0 || options.threadCount < 2) return;
    if (options.threadMode == warnedThreadMode)
        sendMessage(instance, OVRELIN_LEVEL_WARNING, OVRELIN_MSG_THREAD_MODE);
    note(instance, OVRELIN_MSG_THREADS);
    sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_THREAD_COUNT, options.threadCount);
}

void reportEnding(const SolverInstance* instance, const Model& model, const SolveOptions& options) {
    if (options.printLevel == 0) return;
    const double objValue = model.objValue;
    switch (model.status) {
        case Status::optimal:
            return noteWithObjective(instance, OVRELIN_MSG_OPTIMAL, objValue);
        case Status::conditionallyOptimal:
            return noteWithObjective(instance, OVRELIN_MSG_CONDITIONALLY_OPTIMAL, objValue);
        case Status::primalInfeasible:
        case Status::primalInfeasibleAlt:
            return notePrimalInfeasible(instance, model);
        case Status::dualInfeasible:
            return note(instance, OVRELIN_MSG_DUAL_INFEASIBLE);
        case Status::infeasibleBoth:
            return note(instance, OVRELIN_MSG_INFEASIBLE_OR_UNBOUNDED);
        case Status::iterationLimit:
            return noteWithObjective(instance, OVRELIN_MSG_ITERATION_LIMIT, objValue);
        case Status::timeLimit:
            return noteWithObjective(
                instance,
                options.realTime != 0 ? OVRELIN_MSG_TIME_LIMIT_REAL : OVRELIN_MSG_TIME_LIMIT_CPU,
                objValue);
        case Status::outOfMemory:
            return sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_OUT_OF_MEMORY);
        case Status::interrupted:
            return sendMessage(instance, OVRELIN_LEVEL_WARNING, OVRELIN_MSG_INTERRUPTED);
        case Status::notConvex:
            return noteNotConvex(instance, model);
        case Status::failed:
            return note(instance, OVRELIN_MSG_FAILED);
        default:
            return note(instance, OVRELIN_MSG_OTHER_STATUS);
    }
}

void reportTime(const SolverInstance* instance, const SolveOptions& options, double seconds) {
    if (options.printLevel == 0) return;
    sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_SOLVE_TIME, seconds);
}

}  // namespace ovrelin
