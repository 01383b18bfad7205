// The linked module on the embedded host, with a recorder of messages; random models on arrays of
// their own.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdarg>
#include <random>
#include <vector>

#include "frame/operations/exports.hpp"
#include "frame/solver_records.hpp"
#include "host/ov.hpp"
#include "support/model_data.hpp"
#include "support/ov_problem.hpp"
#include "support/quiet_host.hpp"

namespace ovtest {

/// One numbered message; `number` is its double argument where it has exactly one.
struct SentMessage {
    std::int32_t level;
    std::uint32_t id;
    double number;
    bool operator==(const SentMessage&) const = default;
};

/// A message sink that records everything but the iteration log, of which it keeps the measures in
/// the last line: complementarity, gap, primal, bound and dual infeasibility.
struct Recorder {
    MessageSink sink{&Recorder::receive};  // first member: the sink's address is the recorder's
    std::vector<SentMessage> messages;
    std::array<double, 5> measures{};

    static void receive(MessageSink* sink, std::int32_t level, std::uint32_t id, ...) {
        Recorder& recorder = *reinterpret_cast<Recorder*>(sink);
        double number = 0;
        std::va_list arguments;
        va_start(arguments, id);
        if (id == OVRELIN_MSG_OBJECTIVE || id == OVRELIN_MSG_SOLVE_TIME)
            number = va_arg(arguments, double);
        if (id == OVRELIN_MSG_ITERATION) {
            (void)va_arg(arguments, int);
            for (double& measure : recorder.measures) measure = va_arg(arguments, double);
        }
        va_end(arguments);
        if (level < OVRELIN_LEVEL_HEADING) recorder.messages.push_back({level, id, number});
    }
    [[nodiscard]] std::vector<std::uint32_t> ids() const {
        std::vector<std::uint32_t> out;
        for (const SentMessage& message : messages) out.push_back(message.id);
        return out;
    }
};

class FrameTest : public testing::Test {
protected:
    FrameTest() {
        ovextent(host.services());
        factory = ovrelinEntry(nullptr, nullptr);
        instance = static_cast<SolverInstance*>(factory->createInstance());
        instance->messageSink = &recorder.sink;
    }
    ~FrameTest() override {
        instance->destroy(instance);
        factory->terminate(factory);
        EXPECT_EQ(host.memory().livePools, 0u);
    }

    ov::Host host{quietHost()};
    Recorder recorder;
    ExtensionFactory* factory = nullptr;
    SolverInstance* instance = nullptr;
};

/// A random model bound as `type`, its numbers multiples of 1/4, so that sums and products of
/// a few of them are exact, and a point. With room, the arrays have space for a slack column a row.
struct DrawnModel : ModelData {
    SmallProblem small;
    ov::Problem before;
    std::vector<double> x, y;  // the point

    DrawnModel(std::uint64_t seed, std::int32_t type, const Shape& shape, bool withRoom = false) {
        std::mt19937_64 random(seed);
        small = drawProblem(random, shape);
        static_cast<ov::Problem&>(*this) = toProblem(small);
        if (withRoom) makeRoom();
        bind(type);
        model.numCol = small.numCol;
        model.numCoef = matrix.begin[static_cast<std::size_t>(small.numCol)];
        for (auto* v : {&solPrimal, &solDual})
            for (double& number : *v) number = static_cast<double>(random() % 129) / 8 - 8;
        x = solPrimal;
        y = solDual;
        before = *this;
    }

    void makeRoom() {
        const std::size_t n = numCol() + numRow();
        for (auto* v : {&obj, &lower, &upper, &quadDiag}) v->resize(n);
        for (auto* m : {&quad, &matrix}) m->begin.resize(n + 1, m->begin.back());
        matrix.index.resize(matrix.index.size() + numRow());
        matrix.value.resize(matrix.index.size());
    }

    /// Whether the arrays of the model's own columns hold what they did.
    void expectRestored() const {
        const auto n = static_cast<std::size_t>(small.numCol);
        const auto count = static_cast<std::size_t>(matrix.begin[n]);
        EXPECT_EQ(model.numCol, small.numCol);
        EXPECT_EQ(count, static_cast<std::size_t>(before.matrix.begin[n]));
        const auto expectSame = [](const auto& got, const auto& expected, std::size_t size) {
            EXPECT_TRUE(std::equal(got.begin(), got.begin() + static_cast<std::ptrdiff_t>(size),
                                   expected.begin()))
                << testing::PrintToString(got) << " is not " << testing::PrintToString(expected);
        };
        for (auto member :
             {&ov::Problem::obj, &ov::Problem::quadDiag, &ov::Problem::lower, &ov::Problem::upper})
            expectSame(this->*member, before.*member, n);
        expectSame(matrix.value, before.matrix.value, count);
        expectSame(quad.value, before.quad.value, quad.value.size());
        EXPECT_EQ(rhs, before.rhs);
        EXPECT_EQ(range, before.range);
        EXPECT_EQ(rowSense, before.rowSense);
        expectSame(solPrimal, x, n);
        EXPECT_EQ(solDual, y);
    }
};

}  // namespace ovtest
