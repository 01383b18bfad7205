// The linked module on the embedded host, with a recorder of messages and a model that owns its
// arrays.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdarg>
#include <random>
#include <vector>

#include "frame/operations/exports.hpp"
#include "frame/solver_records.hpp"
#include "host/ov.hpp"
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

/// A Model on vectors, with spare room for range columns.
struct OwnedModel {
    std::vector<std::int32_t> colBegin, colLength, rowIndex, quadColBegin, quadColLength, quadRow;
    std::vector<double> matValue, quadDiag, quadValue, obj, rhs, range, lower, upper;
    std::vector<double> x, y, reducedCost, activity;
    std::vector<char> sense;
    bool operator==(const OwnedModel&) const = default;

    [[nodiscard]] ovrelin::Model view(std::int32_t type, std::int32_t numCol) {
        ovrelin::Model m{};
        m.typeModel = type;
        m.numRow = static_cast<std::int32_t>(sense.size());
        m.numCol = numCol;
        m.numCoef = colBegin[static_cast<std::size_t>(numCol)];
        m.numQuadCoef = quadColBegin[static_cast<std::size_t>(numCol)];
        m.objSense = 1;
        m.colBegin = colBegin.data();
        m.colLength = colLength.data();
        m.rowIndex = rowIndex.data();
        m.matValue = matValue.data();
        m.quadDiag = quadDiag.data();
        m.quadColBegin = quadColBegin.data();
        m.quadColLength = quadColLength.data();
        m.quadRowIndex = quadRow.data();
        m.quadMatValue = quadValue.data();
        m.obj = obj.data();
        m.rhs = rhs.data();
        m.range = range.data();
        m.lower = lower.data();
        m.upper = upper.data();
        m.rowSense = sense.data();
        m.solPrimal = x.data();
        m.solDual = y.data();
        m.reducedCost = reducedCost.data();
        m.rowActivity = activity.data();
        return m;
    }
};

/// Numbers are multiples of 1/8 below 64, so that sums and products of a few of them are exact.
inline double eighths(std::mt19937_64& random) {
    return std::uniform_int_distribution<int>(-64, 64)(random) / 8.0;
}

/// A random model with all senses of `senses` and all kinds of bounds, zero bounds included.
inline OwnedModel drawModel(std::uint64_t seed, std::size_t numRow, std::size_t numCol,
                            const std::string& senses) {
    std::mt19937_64 random(seed);
    const auto pick = [&](std::size_t n) { return random() % n; };
    OwnedModel m;
    m.colBegin.push_back(0);
    m.quadColBegin.push_back(0);
    for (std::size_t i = 0; i < numRow; ++i) {
        m.sense.push_back(senses[pick(senses.size())]);
        m.rhs.push_back(eighths(random));
        m.range.push_back(m.sense[i] == 'R' ? std::fabs(eighths(random)) + 1 : 0.0);
    }
    for (std::size_t j = 0; j < numCol; ++j) {
        for (std::size_t i = 0; i < numRow; ++i) {
            if (pick(2) == 0) continue;
            m.rowIndex.push_back(static_cast<std::int32_t>(i));
            m.matValue.push_back(eighths(random));
        }
        for (std::size_t k = j + 1; k < numCol; ++k) {
            if (pick(3) != 0) continue;
            m.quadRow.push_back(static_cast<std::int32_t>(k));
            m.quadValue.push_back(eighths(random));
        }
        m.colBegin.push_back(static_cast<std::int32_t>(m.rowIndex.size()));
        m.colLength.push_back(m.colBegin[j + 1] - m.colBegin[j]);
        m.quadColBegin.push_back(static_cast<std::int32_t>(m.quadRow.size()));
        m.quadColLength.push_back(m.quadColBegin[j + 1] - m.quadColBegin[j]);
        m.quadDiag.push_back(std::fabs(eighths(random)));
        m.obj.push_back(pick(3) == 0 ? 0.0 : eighths(random));
        const double lower = pick(4) == 0 ? 0.0 : eighths(random);
        const double upper =
            pick(4) == 0 && lower < 0 ? 0.0 : lower + 1 + std::fabs(eighths(random));
        m.lower.push_back(pick(3) == 0 ? -1e20 : lower);
        m.upper.push_back(pick(3) == 0 ? 1e20 : upper);
        m.x.push_back(eighths(random));
    }
    m.reducedCost.resize(numCol);
    m.activity.resize(numRow);
    for (std::size_t i = 0; i < numRow; ++i) m.y.push_back(eighths(random));
    return m;
}

/// Room for one more column per 'R' row.
inline void makeRoom(OwnedModel& m) {
    const std::size_t n = m.obj.size() + m.sense.size();
    for (auto* v : {&m.obj, &m.lower, &m.upper, &m.x, &m.quadDiag, &m.reducedCost}) v->resize(n);
    for (auto* v : {&m.colLength, &m.quadColLength}) v->resize(n);
    for (auto* v : {&m.colBegin, &m.quadColBegin}) v->resize(n + 1);
    m.rowIndex.resize(m.rowIndex.size() + m.sense.size());
    m.matValue.resize(m.matValue.size() + m.sense.size());
}

}  // namespace ovtest
