#include "support/dense_symbolic.hpp"

#include <algorithm>

namespace ovtest {

using ovrelin::LdlNumeric;
using ovrelin::LdlSymbolic;

DenseFactorPattern::DenseFactorPattern(const TestPattern& pattern, const std::int32_t* perm)
    : n_(pattern.n),
      filled_(static_cast<std::size_t>(pattern.n) * static_cast<std::size_t>(pattern.n), 0) {
    const auto n = static_cast<std::size_t>(n_);
    std::vector<std::size_t> position(n);
    for (std::size_t k = 0; k < n; ++k) position[static_cast<std::size_t>(perm[k])] = k;
    for (std::size_t j = 0; j < n; ++j) {
        filled_[j * n + j] = 1;
        for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
            const auto i = static_cast<std::size_t>(pattern.rowIndex[static_cast<std::size_t>(p)]);
            filled_[position[j] * n + position[i]] = 1;
        }
    }
    for (std::size_t k = 0; k < n; ++k) {
        for (std::size_t j = k + 1; j < n; ++j) {
            if (filled_[k * n + j] == 0) continue;
            for (std::size_t i = j; i < n; ++i) {
                filled_[j * n + i] = filled_[j * n + i] | filled_[k * n + i];
            }
        }
    }
}

std::int32_t DenseFactorPattern::parent(std::int32_t j) const {
    for (std::int32_t i = j + 1; i < n_; ++i) {
        if (has(i, j)) return i;
    }
    return -1;
}

std::int32_t DenseFactorPattern::columnCount(std::int32_t j) const {
    std::int32_t count = 1;
    for (std::int32_t i = j + 1; i < n_; ++i) count += has(i, j) ? 1 : 0;
    return count;
}

std::int64_t DenseFactorPattern::numEntries() const {
    std::int64_t total = 0;
    for (std::int32_t j = 0; j < n_; ++j) total += columnCount(j);
    return total;
}

std::string checkPermutation(std::int32_t n, const std::int32_t* perm,
                             const std::int32_t* inversePerm) {
    for (std::int32_t k = 0; k < n; ++k) {
        if (perm[k] < 0 || perm[k] >= n) return "perm out of range at " + std::to_string(k);
        if (inversePerm[perm[k]] != k) return "inverse wrong at " + std::to_string(k);
    }
    return "";
}

std::string checkSupernodeTree(const DenseFactorPattern& factor, const LdlSymbolic& symbolic) {
    if (symbolic.superFirstCol[0] != 0 ||
        symbolic.superFirstCol[symbolic.numSuper] != factor.order()) {
        return "supernodes do not cover the columns";
    }
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        const std::string where = " of supernode " + std::to_string(s);
        const std::int32_t first = symbolic.superFirstCol[s];
        const std::int32_t end = symbolic.superFirstCol[s + 1];
        if (end <= first) return "no columns" + where;
        if (end - first > symbolic.maxSuperCols) return "maxSuperCols below width" + where;
        for (std::int32_t j = first; j < end; ++j) {
            if (symbolic.colToSuper[j] != s) return "colToSuper wrong in a column" + where;
            if (j + 1 < end && factor.parent(j) == -1) return "a root inside" + where;
        }
        const std::int32_t up = factor.parent(end - 1);
        if (symbolic.superParent[s] != (up == -1 ? -1 : symbolic.colToSuper[up])) {
            return "wrong parent" + where;
        }
    }
    return "";
}

std::string checkRowStructure(const DenseFactorPattern& factor, const LdlSymbolic& symbolic) {
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        const std::string where = " of supernode " + std::to_string(s);
        const std::int32_t first = symbolic.superFirstCol[s];
        const std::int32_t end = symbolic.superFirstCol[s + 1];
        std::vector<std::int32_t> expected;
        for (std::int32_t i = first; i < factor.order(); ++i) {
            bool present = i < end;
            for (std::int32_t j = first; j < end && !present; ++j) present = factor.has(i, j);
            if (present) expected.push_back(i);
        }
        const std::int32_t* rows = symbolic.rowList.data();
        const std::int32_t* begin = rows + symbolic.rowBegin[s];
        const std::int32_t* stop = rows + symbolic.rowBegin[s + 1];
        if (!std::equal(begin, stop, expected.begin(), expected.end())) return "wrong rows" + where;
        const std::int32_t up = symbolic.superParent[s];
        if (up != -1 &&
            !std::includes(rows + symbolic.rowBegin[up], rows + symbolic.rowBegin[up + 1],
                           begin + (end - first), stop)) {
            return "rows below are not rows of the parent" + where;
        }
    }
    return "";
}

