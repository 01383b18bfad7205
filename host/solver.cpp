#include "host/solver.hpp"

#include <cmath>
#include <exception>
#include <new>
#include <string>
#include <utility>

#include "host/host_state.hpp"
#include "host/sinks.hpp"
#include "host/thread_context.hpp"

namespace ov {
namespace {

using Vector = std::vector<double>;

void checkOptions(const InstanceOptions& options) {
    const auto check = [](bool isGood, const char* name, const char* reason) {
        if (!isGood) throw InputError(std::string("options.") + name + ": " + reason);
    };
    const auto isTolerance = [](double value) { return value >= 0 && std::isfinite(value); };
    const char* const tolerance = "is not a finite number of at least 0";
    check(isTolerance(options.optimalityTol), "optimalityTol", tolerance);
    check(isTolerance(options.primalTol), "primalTol", tolerance);
    check(isTolerance(options.dualTol), "dualTol", tolerance);
    check(options.timeLimit >= 0, "timeLimit", "is not a number of at least 0");
    check(options.iterationLimit >= 0, "iterationLimit", "is negative");
    check(options.threadCount >= 1, "threadCount", "is below 1");
}

/// Infinite bounds become the finite value that stands for them, so that no arithmetic on an absent
/// bound makes a NaN.
void limitBounds(Vector& lower, Vector& upper) {
    for (double& bound : lower)
        if (bound < -OVRELIN_INFINITY_BOUND) bound = -OVRELIN_INFINITY_BOUND;
    for (double& bound : upper)
        if (bound > OVRELIN_INFINITY_BOUND) bound = OVRELIN_INFINITY_BOUND;
}

/// The working copy, with the arrays that a caller may leave out.
void copyProblem(const Problem& from, Problem& to) {
    to = from;
    to.quadDiag.resize(from.numCol());
    if (to.matrix.begin.empty()) to.matrix.begin.assign(from.numCol() + 1, 0);
    if (to.quad.begin.empty()) to.quad.begin.assign(from.numCol() + 1, 0);
    limitBounds(to.lower, to.upper);
}

void readMeasures(const ProblemInput& input, Result& result) {
    result.objective = input.objValue;
    result.iterations = input.iterations;
    result.primalInfeasibility = input.primalInfeas;
    result.dualInfeasibility = input.dualInfeas;
    result.boundInfeasibility = input.boundInfeas;
    result.dualityGap = input.dualityGap;
    result.complementarity = input.complementarity;
    result.preSeconds = input.preTime;
    result.solveSeconds = input.solveTime;
}

/// Calls visit(j, row, value) for every entry.
template <class Visit>
void forEachEntry(const SparseMatrix& matrix, Visit visit) {
    for (std::size_t j = 0; j + 1 < matrix.begin.size(); ++j) {
        const auto last = static_cast<std::size_t>(matrix.begin[j + 1]);
        for (auto k = static_cast<std::size_t>(matrix.begin[j]); k < last; ++k)
            visit(j, static_cast<std::size_t>(matrix.index[k]), matrix.value[k]);
    }
}

/// obj + Qx - matrix' dual
Vector reducedCost(const Problem& problem, const Vector& x, const Vector& dual) {
    Vector cost = problem.obj;
    for (std::size_t j = 0; j < problem.quadDiag.size(); ++j) cost[j] += problem.quadDiag[j] * x[j];
    forEachEntry(problem.quad, [&](std::size_t j, std::size_t k, double q) {
        cost[j] += q * x[k];
        cost[k] += q * x[j];
    });
    forEachEntry(problem.matrix,
                 [&](std::size_t j, std::size_t i, double a) { cost[j] -= a * dual[i]; });
    return cost;
}

std::uint8_t boundBits(double lower, double upper) {
    const int bits = (lower > -OVRELIN_INFINITY_BOUND ? OVRELIN_BOUND_LOWER : 0) |
                     (upper < OVRELIN_INFINITY_BOUND ? OVRELIN_BOUND_UPPER : 0);
    return static_cast<std::uint8_t>(bits);
}

double separableObjective(const SeparableProblem& problem, const Vector& x) {
    double sum = 0;
    for (std::size_t i = 0; i < x.size(); ++i)
        sum += (0.5 * problem.quadDiag[i] * x[i] + problem.linear[i]) * x[i];
    return sum;
}

}  // namespace

std::string_view statusText(std::int32_t returnValue) {
    switch (returnValue) {
        case OVRELIN_OPTIMAL:
            return "optimal";
        case OVRELIN_CONDITIONALLY_OPTIMAL:
            return "conditionally_optimal";
        case OVRELIN_PRIMAL_INFEASIBLE:
            return "primal_infeasible";
        case OVRELIN_DUAL_INFEASIBLE:
            return "dual_infeasible";
        case OVRELIN_INFEASIBLE_OR_UNBOUNDED:
            return "infeasible_or_unbounded";
        case OVRELIN_ITERATION_LIMIT:
            return "iteration_limit";
        case OVRELIN_TIME_LIMIT:
            return "time_limit";
        case OVRELIN_INTERRUPTED:
            return "interrupted";
        case OVRELIN_NOT_CONVEX:
        case OVRELIN_NOT_CONCAVE:
            return "not_convex";
        case OVRELIN_OUT_OF_MEMORY:
            return "out_of_memory";
        default:
            return "failed";
    }
}

struct Solver::State {
    explicit State(HostState* given) : host(given), messages(given) {}

