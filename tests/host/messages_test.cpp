// What the module says and what becomes of it: every id of the interface has a text that takes its
// arguments, the iteration table lines up with its headings, and the text log's directives work.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/host_state.hpp"
#include "host/message_catalogue.hpp"
#include "host/sinks.hpp"
#include "host/thread_context.hpp"
#include "ovrelin/codes.h"

namespace {

std::string render(std::int32_t level, std::uint32_t id, ...) {
    std::va_list arguments;
    va_start(arguments, id);
    std::string line = ov::renderMessage(level, id, 12.345, arguments);
    va_end(arguments);
    return line;
}

/// The ids that the public header defines.
std::set<std::uint32_t> idsOfHeader() {
    std::ifstream file(std::string(OVRELIN_SOURCE_DIR) + "/include/ovrelin/codes.h");
    std::set<std::uint32_t> ids;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string define, name, value;
        words >> define >> name >> value;
        if (define == "#define" && name.rfind("OVRELIN_MSG_", 0) == 0)
            ids.insert(static_cast<std::uint32_t>(std::stoul(value, nullptr, 16)));
    }
    return ids;
}

TEST(Messages, EveryIdHasItsOwnText) {
    const std::set<std::uint32_t> ids = idsOfHeader();
    ASSERT_GE(ids.size(), 30u);
    std::set<std::string> texts;
    for (std::size_t k = 0; k < ov::numMessages(); ++k) {
        const ov::CatalogueEntry& entry = ov::firstMessage()[k];
        EXPECT_EQ(ids.count(entry.id), 1u) << std::hex << entry.id;
        EXPECT_TRUE(texts.insert(entry.text).second) << entry.text;
        // A placeholder for each argument, and no more.
        const std::string text = entry.text;
        EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '{')),
                  std::string(entry.arguments).size())
            << text;
    }
    EXPECT_EQ(ov::numMessages(), ids.size());
    for (const std::uint32_t id : ids) EXPECT_NE(ov::findMessage(id), nullptr) << std::hex << id;
}

TEST(Messages, ArgumentsAreReadInOrderAndByType) {
    EXPECT_EQ(render(2, OVRELIN_MSG_OBJECTIVE, -1234.5), "Objective = -1234.5.");
    EXPECT_EQ(render(2, OVRELIN_MSG_SOLVE_TIME, 0.25), "Solve time = 0.250 seconds.");
    EXPECT_EQ(render(2, OVRELIN_MSG_THREAD_COUNT, 7), "Threads: 7.");
    EXPECT_EQ(render(2, OVRELIN_MSG_PRESOLVE_86F, 3, 9), "Presolve removed 3 columns and 9 rows.");
    EXPECT_EQ(render(2, OVRELIN_MSG_PRESOLVE_9B4, 1, 2, 3),
              "The presolved problem has 1 columns, 2 rows and 3 matrix elements.");
    EXPECT_EQ(render(4, OVRELIN_MSG_PRESOLVE_86E, -9),
              "ERROR: The presolve setting -9 is unknown.");
    EXPECT_EQ(render(3, OVRELIN_MSG_INTERRUPTED), "WARNING: The solve is interrupted.");
    EXPECT_EQ(render(2, 0x12345678u), "Message 0x12345678 of level 2.");
}

TEST(Messages, IterationTableLinesUp) {
    const std::string second = render(100, OVRELIN_MSG_HEADING_SECOND);
    EXPECT_EQ(render(100, OVRELIN_MSG_HEADING_FIRST).size(), second.size());
    for (const int iteration : {0, 7, 123456}) {
        const std::string line =
            render(101, OVRELIN_MSG_ITERATION, iteration, 1.5, -2e-300, 3e+200, 0.0, 5.25e-7);
        EXPECT_EQ(line.size(), second.size()) << line;
        std::istringstream words(line);
        for (const double expected : {double(iteration), 1.5, -2e-300, 3e+200, 0.0, 5.25e-7}) {
            double value = -1;
            words >> value;
            EXPECT_NEAR(value, expected, 1e-6 * std::abs(expected)) << line;
        }
        double seconds = 0;
        words >> seconds;
        EXPECT_NEAR(seconds, 12.345, 0.006);
    }
}