namespace {

std::int64_t countLower(const TestPattern& pattern, const LdlSymbolic& symbolic) {
    std::int64_t lower = 0;
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        for (std::int32_t p = pattern.colBegin[static_cast<std::size_t>(j)];
             p < pattern.colBegin[static_cast<std::size_t>(j) + 1]; ++p) {
            const std::int32_t i = pattern.rowIndex[static_cast<std::size_t>(p)];
            lower += symbolic.inversePerm[i] >= symbolic.inversePerm[j] ? 1 : 0;
        }
    }
    return lower;
}

std::string checkStorage(const LdlSymbolic& symbolic) {
    std::int64_t values = 0;
    std::int64_t widestUpdate = 0;
    std::int64_t scaledCopy = 0;
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        const std::int64_t k = symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s];
        const std::int64_t r = symbolic.rowBegin[s + 1] - symbolic.rowBegin[s];
        if (symbolic.valueBegin[s] != values) return "valueBegin";
        values += k * r;
        widestUpdate = std::max(widestUpdate, (r - k) * std::min<std::int64_t>(r - k, 96));
        scaledCopy = std::max(scaledCopy, r * std::min<std::int64_t>(k, 96));
    }
    if (symbolic.numFactorEntries != values) return "numFactorEntries";
    if (symbolic.updateSize < widestUpdate || symbolic.updateSize % 32 != 0) {
        return "updateSize";
    }
    if (symbolic.updateSize2 < scaledCopy) return "updateSize2";
    return "";
}

}  // namespace

std::string checkSizes(const TestPattern& pattern, const DenseFactorPattern& factor,
                       const LdlSymbolic& symbolic, const LdlNumeric& numeric) {
    const auto n = static_cast<std::size_t>(pattern.n);
    if (symbolic.numLowerEntries != static_cast<double>(factor.numEntries() - pattern.n)) {
        return "numLowerEntries";
    }
    double flops = 0.0;
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        const double c = factor.columnCount(j);
        flops += c * (c - 1.0);
    }
    if (symbolic.flopEstimate != flops) return "flopEstimate";
    if (symbolic.supernodeOps < flops) return "supernodeOps";
    if (symbolic.numMatrixLower != countLower(pattern, symbolic)) return "numMatrixLower";
    if (numeric.lowerBegin[n] != symbolic.numMatrixLower) return "lowerBegin";
    const auto lower = static_cast<std::size_t>(symbolic.numMatrixLower);
    if (numeric.lowerRow.size() != lower || numeric.lowerValue.size() != lower) return "lowerRow";
    if (symbolic.factorValues.size() < static_cast<std::size_t>(symbolic.numFactorEntries) ||
        symbolic.updateWork.size() !=
            static_cast<std::size_t>(symbolic.updateSize + symbolic.updateSize2) ||
        symbolic.touched.size() != static_cast<std::size_t>(symbolic.numSuper) ||
        symbolic.relativeIndex.size() != n || symbolic.pivotIndex.size() != n ||
        numeric.solveWork.size() < 3 * n || numeric.panelWidth != 96) {
        return "an array of the numeric stage";
    }
    return checkStorage(symbolic);
}

namespace {

// Of every block that is worth a copy: the last row that its columns up to each have in L.
std::string checkReach(const DenseFactorPattern& factor, const LdlSymbolic& symbolic) {
    for (std::int32_t s = 0; s < symbolic.numSuper; ++s) {
        if (!symbolic.thin.isCandidate(s)) continue;
        const std::int32_t* const rows = symbolic.rowList.data() + symbolic.rowBegin[s];
        std::int32_t last = 0;
        for (std::int32_t j = symbolic.superFirstCol[s]; j < symbolic.superFirstCol[s + 1]; ++j) {
            for (std::int32_t i = j; i < factor.order(); ++i)
                if (factor.has(i, j)) last = std::max(last, i);
            const std::int32_t reach = symbolic.thin.reach[j];
            if (rows[reach - 1] != last) return "reach of column " + std::to_string(j);
        }
    }
    return "";
}

}  // namespace

std::string checkAnalysis(const TestPattern& pattern, const LdlSymbolic& symbolic,
                          const LdlNumeric& numeric) {
    std::string fault =
        checkPermutation(pattern.n, symbolic.perm.data(), symbolic.inversePerm.data());
    if (!fault.empty()) return fault;
    const DenseFactorPattern factor(pattern, symbolic.perm.data());
    fault = checkSupernodeTree(factor, symbolic);
    if (fault.empty()) fault = checkRowStructure(factor, symbolic);
    if (fault.empty()) fault = checkSizes(pattern, factor, symbolic, numeric);
    if (fault.empty()) fault = checkReach(factor, symbolic);
    return fault;
}

}  // namespace ovtest
