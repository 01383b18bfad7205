#include "host/problem.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

namespace ov {
namespace {

template <class... Args>
[[noreturn]] void fail(fmt::format_string<Args...> format, Args&&... args) {
    throw InputError(fmt::format(format, std::forward<Args>(args)...));
}

void checkSize(std::string_view name, std::size_t size, std::size_t wanted, std::string_view what) {
    if (size != wanted) fail("{}: {} entries where there are {} {}", name, size, wanted, what);
}

void checkCount(std::string_view name, std::size_t count) {
    if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        fail("{}: {} entries are more than a 32-bit count can tell", name, count);
}

enum class Infinite { allowed, refused };

void checkNumbers(std::string_view name, const std::vector<double>& values, Infinite infinite) {
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (std::isnan(values[k])) fail("{}[{}]: is NaN", name, k);
        if (infinite == Infinite::refused && std::isinf(values[k]))
            fail("{}[{}]: is infinite", name, k);
    }
}

void checkNumber(std::string_view name, double value) {
    if (!std::isfinite(value)) fail("{}: is {}", name, std::isnan(value) ? "NaN" : "infinite");
}

/// `begin` is absent, or has numCol + 1 entries that rise from 0 to the number of entries.
void checkColumnStarts(std::string_view name, const SparseMatrix& matrix, std::size_t numCol) {
    checkCount(fmt::format("{}.index", name), matrix.index.size());
    if (matrix.index.size() != matrix.value.size())
        fail("{}.value: {} entries where {}.index has {}", name, matrix.value.size(), name,
             matrix.index.size());
    if (matrix.begin.empty()) {
        if (!matrix.index.empty()) fail("{}.begin: is empty while {}.index is not", name, name);
        return;
    }
    if (matrix.begin.size() != numCol + 1)
        fail("{}.begin: {} entries where {} columns need {}", name, matrix.begin.size(), numCol,
             numCol + 1);
    if (matrix.begin[0] != 0) fail("{}.begin[0]: is {}, not 0", name, matrix.begin[0]);
    for (std::size_t j = 0; j < numCol; ++j)
        if (matrix.begin[j + 1] < matrix.begin[j])
            fail("{}.begin[{}]: {} is below the entry before it, {}", name, j + 1,
                 matrix.begin[j + 1], matrix.begin[j]);
    if (static_cast<std::size_t>(matrix.begin[numCol]) != matrix.index.size())
        fail("{}.begin[{}]: {} is not the number of entries, {}", name, numCol,
             matrix.begin[numCol], matrix.index.size());
}

/// Calls check(k, j) for every entry k of column j, and finds rows that a column names twice.
template <class Check>
void checkEntries(std::string_view name, const SparseMatrix& matrix, std::size_t numRow,
                  Check check) {
    std::vector<std::int32_t> lastColumn(numRow, -1);
    for (std::size_t j = 0; j + 1 < matrix.begin.size(); ++j) {
        const auto first = static_cast<std::size_t>(matrix.begin[j]);
        const auto last = static_cast<std::size_t>(matrix.begin[j + 1]);
        for (std::size_t k = first; k < last; ++k) {
            const std::int32_t row = matrix.index[k];
            if (row < 0 || static_cast<std::size_t>(row) >= numRow)
                fail("{}.index[{}]: row {} of column {} is outside 0..{}", name, k, row, j,
                     static_cast<std::ptrdiff_t>(numRow) - 1);
            check(k, j);
            std::int32_t& seen = lastColumn[static_cast<std::size_t>(row)];
            if (seen == static_cast<std::int32_t>(j))
                fail("{}.index[{}]: row {} is twice in column {}", name, k, row, j);
            seen = static_cast<std::int32_t>(j);
        }
    }
    checkNumbers(fmt::format("{}.value", name), matrix.value, Infinite::refused);
}

void checkColumns(const Problem& problem) {
    const std::size_t numCol = problem.numCol();
    checkCount("obj", numCol);
    checkSize("lower", problem.lower.size(), numCol, "columns");
    checkSize("upper", problem.upper.size(), numCol, "columns");
    if (!problem.quadDiag.empty())
        checkSize("quadDiag", problem.quadDiag.size(), numCol, "columns");
    checkNumbers("obj", problem.obj, Infinite::refused);
    checkNumbers("lower", problem.lower, Infinite::allowed);
    checkNumbers("upper", problem.upper, Infinite::allowed);
    checkNumbers("quadDiag", problem.quadDiag, Infinite::refused);
}

void checkRows(const Problem& problem) {
    const std::size_t numRow = problem.numRow();
    checkCount("rowSense", numRow);
    checkSize("rhs", problem.rhs.size(), numRow, "rows");
    if (!problem.range.empty()) checkSize("range", problem.range.size(), numRow, "rows");
    checkNumbers("rhs", problem.rhs, Infinite::refused);
    checkNumbers("range", problem.range, Infinite::refused);
    for (std::size_t i = 0; i < numRow; ++i) {
        const char sense = problem.rowSense[i];
        if (sense == '\0' || std::strchr("EGLRN", sense) == nullptr)
            fail("rowSense[{}]: {} is not one of E, G, L, R, N", i,
                 sense >= ' ' && sense <= '~' ? fmt::format("'{}'", sense)
                                              : fmt::format("code {}", static_cast<int>(sense)));
        if (sense != 'R') continue;
        if (problem.range.empty()) fail("range: is empty while row {} is an 'R' row", i);
        if (problem.range[i] < 0) fail("range[{}]: {} is negative", i, problem.range[i]);
    }
}

void checkQuad(const Problem& problem) {
    const SparseMatrix& quad = problem.quad;
    checkColumnStarts("quad", quad, problem.numCol());
    checkEntries("quad", quad, problem.numCol(), [&](std::size_t k, std::size_t j) {
        const auto row = static_cast<std::size_t>(quad.index[k]);
        if (row == j)
            fail("quad.index[{}]: ({}, {}) is on the diagonal; diagonal entries go to quadDiag", k,
                 row, j);
        if (row < j)
            fail("quad.index[{}]: ({}, {}) is above the diagonal; give the entry once, as ({}, {})",
                 k, row, j, j, row);
    });
}

}  // namespace