    HostState* host;
    MessageWriter messages;
    ExtensionFactory* factory = nullptr;
    SolverInstance* instance = nullptr;
    std::function<bool()> isBreakWanted;
    std::exception_ptr thrownByBreak;
    Problem work;  // kept from solve to solve for its memory

    void makeInstance();
    void release();
    Result solve(const Problem& problem, const InstanceOptions* options);
    static int32_t checkBreak(void* data);
};

void Solver::State::makeInstance() {
    instance = static_cast<SolverInstance*>(factory->createInstance());
    if (instance == nullptr) {
        factory->releaseFactory(factory);
        throw std::bad_alloc();
    }
    if (host->options.textLog) instance->logSink = writeLog;
    if (host->options.messages) instance->messageSink = &messages;
}

void Solver::State::release() {
    const HostScope scope(host);
    instance->destroy(instance);
    factory->releaseFactory(factory);
}

int32_t Solver::State::checkBreak(void* data) {
    State& state = *static_cast<State*>(data);
    try {
        return state.isBreakWanted() ? 1 : 0;
    } catch (...) {
        state.thrownByBreak = std::current_exception();
        return 1;
    }
}

Result Solver::State::solve(const Problem& problem, const InstanceOptions* options) {
    checkProblem(problem);
    checkOptions(options != nullptr ? *options : instance->defaultOptions);
    copyProblem(problem, work);
    Result result;
    result.x.resize(problem.numCol());
    result.dual.resize(problem.numRow());
    result.activity.resize(problem.numRow());
    ProblemInput input = inputRecord(work);
    input.solPrimal = result.x.data();
    input.solDual = result.dual.data();
    input.rowActivity = result.activity.data();
    if (isBreakWanted) {
        input.checkSolverBreak = checkBreak;
        input.hostmodelDataStruct = this;
    }
    messages.started = std::chrono::steady_clock::now();
    {
        const HostScope scope(host);
        contextFor(host);  // from here on raiseStop() reaches this thread
        result.returnValue = options != nullptr
                                 ? instance->solveWithOptions(instance, &input, options)
                                 : instance->solve(instance, &input);
    }
    if (thrownByBreak) std::rethrow_exception(std::exchange(thrownByBreak, nullptr));
    result.status = statusText(result.returnValue);
    readMeasures(input, result);
    // A maximisation is solved as the minimisation of the negated objective; its duals are
    // returned.
    if (problem.objSense == maximise)
        for (double& dual : result.dual) dual = -dual;
    result.reducedCost = reducedCost(problem, result.x, result.dual);
    return result;
}

Solver::Solver(Host& host, std::string_view module)
    : state_(std::make_unique<State>(host.state_.get())) {
    const HostScope scope(state_->host);
    state_->factory = host.load(module);
    if (state_->factory == nullptr) throw LoadError(host.loadError());
    state_->makeInstance();
}

Solver::Solver(Host& host, ModuleExtent extent, ModuleEntry entry)
    : state_(std::make_unique<State>(host.state_.get())) {
    const HostScope scope(state_->host);
    if (extent(processServices()) != 0) throw LoadError("the module refuses the host's services");
    LoadedModule module;
    module.path = "the module";
    module.entry = entry;
    std::string reason;
    state_->factory = makeFactory(module, reason);
    if (state_->factory == nullptr) throw LoadError(reason);
    state_->makeInstance();
}

Solver::~Solver() {
    state_->release();
}

InstanceOptions& Solver::options() {
    return state_->instance->defaultOptions;
}

void Solver::setBreak(std::function<bool()> callback) {
    state_->isBreakWanted = std::move(callback);
}

Result Solver::solve(const Problem& problem) {
    return state_->solve(problem, nullptr);
}

Result Solver::solve(const Problem& problem, const InstanceOptions& options) {
    return state_->solve(problem, &options);
}

SeparableResult Solver::solveSingleConstraintQp(const SeparableProblem& problem) {
    checkProblem(problem);
    SeparableProblem work = problem;
    const std::size_t numVar = problem.quadDiag.size();
    std::vector<std::uint8_t> boundType(numVar);
    for (std::size_t i = 0; i < numVar; ++i)
        boundType[i] = boundBits(problem.lower[i], problem.upper[i]);
    limitBounds(work.lower, work.upper);
    SeparableResult result;
    result.x.resize(numVar);
    Vector scratch(6 * numVar);
    const auto part = [&](std::size_t k) { return scratch.data() + k * numVar; };
    SingleConstraintRequest request{};
    request.maxIterations = problem.maxIterations;
    request.infinityValue = OVRELIN_INFINITY_BOUND;
    request.primalTol = problem.primalTol;
    request.dualTol = problem.dualTol;
    request.gapTol = problem.gapTol;
    request.numVar = static_cast<std::int32_t>(numVar);
    request.quadDiag = work.quadDiag.data();
    request.linear = work.linear.data();
    request.lower = work.lower.data();
    request.upper = work.upper.data();
    request.rhs = problem.rhs;
    request.boundType = boundType.data();
    request.solution = result.x.data();
    request.lowerSlack = part(0);
    request.upperSlack = part(1);
    request.lowerDual = part(2);
    request.upperDual = part(3);
    request.step = part(4);
    request.invDiag = part(5);
    const HostScope scope(state_->host);
    result.returnValue = state_->instance->solveSingleConstraintQp(&request);
    result.iterations = request.iterations;
    result.primalResidual = request.primalResidual;
    result.dualResidual = request.dualResidual;
    result.gap = request.gap;
    // Not request.objective: the quick exits leave it unwritten, and it is from before the
    // clipping.
    result.objective = separableObjective(problem, result.x);
    return result;
}

ProblemStatistics Solver::matrixStatistics(const Problem& problem) {
    checkProblem(problem);
    copyProblem(problem, state_->work);
    ProblemInput input = inputRecord(state_->work);
    const HostScope scope(state_->host);
    if (state_->instance->matrixStatistics(state_->instance, &input) != 0) throw std::bad_alloc();
    return input.statistics;
}

SolverInstance* Solver::instance() {
    return state_->instance;
}

}  // namespace ov
