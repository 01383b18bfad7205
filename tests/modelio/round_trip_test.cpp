// Random models, written in every dialect and read back; and what is written of a solution.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <random>

#include "modelio/read_model.hpp"
#include "modelio/solution_file.hpp"
#include "modelio/summary_json.hpp"

namespace ov::modelio {
namespace {

constexpr double kInf = 1e20;

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }
    bool chance(int percent) { return below(100) < percent; }
    // Short enough for a fixed field, and exact in it.
    double number() { return static_cast<double>(below(20001) - 10000) / 16.0; }
    double positive() { return static_cast<double>(1 + below(1000)) / 8.0; }

private:
    std::mt19937 engine_;
};

void randomRows(Random& random, ModelData& m, bool blanks) {
    m.numRow = random.below(12);
    for (int i = 0; i < m.numRow; ++i) {
        m.rowName.push_back(fmt::format("r{}{}", blanks ? " " : "", i));
        m.rowSense.push_back("EGLRN"[random.below(5)]);
        const bool free = m.rowSense.back() == 'N';
        m.rhs.push_back(free || random.chance(30) ? 0.0 : random.number());
        m.range.push_back(m.rowSense.back() == 'R' ? random.positive() : 0.0);
    }
}

void randomBounds(Random& random, ModelData& m) {
    switch (random.below(6)) {
        case 0:
            m.lower.push_back(-kInf);
            m.upper.push_back(kInf);
            break;
        case 1:
            m.lower.push_back(-kInf);
            m.upper.push_back(random.number());
            break;
        case 2:
            m.lower.push_back(random.number());
            m.upper.push_back(kInf);
            break;
        case 3:
            m.lower.push_back(0.0);
            m.upper.push_back(kInf);
            break;
        case 4:
            m.lower.push_back(random.number());
            m.upper.push_back(m.lower.back());
            break;
        default:
            m.lower.push_back(random.number());
            m.upper.push_back(m.lower.back() + random.positive());
    }
}

ModelData randomModel(Random& random, bool blanks) {
    ModelData m;
    m.name = "random";
    m.objName = "obj";
    m.objSense = random.chance(50) ? 1 : -1;
    m.objConstant = random.chance(50) ? random.number() : 0.0;
    randomRows(random, m, blanks);
    m.numCol = 1 + random.below(12);
    m.colBegin.push_back(0);
    m.quadColBegin.push_back(0);
    for (int j = 0; j < m.numCol; ++j) {
        m.colName.push_back(fmt::format("c{}{}", blanks ? " " : "", j));
        m.obj.push_back(random.chance(70) ? random.number() : 0.0);
        randomBounds(random, m);
        for (int i = 0; i < m.numRow; ++i) {
            if (!random.chance(40)) continue;
            m.rowIndex.push_back(i);
            m.matValue.push_back(random.positive());
        }
        m.colBegin.push_back(static_cast<int>(m.rowIndex.size()));
        m.quadDiag.push_back(random.chance(50) ? random.positive() : 0.0);
        for (int k = j + 1; k < m.numCol; ++k) {
            if (!random.chance(20)) continue;
            m.quadRowIndex.push_back(k);
            m.quadMatValue.push_back(-random.positive());
        }
        m.quadColBegin.push_back(static_cast<int>(m.quadRowIndex.size()));
    }
    return m;
}

// Writes a model in one of the dialects; `random` makes the choices that must not matter.
class Writer {
public:
    Writer(const ModelData& model, bool fixed, Random& random)
        : m_(model), fixed_(fixed), random_(random) {}

    std::string run() {
        text_ = fixed_ ? "NAME          random\n" : "NAME random\n";
        if (m_.objSense < 0) text_ += random_.chance(50) ? "OBJSENSE MAX\n" : "OBJSENSE\n    MAX\n";
        rows();
        columns();
        vectors();
        bounds();
        quad();
        return text_ + "ENDATA\n";
    }

private:
    void line(std::string_view code, const std::string& name, const std::string& key = "",
              const std::string& value = "") {
        text_ += fixed_ ? fmt::format(" {:<2} {:<8}  {:<8}  {:>12}\n", code, name, key, value)
                        : fmt::format(" {} {} {} {}\n", code, name, key, value);
    }

    // An 'R' row is written as any of the senses that can carry a range.
    void rows() {
        text_ += "ROWS\n";
        line("N", "obj");
        for (std::size_t i = 0; i < m_.rowName.size(); ++i) {
            char sense = m_.rowSense[i];
            if (sense == 'R') sense = "EEGL"[random_.below(4)];
            written_.push_back(sense);
            line(std::string(1, sense), m_.rowName[i]);
        }
    }

    void columns() {
        text_ += "COLUMNS\n";
        for (std::size_t j = 0; j < m_.colName.size(); ++j) {
            line("", m_.colName[j], "obj", fmt::format("{}", m_.obj[j]));
            for (int k = m_.colBegin[j + 1] - 1; k >= m_.colBegin[j]; --k) {
                const auto e = static_cast<std::size_t>(k);
                line("", m_.colName[j], m_.rowName[static_cast<std::size_t>(m_.rowIndex[e])],
                     fmt::format("{}", m_.matValue[e]));
            }
        }
    }