void checkProblem(const Problem& problem) {
    if (problem.objSense != minimise && problem.objSense != maximise)
        fail("objSense: {} is neither 1 (minimise) nor -1 (maximise)", problem.objSense);
    checkNumber("objConstant", problem.objConstant);
    checkColumns(problem);
    checkRows(problem);
    checkColumnStarts("matrix", problem.matrix, problem.numCol());
    checkEntries("matrix", problem.matrix, problem.numRow(), [](std::size_t, std::size_t) {});
    checkQuad(problem);
}

void checkProblem(const SeparableProblem& problem) {
    const std::size_t numVar = problem.quadDiag.size();
    checkCount("quadDiag", numVar);
    checkSize("linear", problem.linear.size(), numVar, "variables");
    checkSize("lower", problem.lower.size(), numVar, "variables");
    checkSize("upper", problem.upper.size(), numVar, "variables");
    checkNumbers("quadDiag", problem.quadDiag, Infinite::refused);
    checkNumbers("linear", problem.linear, Infinite::refused);
    checkNumbers("lower", problem.lower, Infinite::allowed);
    checkNumbers("upper", problem.upper, Infinite::allowed);
    checkNumber("rhs", problem.rhs);
    if (problem.maxIterations < 0) fail("maxIterations: {} is negative", problem.maxIterations);
    checkNumber("primalTol", problem.primalTol);
    checkNumber("dualTol", problem.dualTol);
    checkNumber("gapTol", problem.gapTol);
}

ProblemInput inputRecord(Problem& problem) {
    const auto orNull = [](auto& array) { return array.empty() ? nullptr : array.data(); };
    ProblemInput input{};
    input.objSense = problem.objSense;
    input.numRow = static_cast<std::int32_t>(problem.numRow());
    input.numCol = static_cast<std::int32_t>(problem.numCol());
    input.numCoef = static_cast<std::int32_t>(problem.matrix.index.size());
    input.numQuadCoef = static_cast<std::int32_t>(problem.quad.index.size());
    input.matValue = orNull(problem.matrix.value);
    input.rowIndex = orNull(problem.matrix.index);
    input.colBegin = orNull(problem.matrix.begin);
    input.quadDiag = orNull(problem.quadDiag);
    input.quadMatValue = orNull(problem.quad.value);
    input.quadRowIndex = orNull(problem.quad.index);
    input.quadColBegin = orNull(problem.quad.begin);
    input.obj = orNull(problem.obj);
    input.rhs = orNull(problem.rhs);
    input.range = orNull(problem.range);
    input.lower = orNull(problem.lower);
    input.upper = orNull(problem.upper);
    input.rowSense = orNull(problem.rowSense);
    input.objConstant = problem.objConstant;
    return input;
}

}  // namespace ov
