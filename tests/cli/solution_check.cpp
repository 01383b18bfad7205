#include "solution_check.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

namespace ov::test {
namespace {

constexpr double kInf = 1e20;

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

class Checker {
public:
    Checker(const modelio::ModelData& model, const std::string& text, double tol)
        : m_(model), tol_(tol), sign_(model.objSense < 0 ? -1.0 : 1.0) {
        std::istringstream in(text);
        EXPECT_EQ(nextLine(in), "# ovsolve solution");
        EXPECT_EQ(nextLine(in), "status optimal");
        const std::string line = nextLine(in);
        EXPECT_EQ(line.substr(0, 10), "objective ");
        objective_ = std::stod(line.substr(10));
        columns_ = readTable(in, "columns", m_.colName);
        rows_ = readTable(in, "rows", m_.rowName);
        EXPECT_EQ(nextLine(in), "");
    }

    void run() {
        checkRows();
        checkColumns();
    }

private:
    [[nodiscard]] bool near(double a, double b, double scale = 0.0) const {
        return std::abs(a - b) <= tol_ * (1.0 + std::abs(a) + std::abs(b) + scale);
    }

    // A dual pushes up at the lower side and down at the upper one, and only where it is met.
    void checkSide(const std::string& name, double value, double dual, double lower, double upper) {
        EXPECT_GE(value, lower - tol_ * (1 + std::abs(lower))) << name;
        EXPECT_LE(value, upper + tol_ * (1 + std::abs(upper))) << name;
        const double push = sign_ * dual;
        const double room = push > 0 ? value - lower : upper - value;
        if (std::abs(push) > tol_) {
            EXPECT_LE(std::min(1.0, std::abs(push)) * room, 10 * tol_ * (1 + std::abs(value)))
                << name;
        }
    }

    void checkRows() {
        std::vector<double> activity(m_.rowName.size(), 0.0);
        for (std::size_t j = 0; j < m_.colName.size(); ++j)
            forColumn(m_.colBegin, j, [&](std::size_t k) {
                const auto i = static_cast<std::size_t>(m_.rowIndex[k]);
                activity[i] += m_.matValue[k] * columns_.first[j];
            });
        for (std::size_t i = 0; i < activity.size(); ++i) {
            EXPECT_TRUE(near(activity[i], rows_.first[i])) << m_.rowName[i];
            const char sense = m_.rowSense[i];
            const double lower = sense == 'L' || sense == 'N' ? -kInf : m_.rhs[i];
            const double upper = sense == 'G' || sense == 'N' ? kInf
                                 : sense == 'R'               ? m_.rhs[i] + m_.range[i]
                                                              : m_.rhs[i];
            checkSide(m_.rowName[i], activity[i], rows_.second[i], lower, upper);
        }
    }

    void checkColumns() {
        const std::vector<double>& x = columns_.first;
        std::vector<double> qx(x.size(), 0.0);
        for (std::size_t j = 0; j < x.size(); ++j) {
            qx[j] += m_.quadDiag[j] * x[j];
            forColumn(m_.quadColBegin, j, [&](std::size_t k) {
                const auto i = static_cast<std::size_t>(m_.quadRowIndex[k]);
                qx[i] += m_.quadMatValue[k] * x[j];
                qx[j] += m_.quadMatValue[k] * x[i];
            });
        }
        double objective = m_.objConstant;
        for (std::size_t j = 0; j < x.size(); ++j) {
            objective += (m_.obj[j] + 0.5 * qx[j]) * x[j];
            double reduced = m_.obj[j] + qx[j];
            forColumn(m_.colBegin, j, [&](std::size_t k) {
                reduced -= m_.matValue[k] * rows_.second[static_cast<std::size_t>(m_.rowIndex[k])];
            });
            EXPECT_TRUE(near(reduced, columns_.second[j], std::abs(qx[j]))) << m_.colName[j];
            checkSide(m_.colName[j], x[j], columns_.second[j], m_.lower[j], m_.upper[j]);
        }
        EXPECT_TRUE(near(objective, objective_)) << objective << " " << objective_;
    }

    template <class Visit>
    static void forColumn(const std::vector<std::int32_t>& begin, std::size_t j, Visit visit) {
        for (auto k = begin[j]; k < begin[j + 1]; ++k) visit(static_cast<std::size_t>(k));
    }

    const modelio::ModelData& m_;
    double tol_;
    double sign_;
    double objective_ = 0.0;
    Table columns_, rows_;
};

}  // namespace

void expectOptimal(const modelio::ModelData& model, const std::string& text, double tol) {
    Checker(model, text, tol).run();
}

}  // namespace ov::test
