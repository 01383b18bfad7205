// A model as read from a file: plain vectors in the shapes that the solver's problem record takes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ov::modelio {

/// A remark about a model that was read all the same. `line` is 0 when no single line is meant.
struct Warning {
    std::int64_t line = 0;
    std::string text;
};

/// minimise (maximise)  obj'x + 0.5 x'Qx + objConstant
/// subject to           rows by rowSense, rhs and range,  lower <= x <= upper
///
/// A is held by columns, row indices ascending. Q is its diagonal (dense) and its strict lower
/// triangle by columns, row indices ascending; an entry q at (k, j) adds q x_j x_k, a diagonal
/// entry d adds 0.5 d x_j^2. Row senses are 'E', 'G', 'L', 'R' (rhs <= a'x <= rhs + range, range
/// >= 0) and 'N' (free). An absent bound is -1e20 or 1e20. All numbers are finite.
struct ModelData {
    std::string name;
    std::string objName;        ///< empty when the model has no objective row
    std::int32_t objSense = 1;  ///< 1 minimise, -1 maximise
    double objConstant = 0.0;

    std::int32_t numRow = 0;  ///< without the objective row
    std::int32_t numCol = 0;

    std::vector<double> obj;                 ///< [numCol]
    std::vector<std::int32_t> colBegin;      ///< [numCol + 1]
    std::vector<std::int32_t> rowIndex;      ///< [colBegin[numCol]]
    std::vector<double> matValue;            ///< [colBegin[numCol]]
    std::vector<double> quadDiag;            ///< [numCol]
    std::vector<std::int32_t> quadColBegin;  ///< [numCol + 1]
    std::vector<std::int32_t> quadRowIndex;
    std::vector<double> quadMatValue;

    std::vector<char> rowSense;  ///< [numRow]
    std::vector<double> rhs;     ///< [numRow]
    std::vector<double> range;   ///< [numRow], 0 except on 'R' rows
    std::vector<double> lower;   ///< [numCol]
    std::vector<double> upper;   ///< [numCol]

    std::vector<std::string> rowName;  ///< [numRow]
    std::vector<std::string> colName;  ///< [numCol]

    std::vector<Warning> warnings;

    [[nodiscard]] bool hasQuad() const {
        for (const double d : quadDiag)
            if (d != 0.0) return true;
        return !quadRowIndex.empty();
    }
};

}  // namespace ov::modelio
