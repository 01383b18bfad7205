// Solves through ovsolve: the whole road from a model file to JSON, solution file and exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "cli/model_problem.hpp"
#include "modelio/read_model.hpp"
#include "process.hpp"
#include "support/ov_problem.hpp"

namespace ov::test {
namespace {

constexpr double kTol = 1e-5;

struct Table {
    std::vector<double> first, second;
};

std::string nextLine(std::istream& in) {
    std::string line;
    std::getline(in, line);
    return line;
}

// The numbers are the last two words of a line; what stands before them is the name.
Table readTable(std::istream& in, const std::string& head, const std::vector<std::string>& names) {
    EXPECT_EQ(nextLine(in), head + " " + std::to_string(names.size()));
    Table table;
    for (const std::string& name : names) {
        const std::string line = nextLine(in);
        const std::size_t second = line.rfind(' ');
        const std::size_t first = line.rfind(' ', second - 1);
        EXPECT_EQ(line.substr(0, first), name);
        table.first.push_back(std::stod(line.substr(first + 1)));
        table.second.push_back(std::stod(line.substr(second + 1)));
    }
    return table;
}

void expectNear(const std::vector<double>& got, const std::vector<double>& expected) {
    for (std::size_t k = 0; k < got.size(); ++k)
        EXPECT_NEAR(got[k], expected[k], kTol * (1 + std::abs(expected[k]))) << k;
}

/// The conditions of optimality of a solution file against its model, checked from the text alone:
/// form, feasibility, signs of duals and where they act, reduced costs and the objective.
void expectOptimal(const modelio::ModelData& model, const std::string& text) {
    std::istringstream in(text);
    EXPECT_EQ(nextLine(in), "# ovsolve solution");
    EXPECT_EQ(nextLine(in), "status optimal");
    const std::string line = nextLine(in);
    EXPECT_EQ(line.substr(0, 10), "objective ");
    const Table columns = readTable(in, "columns", model.colName);
    const Table rows = readTable(in, "rows", model.rowName);
    EXPECT_EQ(nextLine(in), "");
    const ovtest::SmallProblem p = ovtest::toSmall(cli::toProblem(model));
    EXPECT_LT(ovtest::kktViolation(p, columns.first, rows.second), kTol);
    expectNear(rows.first, p.activity(columns.first));
    expectNear(columns.second, p.reducedCost(columns.first, rows.second));
    expectNear({std::stod(line.substr(10))}, {p.objective(columns.first)});
}

nlohmann::json jsonOf(const Outcome& run) {
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 1) << run.out;
    return nlohmann::json::parse(run.out);
}

TEST(Solve, ExamplesAreOptimal) {
    for (const char* example : {"blend.qps", "transport.mps", "portfolio.qps"}) {
        SCOPED_TRACE(example);
        const std::string path = kExamples + example;
        const TempFile solution("x.sol");
        const Outcome run = ovsolve({"--json", path, "--solution", solution.path()});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        const auto json = jsonOf(run);
        const modelio::ModelData model = modelio::readModel(path);
        EXPECT_EQ(json["name"], model.name);
        EXPECT_EQ(json["rows"], model.numRow);
        EXPECT_EQ(json["columns"], model.numCol);
        EXPECT_EQ(json["nonzeros"], model.matValue.size());
        EXPECT_EQ(json["returnValue"], 0);
        EXPECT_EQ(json["status"], "optimal");
        EXPECT_GT(json["iterations"].get<int>(), 0);
        EXPECT_LT(json["primalInfeasibility"].get<double>(), kTol);
        EXPECT_LT(json["dualityGap"].get<double>(), kTol);
        expectOptimal(model, solution.content());
    }
}

TEST(Solve, SenseOptionsOverrideTheModel) {
    const std::string path = kExamples + "transport.mps";
    const auto least = jsonOf(ovsolve({"--json", path}));
    EXPECT_NEAR(least["objective"].get<double>(), 380, 1e-3);
    const TempFile solution("max.sol");
    const auto most =
        jsonOf(ovsolve({"--json", "--maximize", "--solution", solution.path(), path}));
    EXPECT_NEAR(most["objective"].get<double>(), 580, 1e-3);
    modelio::ModelData model = modelio::readModel(path);
    model.objSense = -1;
    expectOptimal(model, solution.content());
}

TEST(Solve, ObjectivesThatBendTheWrongWayAre6WithTheirEigenvalue) {
    const std::string saddle =
        "ROWS\n N c\n G r\nCOLUMNS\n x c 1 r 1\n y c 1 r 1\nRHS\n RHS r 1\n"
        "QUADOBJ\n x x 1\n x y 2\n y y 1\nENDATA\n";
    const TempFile model("saddle.qps", saddle);
    const TempFile solution("none.sol");
    const Outcome table = ovsolve({"--solution", solution.path(), model.path()});
    EXPECT_EQ(table.exitCode, 6);
    EXPECT_NE(table.out.find("Smallest eigenvalue of the quadratic term: -1\n"), std::string::npos);
    EXPECT_NE(table.out.find("The objective is not convex.\n"), std::string::npos);
    EXPECT_EQ(solution.content().find("# ovsolve solution\nstatus not_convex"), 0U);
    const Outcome least = ovsolve({"--json", model.path()});
    EXPECT_EQ(least.exitCode, 6);
    EXPECT_EQ(jsonOf(least)["returnValue"], 6);
    EXPECT_EQ(jsonOf(least)["status"], "not_convex");
    const Outcome most = ovsolve({"--json", "--maximize", model.path()});
    EXPECT_EQ(most.exitCode, 6);
    EXPECT_EQ(jsonOf(most)["returnValue"], 7);
    EXPECT_EQ(jsonOf(most)["status"], "not_convex");
    const Outcome words = ovsolve({"--maximize", model.path()});
    EXPECT_NE(words.out.find("Largest eigenvalue of the quadratic term: 3\n"), std::string::npos);
    EXPECT_NE(words.out.find("The objective is not concave.\n"), std::string::npos);
}

TEST(Solve, InfeasibleAndUnboundedModels) {
    const TempFile solution("none.sol");
    const Outcome infeasible =
        ovsolve({"--json", "--solution", solution.path(), kExamples + "overbooked.mps"});
    EXPECT_TRUE(infeasible.exitCode == 2 || infeasible.exitCode == 4) << infeasible.exitCode;
    const std::string status = jsonOf(infeasible)["status"];
    EXPECT_EQ(solution.content().find("# ovsolve solution\nstatus " + status), 0U);
    const TempFile descent("descent.mps",
                           "ROWS\n N c\n G r\nCOLUMNS\n x c -1 r 1\nRHS\n r 1\nENDATA\n");
    const Outcome falling = ovsolve({"--json", descent.path()});
    EXPECT_TRUE(falling.exitCode == 3 || falling.exitCode == 4) << falling.exitCode;
}

TEST(Solve, LimitsStopWith5AndKeepAPoint) {
    const TempFile solution("limit.sol");
    const Outcome run = ovsolve({"--json", "--iteration-limit", "2", "--solution", solution.path(),
                                 kExamples + "blend.qps"});
    EXPECT_EQ(run.exitCode, 5);
    EXPECT_EQ(jsonOf(run)["status"], "iteration_limit");
    EXPECT_NE(solution.content().find("status iteration_limit"), std::string::npos);
    EXPECT_EQ(solution.content().find("CLAY 0 "), std::string::npos);
}

TEST(Solve, StandardInputAndCompressedAreTheSame) {
    const auto byName = jsonOf(ovsolve({"--json", kExamples + "blend.qps"}));
    const auto byInput = jsonOf(ovsolve({"--json", "-"}, kExamples + "blend.qps"));
    EXPECT_EQ(byName["objective"], byInput["objective"]);
    EXPECT_EQ(byName["iterations"], byInput["iterations"]);
}

TEST(Solve, OutputSaysWhatHappens) {
    const Outcome run = ovsolve({kExamples + "blend.qps", "--stats"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    for (const char* part : {"ovsolve ", "1 thread", "5 rows, 7 columns, 19 nonzeros",
                             "right-hand side", "Iteration", "Optimal", "209.9485"})
        EXPECT_NE(run.out.find(part), std::string::npos) << part << "\n" << run.out;
    const Outcome quiet = ovsolve({kExamples + "blend.qps", "--stats", "--quiet"});
    EXPECT_EQ(quiet.exitCode, 0);
    EXPECT_EQ(quiet.out + quiet.err, "");
    const Outcome sparse = ovsolve({kExamples + "blend.qps", "--print-frequency", "0"});
    EXPECT_EQ(sparse.out.find("Iteration"), std::string::npos);
}

TEST(Solve, WarningsOfTheReaderGoToStandardError) {
    const TempFile model("warn.mps",
                         "ROWS\n N c\n G r\nCOLUMNS\n x c 1 r 1\nRHS\n r -9\nBOUNDS\n"
                         " UP b x -3\nENDATA\n");
    const Outcome run = ovsolve({"--json", model.path()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NEAR(jsonOf(run)["objective"].get<double>(), -9, 1e-4);
    EXPECT_EQ(run.err.find(model.path() + ":9: warning: negative upper bound"), 0U) << run.err;
    EXPECT_EQ(ovsolve({"--quiet", model.path()}).err, "");
    // a model without a name goes by its file's
    EXPECT_NE(ovsolve({model.path()}).out.find("Model " + model.path() + ": 1 rows"),
              std::string::npos);
}

// Long enough to be interrupted: every factorisation is one dense matrix of order 1500.
std::string longModel() {
    constexpr int kSize = 1500;
    std::mt19937 engine(3);
    std::string text = "NAME long\nROWS\n N cost\n";
    for (int i = 0; i < kSize; ++i) text += " G r" + std::to_string(i) + "\n";
    text += "COLUMNS\n";
    for (int j = 0; j < kSize; ++j) {
        const std::string name = " x" + std::to_string(j);
        text += name + " cost 1\n";
        for (int i = 0; i < kSize; i += 1 + static_cast<int>(engine() % 20))
            text += name + " r" + std::to_string(i) + " " + std::to_string(1 + engine() % 9) + "\n";
    }
    text += "RHS\n";
    for (int i = 0; i < kSize; ++i) text += " r" + std::to_string(i) + " 1\n";
    return text + "ENDATA\n";
}

TEST(Solve, InterruptStopsWith5AndWritesTheSolutionFile) {
    const TempFile model("long.mps", longModel());
    const TempFile solution("long.sol");
    for (const int signal : {SIGINT, SIGTERM}) {
        const Outcome run =
            ovsolve({model.path(), "--solution", solution.path()}, "/dev/null", signal);
        EXPECT_EQ(run.exitCode, 5) << run.out << run.err;
        EXPECT_EQ(solution.content().find("# ovsolve solution\nstatus interrupted"), 0U);
        EXPECT_NE(solution.content().find("\nrows 1500\n"), std::string::npos);
    }
}

}  // namespace
}  // namespace ov::test
