// Random models, written in every dialect and read back; and what is written of a solution.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "cli/model_problem.hpp"
#include "modelio/read_model.hpp"
#include "modelio/solution_file.hpp"
#include "modelio/summary_json.hpp"
#include "support/ov_problem.hpp"

namespace ov::modelio {
namespace {

constexpr double kInf = 1e20;
using Pairs = std::vector<std::pair<std::string, double>>;

/// Writes a model in one of the dialects, its names with blanks or without; `random` makes the
/// choices that must not matter.
class Writer {
public:
    Writer(const Problem& problem, bool fixed, bool blanks, std::mt19937_64& random)
        : p_(problem), fixed_(fixed), blank_(blanks ? " " : ""), random_(random) {}

    [[nodiscard]] std::string row(std::size_t i) const { return fmt::format("r{}{}", blank_, i); }
    [[nodiscard]] std::string column(std::size_t j) const {
        return fmt::format("c{}{}", blank_, j);
    }

    std::string run() {
        text_ = fixed_ ? "NAME          random\n" : "NAME random\n";
        if (p_.objSense < 0) text_ += chance() ? "OBJSENSE MAX\n" : "OBJSENSE\n    MAX\n";
        rows();
        columns();
        vectors();
        bounds();
        quad();
        return text_ + "ENDATA\n";
    }

private:
    bool chance() { return random_() % 2 == 0; }

    void line(std::string_view code, const std::string& name, const std::string& key = "",
              const std::string& value = "") {
        text_ += fixed_ ? fmt::format(" {:<2} {:<8}  {:<8}  {:>12}\n", code, name, key, value)
                        : fmt::format(" {} {} {} {}\n", code, name, key, value);
    }
    /// One or two pairs a line.
    void lines(const std::string& name, const Pairs& pairs) {
        for (std::size_t k = 0; k < pairs.size(); ++k) {
            line("", name, pairs[k].first, fmt::format("{}", pairs[k].second));
            if (k + 1 == pairs.size() || chance()) continue;
            text_.pop_back();
            ++k;
            text_ += fmt::format("   {:<8}  {}\n", pairs[k].first, pairs[k].second);
        }
    }
    /// Names of sets may be left out, in fixed format without a mark.
    std::string set() { return fixed_ && chance() ? "" : "set"; }

    // An 'R' row is written as any of the senses that can carry a range.
    void rows() {
        text_ += "ROWS\n";
        line("N", "obj");
        for (std::size_t i = 0; i < p_.numRow(); ++i) {
            written_ += p_.rowSense[i] == 'R' ? "EEGL"[random_() % 4] : p_.rowSense[i];
            line(written_.substr(i), row(i));
        }
    }

    void columns() {
        text_ += "COLUMNS\n";
        for (std::size_t j = 0; j < p_.numCol(); ++j) {
            Pairs pairs = {{"obj", p_.obj[j]}};
            for (auto k = p_.matrix.begin[j + 1] - 1; k >= p_.matrix.begin[j]; --k) {
                const auto e = static_cast<std::size_t>(k);
                pairs.emplace_back(row(static_cast<std::size_t>(p_.matrix.index[e])),
                                   p_.matrix.value[e]);
            }
            if (chance()) line("", "m", "'MARKER'", chance() ? "'INTORG'" : "'INTEND'");
            lines(column(j), pairs);
        }
    }

    void vectors() {
        Pairs rhs, ranges;
        if (p_.objConstant != 0) rhs.emplace_back("obj", -p_.objConstant);
        for (std::size_t i = 0; i < p_.numRow(); ++i) {
            if (p_.rowSense[i] == 'N') continue;
            const bool isRange = p_.rowSense[i] == 'R';
            const bool fromAbove =
                isRange && (written_[i] == 'L' || (written_[i] == 'E' && i % 2 == 0));
            rhs.emplace_back(row(i), p_.rhs[i] + (fromAbove ? p_.range[i] : 0.0));
            if (isRange) ranges.emplace_back(row(i), fromAbove ? -p_.range[i] : p_.range[i]);
        }
        text_ += "RHS\n";
        lines(set(), rhs);
        text_ += "RANGES\n";
        lines(set(), ranges);
    }

    void bounds() {
        text_ += "BOUNDS\n";
        const std::string name = set();
        for (std::size_t j = 0; j < p_.numCol(); ++j) {
            const double lower = p_.lower[j], upper = p_.upper[j];
            const auto bound = [&](const char* type, double value) {
                line(type, name, column(j), fmt::format("{}", value));
            };
            if (lower == upper) {
                bound("FX", lower);
            } else if (lower == -kInf && upper == kInf) {
                line("FR", name, column(j));
            } else {
                if (lower == -kInf && !(upper < 0 && chance())) line("MI", name, column(j));
                if (upper < kInf) bound("UP", upper);
                if (lower > -kInf) bound("LO", lower);
            }
        }
    }

