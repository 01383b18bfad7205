// ovsolve as its users meet it before any solve: usage, missing and malformed models.
#include <gtest/gtest.h>

#include "process.hpp"

namespace ov::test {
namespace {

TEST(Command, WrongUsageIs64AndGoesToStandardError) {
    using Arguments = std::vector<std::string>;
    std::vector<Arguments> wrong = {{},
                                    {""},
                                    {"a.mps", "b.mps"},
                                    {"--no-such-option", "a.mps"},
                                    {"--time-limit", "a.mps"},
                                    {"--maximize", "--minimize", "a.mps"}};
    for (const auto& [option, value] :
         std::vector<std::pair<const char*, const char*>>{{"--time-limit", "-1"},
                                                          {"--time-limit", "nan"},
                                                          {"--iteration-limit", "1.5"},
                                                          {"--optimality-tol", "0"},
                                                          {"--primal-tol", "1e-x"},
                                                          {"--threads", "0"},
                                                          {"--threads", "99999999999999"},
                                                          {"--presolve", "maybe"},
                                                          {"--print-frequency", "-3"}})
        wrong.push_back({option, value, "a.mps"});
    for (const auto& arguments : wrong) {
        const Outcome run = ovsolve(arguments);
        const std::string shown = testing::PrintToString(arguments);
        EXPECT_EQ(run.exitCode, 64) << shown;
        EXPECT_EQ(run.out, "") << shown;
        EXPECT_EQ(run.err.substr(0, 9), "ovsolve: ") << shown;
    }
    for (const auto& arguments : {std::vector<std::string>{"--thread", "2", "a.mps"}, {"--thread"}})
        EXPECT_EQ(ovsolve(arguments).err.find("ovsolve: unknown option --thread\n"), 0U);
}

TEST(Command, VersionAndHelp) {
    const Outcome version = ovsolve({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out.substr(0, 8), "ovsolve ");
    const Outcome help = ovsolve({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"--json", "--solution", "--time-limit", "--wall-clock", "--iteration-limit",
          "--optimality-tol", "--primal-tol", "--dual-tol", "--threads", "--presolve",
          "--print-frequency", "--quiet", "--stats", "--maximize", "--minimize", "--version"})
        EXPECT_NE(help.out.find(option), std::string::npos) << option;
}

TEST(Command, MissingFileIs66) {
    for (const char* flag : {"--json", "--quiet", "--stats"}) {
        const Outcome run = ovsolve({flag, "/no/such/model.mps"});
        EXPECT_EQ(run.exitCode, 66);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "/no/such/model.mps: no such file\n");
    }
}

TEST(Command, MalformedModelIs65WithLineAndReason) {
    const TempFile model("bad.qps", "ROWS\n N c\n G r\nCOLUMNS\n x r 1\n x R9 1\nENDATA\n");
    const TempFile solution("kept.sol", "precious");  // of an earlier run
    const Outcome byName = ovsolve({"--json", "--solution", solution.path(), model.path()});
    EXPECT_EQ(byName.exitCode, 65);
    EXPECT_EQ(solution.content(), "precious");
    EXPECT_EQ(byName.out, "");
    EXPECT_EQ(byName.err, model.path() + ":6: unknown row 'R9'\n");
    const Outcome byInput = ovsolve({"-"}, model.path());
    EXPECT_EQ(byInput.exitCode, 65);
    EXPECT_EQ(byInput.err, "<stdin>:6: unknown row 'R9'\n");
    EXPECT_EQ(ovsolve({OVRELIN_SOURCE_DIR}).exitCode, 65);  // a folder
    EXPECT_EQ(ovsolve({"-"}).exitCode, 65);                 // nothing at all
}

TEST(Command, UnwritableOutputIs1) {
    const Outcome run =
        ovsolve({"--solution", "/no/such/folder/x.sol", "--json", kExamples + "blend.qps"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(run.err.find("/no/such/folder/x.sol"), std::string::npos);
    EXPECT_EQ(ovsolve({"--solution", "/dev/full", "--quiet", kExamples + "blend.qps"}).exitCode, 1);
}

}  // namespace
}  // namespace ov::test
