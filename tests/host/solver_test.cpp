// The solver's side of the C++ face, against a module whose solves answer as told: what
// the module is given, what comes back of it, and what may go wrong between.

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "frame/operations/exports.hpp"
#include "support/quiet_host.hpp"

namespace {

/// What the module does and has seen.
struct Script {
    int32_t returnValue = OVRELIN_OPTIMAL;
    std::vector<double> dual = {10, -20};
    int numBreaks = 0;
    double lower0 = 0, upper0 = 0;
    bool isRangeGiven = false;
    bool isInstanceRefused = false;
};
Script script;

int32_t solve(SolverInstance* instance, ProblemInput* p) {
    if (instance->logSink != nullptr) instance->logSink("%3zrows %d", p->numRow);
    if (instance->messageSink != nullptr)
        instance->messageSink->send(instance->messageSink, 2, OVRELIN_MSG_OPTIMAL);
    script.lower0 = p->lower[0];
    script.upper0 = p->upper[0];
    script.isRangeGiven = p->range != nullptr;
    while (p->checkSolverBreak != nullptr && script.numBreaks < 5) {
        ++script.numBreaks;
        if (p->checkSolverBreak(p->hostmodelDataStruct) != 0) return OVRELIN_INTERRUPTED;
    }
    for (int32_t j = 0; j < p->numCol; ++j) p->solPrimal[j] = j + 1;
    for (int32_t i = 0; i < p->numRow; ++i)
        p->solDual[i] = script.dual[static_cast<std::size_t>(i)];
    // A module may leave the arrays changed when it fails; the reduced costs are the caller's.
    for (int32_t j = 0; j < p->numCol; ++j) p->obj[j] = p->lower[j] = p->quadDiag[j] = 77;
    for (int32_t k = 0; k < p->numCoef; ++k) p->matValue[k] = 77;
    p->objValue = 42;
    p->iterations = 3;
    p->solveTime = 0.5;
    p->primalInfeas = 1;
    p->dualInfeas = 2;
    p->boundInfeas = 3;
    p->dualityGap = 4;
    p->complementarity = 5;
    return script.returnValue;
}

int32_t solveWithOptions(SolverInstance* instance, ProblemInput* p,
                         const InstanceOptions* options) {
    const int32_t result = solve(instance, p);
    p->iterations = options->iterationLimit;
    return result;
}

void* (*createReal)(void) = nullptr;

void* createInstance() {
    if (script.isInstanceRefused) return nullptr;
    auto* instance = static_cast<SolverInstance*>(createReal());
    instance->solve = solve;
    instance->solveWithOptions = solveWithOptions;
    return instance;
}

ExtensionFactory* entry(void* ignored, MemoryPool* parentPool) {
    ExtensionFactory* factory = ovrelinEntry(ignored, parentPool);
    createReal = factory->createInstance;
    factory->createInstance = createInstance;
    return factory;
}

/// obj + Qx - matrix' dual = by hand in the tests below
ov::Problem model() {
    ov::Problem p;
    p.obj = {1, 2};
    p.quadDiag = {4, 2};
    p.quad = {{0, 1, 1}, {1}, {3}};
    p.matrix = {{0, 2, 3}, {0, 1, 1}, {5, 6, 7}};
    p.rowSense = {'G', 'L'};
    p.rhs = {1, 2};
    p.lower = {-ov::infinity, 0};
    p.upper = {ov::infinity, 9};
    return p;
}

class SolverFace : public testing::Test {
protected:
    Script& fresh = script = Script();
    ovtest::Listener listener;
    std::vector<std::string>& lines = listener.lines;
    ov::Host host{listener.options()};
    ov::Solver solver{host, ovextent, entry};
};

TEST_F(SolverFace, ResultsAreThoseOfTheCallersProblem) {
    const ov::Result result = solver.solve(model());
    EXPECT_EQ(result.status, "optimal");
    EXPECT_EQ(result.objective, 42);
    EXPECT_EQ(result.iterations, 3);
    EXPECT_EQ(result.solveSeconds, 0.5);
    const std::vector<double> measures = {result.primalInfeasibility, result.dualInfeasibility,
                                          result.boundInfeasibility, result.dualityGap,
                                          result.complementarity};
    EXPECT_EQ(measures, (std::vector<double>{1, 2, 3, 4, 5}));
    EXPECT_EQ(result.x, (std::vector<double>{1, 2}));
    EXPECT_EQ(result.dual, (std::vector<double>{10, -20}));
    // column 0: 1 + 4*1 + 3*2 - 5*10 + 6*20; column 1: 2 + 2*2 + 3*1 + 7*20
    EXPECT_EQ(result.reducedCost, (std::vector<double>{81, 149}));
    EXPECT_EQ(script.lower0, -1e20);
    EXPECT_EQ(script.upper0, 1e20);
    EXPECT_FALSE(script.isRangeGiven);
    EXPECT_EQ(lines, (std::vector<std::string>{"rows 2", "Optimal."}));

    ov::Problem maximised = model();
    maximised.objSense = ov::maximise;
    const ov::Result negated = solver.solve(maximised);
    EXPECT_EQ(negated.dual, (std::vector<double>{-10, 20}));
    // column 0: 1 + 4 + 6 + 5*10 - 6*20; column 1: 2 + 4 + 3 - 7*20
    EXPECT_EQ(negated.reducedCost, (std::vector<double>{-59, -131}));
}

TEST_F(SolverFace, EveryReturnValueHasItsStatus) {
    const struct {
        int32_t value;
        const char* status;
        bool isSolved, hasPoint;
    } cases[] = {{0, "optimal", true, true},
                 {9, "conditionally_optimal", true, true},
                 {2, "primal_infeasible", false, false},
                 {3, "dual_infeasible", false, false},
                 {23, "infeasible_or_unbounded", false, false},
                 {5, "iteration_limit", false, true},
                 {10, "time_limit", false, true},
                 {99, "interrupted", false, false},
                 {6, "not_convex", false, false},
                 {7, "not_convex", false, false},
                 {8, "failed", false, false},
                 {1, "out_of_memory", false, false},
                 {1234, "failed", false, false}};
    for (const auto& c : cases) {
        script.returnValue = c.value;
        const ov::Result result = solver.solve(model());
        EXPECT_EQ(result.returnValue, c.value);
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(result.isSolved(), c.isSolved) << c.status;
        EXPECT_EQ(result.hasPoint(), c.hasPoint) << c.status;
    }
}

TEST_F(SolverFace, BreakIsAskedAndItsExceptionsComeThrough) {
    EXPECT_EQ(solver.solve(model()).status, "optimal");
    EXPECT_EQ(script.numBreaks, 0);
    int asked = 0;
    solver.setBreak([&] { return ++asked == 3; });
    EXPECT_EQ(solver.solve(model()).status, "interrupted");
    EXPECT_EQ(asked, 3);
    script.numBreaks = 0;
    solver.setBreak([]() -> bool { throw std::runtime_error("the caller's own"); });
    EXPECT_THROW((void)solver.solve(model()), std::runtime_error);
    EXPECT_EQ(script.numBreaks, 1);
    solver.setBreak({});
    EXPECT_EQ(solver.solve(model()).status, "optimal");
}

TEST_F(SolverFace, OptionsAreCheckedAndHandedOver) {
    InstanceOptions given = solver.options();
    given.iterationLimit = 17;
    EXPECT_EQ(solver.solve(model(), given).iterations, 17);
    EXPECT_EQ(solver.solve(model()).iterations, 3);
    const double nan = std::nan("");
    const auto refuses = [&](auto member, auto value) {
        InstanceOptions bad = solver.options();
        bad.*member = value;
        EXPECT_THROW((void)solver.solve(model(), bad), ov::InputError) << value;
    };
    refuses(&InstanceOptions::primalTol, nan);
    refuses(&InstanceOptions::dualTol, -1.0);
    refuses(&InstanceOptions::optimalityTol, ov::infinity);
    refuses(&InstanceOptions::timeLimit, nan);
    refuses(&InstanceOptions::timeLimit, -1.0);
    refuses(&InstanceOptions::threadCount, 0);
    refuses(&InstanceOptions::iterationLimit, -1);
    given.timeLimit = ov::infinity;
    given.presolver = 99;  // the module's to answer
    EXPECT_NO_THROW((void)solver.solve(model(), given));
    ov::Problem malformed = model();
    malformed.obj[0] = nan;
    EXPECT_THROW((void)solver.solve(malformed), ov::InputError);
}

TEST_F(SolverFace, SinksCanBeLeftUnset) {
    ov::HostOptions silent = listener.options();
    silent.textLog = silent.messages = false;
    ov::Host quiet(silent);
    ov::Solver mute(quiet, ovextent, entry);
    EXPECT_EQ(mute.solve(model()).status, "optimal");
    EXPECT_TRUE(lines.empty());
    EXPECT_EQ(mute.instance()->logSink, nullptr);
    EXPECT_EQ(mute.instance()->messageSink, nullptr);
}

TEST_F(SolverFace, NeitherItsEndNorAFailedConstructionLeavesAnything) {
    ov::Host other(ovtest::quietHost());
    { const ov::Solver ended(other, ovextent, entry); }
    EXPECT_EQ(other.memory().livePools, 0u);
    script.isInstanceRefused = true;
    EXPECT_THROW(ov::Solver(other, ovextent, entry), std::bad_alloc);
    EXPECT_THROW(ov::Solver(other, "no_such_module"), ov::LoadError);
    EXPECT_EQ(other.memory().livePools, 0u);
}

// Each solver speaks to, and draws on, its own host, whichever host is the youngest.
TEST_F(SolverFace, SolversOfTwoHostsDoNotMix) {
    ovtest::Listener other;
    ov::Host second(other.options());
    ov::Solver ofSecond(second, ovextent, entry);
    EXPECT_EQ(host.memory().livePools, 2u);
    EXPECT_EQ(second.memory().livePools, 2u);
    (void)solver.solve(model());
    EXPECT_EQ(lines.size(), 2u);
    EXPECT_TRUE(other.lines.empty());
    (void)ofSecond.solve(model());
    EXPECT_EQ(lines.size(), 2u);
    EXPECT_EQ(other.lines.size(), 2u);
}

}  // namespace
