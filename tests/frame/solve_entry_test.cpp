// The doors of a solve: what they refuse, what they say, and that the caller's arrays come back.

#include "frame/operations/solve_entry.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <limits>

#include "frame/host_services.hpp"
#include "frame/operations/handover.hpp"
#include "frame/operations/report.hpp"
#include "frame_fixture.hpp"
#include "support/models.hpp"

namespace {

using ovrelin::Status;
using ovtest::FrameTest;

/// A problem as the operation takes it, on arrays of its own.
struct Input {
    ov::Problem data;
    std::vector<double> x, y, activity;
    ProblemInput record{};

    explicit Input(ov::Problem problem) : data(std::move(problem)) {
        x.assign(data.numCol(), 99);
        y.assign(data.numRow(), 99);
        activity.assign(data.numRow(), 0);
        record = ov::inputRecord(data);
        record.solPrimal = x.data();
        record.solDual = y.data();
        record.rowActivity = activity.data();
        record.iterations = -5;
        record.objValue = record.dualityGap = record.solveTime = -5;
    }
};

void negateObjective(ov::Problem& p) {
    p.objSense = -p.objSense;
    p.objConstant = -p.objConstant;
    for (auto* values : {&p.obj, &p.quadDiag, &p.quad.value})
        for (double& v : *values) v = -v;
}

/// Two columns in a range row whose rhs + range rounds, a range row of width 0, and a stray range.
ov::Problem rangeProblem() {
    ov::Problem p;
    p.obj = {-0.1, 0.3};
    p.objConstant = 0.7;
    p.quadDiag = {0.1, 0.3};
    p.quad = {{0, 1, 1}, {1}, {0.01}};
    p.matrix = {{0, 3, 6}, {0, 1, 2, 0, 1, 2}, {0.1, 1, 1, 0.3, -1, 1}};
    p.rowSense = {'R', 'R', 'L'};
    p.rhs = {0.1, 0.25, 50};
    p.range = {0.7, 0, 123};
    p.lower = {-10, -10};
    p.upper = {10, 10};
    return p;
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

void expectRestored(const Input& input, ov::Problem expected) {
    for (std::size_t i = 0; i < expected.numRow(); ++i) {
        const bool range = expected.rowSense[i] == 'R' && expected.range[i] != 0;
        if (expected.rowSense[i] == 'R' && !range) expected.rowSense[i] = 'E';
        if (!range && !expected.range.empty()) expected.range[i] = 0;
    }
    const ov::Problem& is = input.data;
    EXPECT_TRUE(sameBits(is.obj, expected.obj) && sameBits(is.quadDiag, expected.quadDiag));
    EXPECT_TRUE(sameBits(is.quad.value, expected.quad.value));
    EXPECT_TRUE(sameBits(is.matrix.value, expected.matrix.value));
    EXPECT_TRUE(sameBits(is.rhs, expected.rhs) && sameBits(is.range, expected.range));
    EXPECT_TRUE(sameBits(is.lower, expected.lower) && sameBits(is.upper, expected.upper));
    EXPECT_EQ(is.rowSense, expected.rowSense);
    EXPECT_EQ(is.matrix.index, expected.matrix.index);
    EXPECT_EQ(input.record.objConstant, expected.objConstant);
}

bool allZero(const Input& input) {
    const auto zero = [](double v) { return v == 0; };
    return std::all_of(input.x.begin(), input.x.end(), zero) &&
           std::all_of(input.y.begin(), input.y.end(), zero) &&
           std::all_of(input.activity.begin(), input.activity.end(), zero);
}

TEST_F(FrameTest, ArraysComeBackToTheBitOnEveryEnding) {
    struct Ending {
        std::int32_t iterationLimit;
        std::int32_t (*checkBreak)(void*);
        std::int32_t returnValue;
        bool keepsPoint;
    };
    const Ending endings[] = {
        {1000, nullptr, OVRELIN_OPTIMAL, true},
        {2, nullptr, OVRELIN_ITERATION_LIMIT, true},
        {1000, [](void*) { return std::int32_t{1}; }, OVRELIN_INTERRUPTED, false}};
    for (const Ending& ending : endings) {
        for (const bool maximise : {false, true}) {
            ov::Problem given = rangeProblem();
            if (maximise) negateObjective(given);
            Input input(given);
            input.record.checkSolverBreak = ending.checkBreak;
            InstanceOptions options = instance->defaultOptions;
            options.iterationLimit = ending.iterationLimit;
            EXPECT_EQ(instance->solveWithOptions(instance, &input.record, &options),
                      ending.returnValue);
            expectRestored(input, given);
            EXPECT_EQ(allZero(input), !ending.keepsPoint);
            EXPECT_GE(input.record.iterations, 0);
            EXPECT_GT(input.record.solveTime, 0);
            const ProblemInput& r = input.record;
            const std::array returned{r.complementarity, r.dualityGap, r.primalInfeas,
                                      r.boundInfeas, r.dualInfeas};
            if (ending.keepsPoint) {
                EXPECT_EQ(returned, recorder.measures);
            }
            EXPECT_EQ(instance->presolverExtension, nullptr);
            EXPECT_EQ(instance->presolverInstance, nullptr);
        }
    }
}

// The objective is that of the caller's problem, constant included, whichever way it is written.
TEST_F(FrameTest, MaximisationIsTheNegatedMinimisation) {
    Input minimised(rangeProblem());
    ov::Problem negated = rangeProblem();
    negateObjective(negated);
    Input maximised(negated);
    ASSERT_EQ(instance->solve(instance, &minimised.record), OVRELIN_OPTIMAL);
    ASSERT_EQ(instance->solve(instance, &maximised.record), OVRELIN_OPTIMAL);
    EXPECT_EQ(minimised.x, maximised.x);
    EXPECT_EQ(minimised.record.objValue, -maximised.record.objValue);
    const std::vector<double>& x = minimised.x;
    const double value = 0.7 - 0.1 * x[0] + 0.3 * x[1] + 0.05 * x[0] * x[0] + 0.15 * x[1] * x[1] +
                         0.01 * x[0] * x[1];
    EXPECT_NEAR(minimised.record.objValue, value, 1e-12);
    EXPECT_NEAR(minimised.activity[1], x[0] - x[1], 1e-12);
}

TEST_F(FrameTest, NumbersBeyondTheLimitAreRefusedWithoutASolve) {
    using Place = double& (*)(ov::Problem&);
    const Place places[] = {[](ov::Problem& p) -> double& { return p.matrix.value[4]; },
                            [](ov::Problem& p) -> double& { return p.obj[1]; },
                            [](ov::Problem& p) -> double& { return p.quadDiag[0]; },
                            [](ov::Problem& p) -> double& { return p.quad.value[0]; },
                            [](ov::Problem& p) -> double& { return p.rhs[2]; },
                            [](ov::Problem& p) -> double& { return p.range[0]; }};
    for (const Place place : places) {
        for (const double huge : {2e151, -2e151}) {
            ov::Problem given = rangeProblem();
            place(given) = huge;
            Input input(given);
            EXPECT_EQ(instance->solve(instance, &input.record), OVRELIN_FAILED);
            EXPECT_TRUE(recorder.messages.empty());
            EXPECT_EQ(input.record.iterations, -5);
            EXPECT_EQ(input.record.objValue, -5);
            EXPECT_EQ(input.record.preTime, 0);
            EXPECT_GE(input.record.solveTime, 0);
            EXPECT_EQ(input.x[0], 99);
        }
    }
    // the limit itself is a number like any other, and a bound may be anything
    ov::Problem given = rangeProblem();
    given.upper[0] = 1e300;
    given.range[2] = 1e300;  // not a range row: overwritten before it is looked at
    Input input(given);
    EXPECT_EQ(instance->solve(instance, &input.record), OVRELIN_OPTIMAL);
    EXPECT_EQ(input.data.range[2], 0);
}

/// The host's table with siblings that cannot be loaded or give no instance.
struct Sabotage {
    static inline HostServices* real = nullptr;
    static inline std::wstring victim;
    static inline bool loads = false;
    static inline ExtensionFactory broken{};
    static inline int released = 0;
    HostServices table{};

    Sabotage() {
        real = ovrelin::hostServices;
        released = 0;
        table.createPool = [](HostServices*, HostDescriptor* d, MemoryPool* parent,
                              const char* name) { return real->createPool(real, d, parent, name); };
        table.currentContext = [](HostServices*) { return real->currentContext(real); };
        table.queryClock = real->queryClock;
        table.loadExtension = [](HostServices*, const wchar_t* name, std::uint64_t length,
                                 std::uint64_t zero) -> ExtensionFactory* {
            if (victim != std::wstring(name, length))
                return real->loadExtension(real, name, length, zero);
            return loads ? &broken : nullptr;
        };
        broken.createInstance = []() -> void* { return nullptr; };
        broken.releaseFactory = [](ExtensionFactory*) { return std::int32_t{released++ * 0}; };
        ovextent(&table);
    }
    ~Sabotage() { ovextent(real); }
};

TEST_F(FrameTest, AMissingSiblingEndsTheSolveAsOutOfMemory) {
    struct Case {
        const wchar_t* victim;
        bool loads;
        std::vector<std::uint32_t> ids;
        bool measuresTime;
    };
    const Case cases[] = {
        {L"ovperf", false, {}, false},
        {L"ovperf", true, {}, false},
        {L"ovelppre", false, {OVRELIN_MSG_PRESOLVER_MISSING}, true},
        {L"ovelppre", true, {OVRELIN_MSG_PRESOLVER_NO_INSTANCE}, true},
    };
    const std::uint64_t live = host.memory().liveBlocks;
    for (const Case& test : cases) {
        Sabotage sabotage;
        Sabotage::victim = test.victim;
        Sabotage::loads = test.loads;
        recorder.messages.clear();
        Input input(rangeProblem());
        EXPECT_EQ(instance->solve(instance, &input.record), OVRELIN_OUT_OF_MEMORY);
        EXPECT_EQ(recorder.ids(), test.ids);
        for (const auto& message : recorder.messages) EXPECT_EQ(message.level, OVRELIN_LEVEL_ERROR);
        EXPECT_EQ(Sabotage::released, test.loads ? 1 : 0);
        EXPECT_EQ(instance->presolverExtension, nullptr);
        EXPECT_GE(input.record.solveTime, 0);
        EXPECT_EQ(input.record.iterations, -5);
        EXPECT_EQ(host.memory().liveBlocks, live);
        const ov::Problem given = rangeProblem();  // not even the stray range was touched
        EXPECT_TRUE(sameBits(input.data.rhs, given.rhs) && sameBits(input.data.range, given.range));
        EXPECT_EQ(input.data.rowSense, given.rowSense);
    }
}

TEST_F(FrameTest, HandoverNeedsItsSiblingAndAPoint) {
    Sabotage sabotage;
    Sabotage::victim = L"ovelpps";
    ovrelin::Model model{};
    for (const bool loads : {false, true}) {
        Sabotage::loads = loads;
        recorder.messages.clear();
        model.status = Status::optimal;
        EXPECT_EQ(ovrelin::runHandover(instance, model), Status::outOfMemory);
        EXPECT_EQ(recorder.ids(),
                  std::vector<std::uint32_t>{loads ? OVRELIN_MSG_HANDOVER_NO_INSTANCE
                                                   : OVRELIN_MSG_HANDOVER_MISSING});
    }
    EXPECT_EQ(Sabotage::released, 1);
    recorder.messages.clear();
    for (const Status status : {Status::iterationLimit, Status::timeLimit, Status::failed,
                                Status::interrupted, Status::outOfMemory}) {
        model.status = status;
        EXPECT_EQ(ovrelin::runHandover(instance, model), status);
    }
    EXPECT_TRUE(recorder.messages.empty());
}

TEST_F(FrameTest, EveryStatusHasItsMessages) {
    using Ids = std::vector<std::uint32_t>;
    constexpr std::int32_t lp = ovrelin::modelTypeLp, qp = ovrelin::modelTypeQp;
    const struct {
        std::int32_t status;
        std::int32_t level;  // of the first
        Ids ids;
        std::int32_t type = qp, realTime = 0, objSense = 1;
    } cases[] = {{1, 2, {0x827fd001, 0x827fd002}},
                 {15, 2, {0x827fd009, 0x827fd002}},
                 {3, 2, {0x827fd00e}},
                 {3, 2, {0x827fd00e, 0x827fda37}, lp},
                 {256, 2, {0x827fd00e}},
                 {4, 2, {0x827fd007}},
                 {14, 2, {0x827fd00f}},
                 {7, 2, {0x827fd008, 0x827fd002}},
                 {8, 2, {0x827fd00b, 0x827fd002}},
                 {8, 2, {0x827fd00c, 0x827fd002}, qp, 1},
                 {-1086, 4, {0x827fd006}},
                 {12, 3, {0x827fd011}},
                 {1000, 2, {0x827fd866, 0x827fd868}},
                 {1000, 2, {0x827fd867, 0x827fd868}, qp, 0, -1},
                 {10, 2, {0x827fd00d}},
                 {100, 2, {0x827fd012}},
                 {0, 2, {0x827fd012}}};
    ovrelin::Model model{};
    model.objValue = 2.5;
    ovrelin::SolveOptions options{};
    const auto report = [&] {
        recorder.messages.clear();
        ovrelin::reportEnding(instance, model, options);
        return recorder.ids();
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.status);
        model.status = static_cast<Status>(test.status);
        model.typeModel = test.type;
        model.objSense = test.objSense;
        options.realTime = test.realTime;
        options.printLevel = 1;
        ASSERT_EQ(report(), test.ids);
        EXPECT_EQ(recorder.messages[0].level, test.level);
        if (test.ids.back() == OVRELIN_MSG_OBJECTIVE) {
            EXPECT_EQ(recorder.messages[1].number, 2.5);
        }
        if (test.ids.back() == 0x827fd868) {
            EXPECT_EQ(recorder.messages[1].level, 3);
        }
        options.printLevel = 0;
        EXPECT_EQ(report(), Ids{});
    }
}

TEST_F(FrameTest, ThePresolverReportsItsSettingAndWhatIsLeft) {
    InstanceOptions options = instance->defaultOptions;
    for (const auto& [setting, first] : {std::pair<int, std::uint32_t>{-1, 0},
                                         {0, OVRELIN_MSG_PRESOLVE_869},
                                         {2, 0},
                                         {7, OVRELIN_MSG_PRESOLVE_86E}}) {
        std::vector<std::uint32_t> expected;
        if (first != 0) expected.push_back(first);
        if (setting != 0)
            expected.insert(expected.end(), {OVRELIN_MSG_PRESOLVE_86A, OVRELIN_MSG_PRESOLVE_86F,
                                             OVRELIN_MSG_PRESOLVE_870, OVRELIN_MSG_PRESOLVE_9B4});
        expected.insert(expected.end(),
                        {OVRELIN_MSG_PRESOLVE_864, OVRELIN_MSG_PRESOLVE_805, OVRELIN_MSG_OPTIMAL,
                         OVRELIN_MSG_OBJECTIVE, OVRELIN_MSG_SOLVE_TIME});
        options.presolver = setting;
        recorder.messages.clear();
        Input input(ovtest::smallQuadratic());
        EXPECT_EQ(instance->solveWithOptions(instance, &input.record, &options), OVRELIN_OPTIMAL);
        EXPECT_EQ(recorder.ids(), expected) << setting;
    }
}

TEST_F(FrameTest, ASolveSpeaksInOrderAndASilentOneHasTheSameResult) {
    InstanceOptions options = instance->defaultOptions;
    options.threadCount = 2;
    options.threadMode = 2;
    Input input(ovtest::smallQuadratic());
    ASSERT_EQ(instance->solveWithOptions(instance, &input.record, &options), OVRELIN_OPTIMAL);
    std::vector<std::uint32_t> ids = recorder.ids();
    // what the presolver says of itself comes before, between or not at all
    std::erase_if(ids, [](std::uint32_t id) {
        return id != OVRELIN_MSG_THREAD_MODE && id != OVRELIN_MSG_THREADS &&
               id != OVRELIN_MSG_THREAD_COUNT && id != OVRELIN_MSG_OPTIMAL &&
               id != OVRELIN_MSG_OBJECTIVE && id != OVRELIN_MSG_SOLVE_TIME;
    });
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{OVRELIN_MSG_THREAD_MODE, OVRELIN_MSG_THREADS,
                                               OVRELIN_MSG_THREAD_COUNT, OVRELIN_MSG_OPTIMAL,
                                               OVRELIN_MSG_OBJECTIVE, OVRELIN_MSG_SOLVE_TIME}));
    const auto objective =
        std::find_if(recorder.messages.begin(), recorder.messages.end(),
                     [](const auto& message) { return message.id == OVRELIN_MSG_OBJECTIVE; });
    EXPECT_EQ(objective->number, input.record.objValue);

    instance->messageSink = nullptr;
    instance->logSink = nullptr;
    Input again(ovtest::smallQuadratic());
    EXPECT_EQ(instance->solveWithOptions(instance, &again.record, &options), OVRELIN_OPTIMAL);
    EXPECT_EQ(again.x, input.x);
    EXPECT_EQ(again.record.objValue, input.record.objValue);
}

}  // namespace