    void quad() {
        const bool both = chance();
        text_ += both ? "QMATRIX\n" : chance() ? "QUADOBJ\n" : "QSECTION obj\n";
        for (std::size_t j = 0; j < p_.numCol(); ++j) {
            if (p_.quadDiag[j] != 0) lines(column(j), {{column(j), p_.quadDiag[j]}});
            for (int k = p_.quad.begin[j]; k < p_.quad.begin[j + 1]; ++k) {
                const auto e = static_cast<std::size_t>(k);
                std::string first = column(j),
                            second = column(static_cast<std::size_t>(p_.quad.index[e]));
                if (chance()) std::swap(first, second);
                lines(first, {{second, p_.quad.value[e]}});
                if (both) lines(second, {{first, p_.quad.value[e]}});
            }
        }
    }

    const Problem& p_;
    bool fixed_;
    std::string blank_;
    std::mt19937_64& random_;
    std::string text_, written_;
};

void expectSame(const SparseMatrix& a, const SparseMatrix& b) {
    EXPECT_EQ(a.begin, b.begin);
    EXPECT_EQ(a.index, b.index);
    EXPECT_EQ(a.value, b.value);
}

void expectSame(const Problem& a, const Problem& b) {
    EXPECT_EQ(a.objSense, b.objSense);
    EXPECT_EQ(a.objConstant, b.objConstant);
    EXPECT_EQ(a.obj, b.obj);
    EXPECT_EQ(a.quadDiag, b.quadDiag);
    expectSame(a.quad, b.quad);
    expectSame(a.matrix, b.matrix);
    EXPECT_EQ(a.rowSense, b.rowSense);
    EXPECT_EQ(a.rhs, b.rhs);
    EXPECT_EQ(a.range, b.range);
    EXPECT_EQ(a.lower, b.lower);
    EXPECT_EQ(a.upper, b.upper);
}

TEST(RoundTrip, RandomModelsInEveryDialect) {
    std::mt19937_64 random(7);
    ovtest::Shape shape{.maxRow = 12, .maxCol = 12, .freeRows = true, .fixedColumns = true};
    shape.feasible = false;  // right-hand sides of any kind
    for (int k = 0; k < 2000 && !testing::Test::HasFailure(); ++k) {
        const Problem problem = ovtest::toProblem(ovtest::drawProblem(random, shape));
        Writer writer(problem, k % 2 == 0, k % 4 == 0, random);
        const std::string text = writer.run();
        SCOPED_TRACE(text);
        const ModelData read = readModelText(text, "random.qps");
        EXPECT_EQ(read.name + read.objName, "randomobj");
        expectSame(cli::toProblem(read), problem);
        for (std::size_t i = 0; i < problem.numRow(); ++i)
            EXPECT_EQ(read.rowName[i], writer.row(i));
        for (std::size_t j = 0; j < problem.numCol(); ++j)
            EXPECT_EQ(read.colName[j], writer.column(j));
    }
}

std::string writtenSolution(const ModelData& model, const SolutionView& view) {
    std::FILE* const file = std::tmpfile();
    EXPECT_TRUE(writeSolution(file, model, view));
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    (void)std::fclose(file);
    return text;
}

TEST(SolutionFile, ShowsNamesAndFullPrecision) {
    const ModelData model =
        readModelText("ROWS\n N c\n G r\nCOLUMNS\n x r 1\n y r 1\nENDATA\n", "m");
    const std::vector<double> x{1.0 / 3.0, -0.0}, d{0.1, 18}, a{2}, y{std::nan("")};
    EXPECT_EQ(writtenSolution(model, {"optimal", 18, x, d, a, y}),
              "# ovsolve solution\nstatus optimal\nobjective 18\ncolumns 2\n"
              "x 0.33333333333333331 0.10000000000000001\ny -0 18\nrows 1\nr 2 nan\n");
}

TEST(SummaryJson, HasItsKeysInOrderAndSurvivesOddValues) {
    SolveSummary s;
    s.name = "a \"quoted\" \xff name";
    s.status = "failed";
    s.objective = std::nan("");
    s.dualityGap = 0.1;
    const std::string line = summaryJson(s);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    const auto json = nlohmann::ordered_json::parse(line);
    std::vector<std::string> keys;
    for (const auto& item : json.items()) keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"name", "rows", "columns", "nonzeros", "quadNonzeros",
                                              "returnValue", "status", "objective", "iterations",
                                              "primalInfeasibility", "dualInfeasibility",
                                              "boundInfeasibility", "dualityGap", "complementarity",
                                              "readSeconds", "solveSeconds", "threads"}));
    EXPECT_TRUE(json["objective"].is_null());
    EXPECT_EQ(json["dualityGap"].get<double>(), 0.1);
}

}  // namespace
}  // namespace ov::modelio
