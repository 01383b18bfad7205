#include "solution_check.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <vector>

#include "support/small_problem.hpp"

namespace ov::test {
namespace {

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

ovtest::SmallProblem toSmall(const modelio::ModelData& m) {
    ovtest::SmallProblem p;
    p.sense = m.objSense;
    p.numRow = m.numRow;
    p.numCol = m.numCol;
    p.constant = m.objConstant;
    p.c = m.obj;
    p.lower = m.lower;
    p.upper = m.upper;
    p.rowSense.assign(m.rowSense.begin(), m.rowSense.end());
    const std::size_t n = m.colName.size(), numRow = m.rowName.size();
    p.a.resize(numRow * n);
    p.q.resize(n * n);
    const auto index = [](auto k) { return static_cast<std::size_t>(k); };
    for (std::size_t j = 0; j < n; ++j) {
        p.q[j * n + j] = m.quadDiag[j];
        for (auto k = index(m.colBegin[j]); k < index(m.colBegin[j + 1]); ++k)
            p.a[index(m.rowIndex[k]) * n + j] = m.matValue[k];
        for (auto k = index(m.quadColBegin[j]); k < index(m.quadColBegin[j + 1]); ++k)
            p.q[index(m.quadRowIndex[k]) * n + j] = p.q[j * n + index(m.quadRowIndex[k])] =
                m.quadMatValue[k];
    }
    for (std::size_t i = 0; i < numRow; ++i) {
        const char sense = m.rowSense[i];
        p.rowLower.push_back(sense == 'L' || sense == 'N' ? -ovtest::absent : m.rhs[i]);
        p.rowUpper.push_back(sense == 'G' || sense == 'N' ? ovtest::absent : m.rhs[i] + m.range[i]);
    }
    return p;
}

void expectNear(const std::vector<double>& got, const std::vector<double>& expected, double tol) {
    for (std::size_t k = 0; k < got.size(); ++k)
        EXPECT_NEAR(got[k], expected[k], tol * (1 + std::abs(expected[k]))) << k;
}

}  // namespace

void expectOptimal(const modelio::ModelData& model, const std::string& text, double tol) {
    std::istringstream in(text);
    EXPECT_EQ(nextLine(in), "# ovsolve solution");
    EXPECT_EQ(nextLine(in), "status optimal");
    const std::string line = nextLine(in);
    EXPECT_EQ(line.substr(0, 10), "objective ");
    const Table columns = readTable(in, "columns", model.colName);
    const Table rows = readTable(in, "rows", model.rowName);
    EXPECT_EQ(nextLine(in), "");
    const ovtest::SmallProblem p = toSmall(model);
    EXPECT_LT(ovtest::kktViolation(p, columns.first, rows.second), tol);
    expectNear(rows.first, p.activity(columns.first), tol);
    expectNear(columns.second, p.reducedCost(columns.first, rows.second), tol);
    expectNear({std::stod(line.substr(10))}, {p.objective(columns.first)}, tol);
}

}  // namespace ov::test