TEST(Log, DirectivesAreTakenOff) {
    const struct {
        const char* format;
        int level;
        char stream;
        const char* rest;
    } cases[] = {
        {"%1zInput with %d", 1, 'z', "Input with %d"},
        {"%2zsummary", 2, 'z', "summary"},
        {"%3zThe value", 3, 'z', "The value"},
        {"%7hTRACE: %m         numRow = %d", 7, 'h', "TRACE:          numRow = %d"},
        {"Error ipmSolve: unknown model type.", 0, '\0', "Error ipmSolve: unknown model type."},
        {"%d columns", 0, '\0', "%d columns"},
        {"%15.7g", 0, '\0', "%15.7g"},
        {"%zu", 0, '\0', "%zu"},
        {"%12z", 12, 'z', ""},
        {"%", 0, '\0', "%"},
        {"%7", 0, '\0', "%7"},
        {"", 0, '\0', ""},
        {"%3z100%% %m%d%%m", 3, 'z', "100%% %d%%m"},
    };
    for (const auto& c : cases) {
        const ov::LogFormat parsed = ov::parseLogFormat(c.format);
        EXPECT_EQ(parsed.level, c.level) << c.format;
        EXPECT_EQ(parsed.stream, c.stream) << c.format;
        EXPECT_EQ(parsed.format, c.rest) << c.format;
    }
}

struct Said {
    ov::LineKind kind;
    std::string text;
};

TEST(Log, LinesGoToTheHostInUseByLevelAndStream) {
    std::vector<Said> said;
    ov::HostOptions options;
    options.output = [&](const ov::Line& line) {
        said.push_back({line.kind, std::string(line.text)});
    };
    ov::HostState host(options);
    const ov::HostScope scope(&host);
    const auto speak = [](ov::HostState&) {
        ov::writeLog("%1zInput model with numRange=%d, however %d", 2, 3);
        ov::writeLog("%2zpresolver control = REDUCED\n");
        ov::writeLog("%7hTRACE: %m  x = %15.7g", 0.5);
        ov::writeLog("Error ipmSolve: %s, %c", std::string(400, 'x').c_str(), 'q');
    };
    speak(host);
    ASSERT_EQ(said.size(), 3u);  // no trace at the default level
    EXPECT_EQ(said[0].text, "WARNING: Input model with numRange=2, however 3");
    EXPECT_EQ(said[0].kind, ov::LineKind::log);
    EXPECT_EQ(said[1].text, "presolver control = REDUCED");
    EXPECT_EQ(said[2].text, "Error ipmSolve: " + std::string(400, 'x') + ", q");
    EXPECT_EQ(said[2].kind, ov::LineKind::error);
    said.clear();
    host.options.logLevel = 7;
    speak(host);
    ASSERT_EQ(said.size(), 4u);
    EXPECT_EQ(said[2].text, "TRACE:   x =             0.5");
    EXPECT_EQ(said[2].kind, ov::LineKind::trace);
}

TEST(Log, MessagesKeepTheirIdAndAThrowingReceiverIsContained) {
    std::vector<std::uint32_t> ids;
    ov::HostOptions options;
    options.output = [&](const ov::Line& line) {
        ids.push_back(line.messageId);
        throw std::runtime_error("full disk");
    };
    ov::HostState host(options);
    ov::MessageWriter writer(&host);
    MessageSink* sink = &writer;
    sink->send(sink, 2, OVRELIN_MSG_OPTIMAL);
    sink->send(sink, 2, OVRELIN_MSG_OBJECTIVE, 1.0);
    EXPECT_EQ(ids, (std::vector<std::uint32_t>{OVRELIN_MSG_OPTIMAL, OVRELIN_MSG_OBJECTIVE}));
}

}  // namespace