    void vectors() {
        const std::string set = fixed_ && random_.chance(50) ? "" : "set";
        std::string ranges;
        text_ += "RHS\n";
        if (m_.objConstant != 0) line("", set, "obj", fmt::format("{}", -m_.objConstant));
        for (std::size_t i = 0; i < m_.rowName.size(); ++i) {
            if (m_.rowSense[i] == 'N') continue;
            const double range = m_.range[i];
            const bool fromAbove =
                m_.rowSense[i] == 'R' && (written_[i] == 'L' || (written_[i] == 'E' && i % 2 == 0));
            line("", set, m_.rowName[i], fmt::format("{}", m_.rhs[i] + (fromAbove ? range : 0.0)));
            if (m_.rowSense[i] != 'R') continue;
            std::swap(text_, ranges);
            line("", set, m_.rowName[i], fmt::format("{}", fromAbove ? -range : range));
            std::swap(text_, ranges);
        }
        text_ += "RANGES\n" + ranges;
    }

    void bound(const char* type, std::size_t j, const std::string& value = "") {
        line(type, "BND", m_.colName[j], value);
    }

    void bounds() {
        text_ += "BOUNDS\n";
        for (std::size_t j = 0; j < m_.colName.size(); ++j) {
            const double lower = m_.lower[j];
            const double upper = m_.upper[j];
            if (lower == upper) {
                bound("FX", j, fmt::format("{}", lower));
            } else if (lower == -kInf && upper == kInf) {
                bound("FR", j);
            } else {
                if (lower == -kInf && !(upper < 0 && random_.chance(50))) bound("MI", j);
                if (upper < kInf) bound("UP", j, fmt::format("{}", upper));
                if (lower > -kInf) bound("LO", j, fmt::format("{}", lower));
            }
        }
    }

    void quad() {
        const bool both = random_.chance(50);
        text_ += both ? "QMATRIX\n" : random_.chance(50) ? "QUADOBJ\n" : "QSECTION obj\n";
        for (std::size_t j = 0; j < m_.colName.size(); ++j) {
            if (m_.quadDiag[j] != 0)
                line("", m_.colName[j], m_.colName[j], fmt::format("{}", m_.quadDiag[j]));
            for (int k = m_.quadColBegin[j]; k < m_.quadColBegin[j + 1]; ++k) {
                const auto e = static_cast<std::size_t>(k);
                const std::string& other = m_.colName[static_cast<std::size_t>(m_.quadRowIndex[e])];
                const std::string value = fmt::format("{}", m_.quadMatValue[e]);
                const bool upper = random_.chance(50);
                line("", upper ? m_.colName[j] : other, upper ? other : m_.colName[j], value);
                if (both)
                    line("", upper ? other : m_.colName[j], upper ? m_.colName[j] : other, value);
            }
        }
    }

    const ModelData& m_;
    bool fixed_;
    Random& random_;
    std::string text_;
    std::vector<char> written_;
};

void expectSame(const ModelData& a, const ModelData& b) {
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.objName, b.objName);
    EXPECT_EQ(a.objSense, b.objSense);
    EXPECT_EQ(a.objConstant, b.objConstant);
    EXPECT_EQ(a.numRow, b.numRow);
    EXPECT_EQ(a.numCol, b.numCol);
    EXPECT_EQ(a.obj, b.obj);
    EXPECT_EQ(a.colBegin, b.colBegin);
    EXPECT_EQ(a.rowIndex, b.rowIndex);
    EXPECT_EQ(a.matValue, b.matValue);
    EXPECT_EQ(a.quadDiag, b.quadDiag);
    EXPECT_EQ(a.quadColBegin, b.quadColBegin);
    EXPECT_EQ(a.quadRowIndex, b.quadRowIndex);
    EXPECT_EQ(a.quadMatValue, b.quadMatValue);
    EXPECT_EQ(a.rowSense, b.rowSense);
    EXPECT_EQ(a.rhs, b.rhs);
    EXPECT_EQ(a.range, b.range);
    EXPECT_EQ(a.lower, b.lower);
    EXPECT_EQ(a.upper, b.upper);
    EXPECT_EQ(a.rowName, b.rowName);
    EXPECT_EQ(a.colName, b.colName);
}

TEST(RoundTrip, RandomModelsInEveryDialect) {
    Random random(7);
    for (int k = 0; k < 600; ++k) {
        const bool fixed = k % 2 == 0;
        const ModelData model = randomModel(random, fixed && k % 4 == 0);
        const std::string text = Writer(model, fixed, random).run();
        expectSame(model, readModelText(text, "random.qps"));
        if (HasFailure()) {
            ADD_FAILURE() << "model " << k << "\n" << text;
            return;
        }
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
