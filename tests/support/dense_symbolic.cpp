#include "support/dense_symbolic.hpp"

#include <gtest/gtest.h>

namespace ovtest {

using ovrelin::LdlNumeric;
using ovrelin::LdlSymbolic;
using std::int32_t;
using std::int64_t;

DenseFactorPattern::DenseFactorPattern(const TestPattern& pattern, const int32_t* perm)
    : n_(pattern.n), filled_(int64_t{n_} * n_) {
    Indices position(n_);
    for (int32_t k = 0; k < n_; ++k) {
        position[perm[k]] = k;
        filled_[k * n_ + k] = 1;
    }
    pattern.forEach([&](int32_t i, int32_t j) { filled_[position[j] * n_ + position[i]] = 1; });
    for (int32_t k = 0; k < n_; ++k)
        for (int32_t j = k + 1; j < n_; ++j) {
            if (!has(j, k)) continue;
            for (int32_t i = j; i < n_; ++i) filled_[j * n_ + i] = has(i, j) || has(i, k);
        }
}

int32_t DenseFactorPattern::parent(int32_t j) const {
    for (int32_t i = j + 1; i < n_; ++i)
        if (has(i, j)) return i;
    return -1;
}

int32_t DenseFactorPattern::columnCount(int32_t j) const {
    int32_t count = 0;
    for (int32_t i = j; i < n_; ++i) count += has(i, j) ? 1 : 0;
    return count;
}

int64_t DenseFactorPattern::numEntries() const {
    int64_t total = 0;
    for (int32_t j = 0; j < n_; ++j) total += columnCount(j);
    return total;
}

namespace {

void expectSupernode(const DenseFactorPattern& factor, const LdlSymbolic& symbolic, int32_t s) {
    const int32_t first = symbolic.superFirstCol[s], end = symbolic.superFirstCol[s + 1];
    ASSERT_GT(end, first);
    EXPECT_LE(end - first, symbolic.maxSuperCols);
    for (int32_t j = first; j < end; ++j) {
        EXPECT_EQ(symbolic.colToSuper[j], s);
        EXPECT_TRUE(j + 1 == end || factor.parent(j) != -1) << "a root inside";
    }
    const int32_t up = factor.parent(end - 1);
    ASSERT_EQ(symbolic.superParent[s], up == -1 ? -1 : symbolic.colToSuper[up]);
    Indices expected;
    for (int32_t i = first; i < factor.order(); ++i) {
        bool present = i < end;
        for (int32_t j = first; j < end && !present; ++j) present = factor.has(i, j);
        if (present) expected.push_back(i);
    }
    const auto rowsOf = [&](int32_t t) {
        const int32_t* rows = symbolic.rowList.data();
        return Indices(rows + symbolic.rowBegin[t], rows + symbolic.rowBegin[t + 1]);
    };
    EXPECT_EQ(rowsOf(s), expected);
    if (up == -1) return;
    const Indices above = rowsOf(symbolic.superParent[s]);
    EXPECT_TRUE(std::includes(above.begin(), above.end(), expected.begin() + (end - first),
                              expected.end()));
}

/// Of a block that is worth a copy: the last row that its columns up to each have in L.
void expectReach(const DenseFactorPattern& factor, const LdlSymbolic& symbolic, int32_t s) {
    if (!symbolic.thin.isCandidate(s)) return;
    const int32_t* const rows = symbolic.rowList.data() + symbolic.rowBegin[s];
    int32_t last = 0;
    for (int32_t j = symbolic.superFirstCol[s]; j < symbolic.superFirstCol[s + 1]; ++j) {
        for (int32_t i = j; i < factor.order(); ++i)
            if (factor.has(i, j)) last = std::max(last, i);
        ASSERT_EQ(rows[symbolic.thin.reach[j] - 1], last) << "column " << j;
    }
}

void expectStorage(const LdlSymbolic& symbolic) {
    int64_t values = 0, widestUpdate = 0, scaledCopy = 0;
    for (int32_t s = 0; s < symbolic.numSuper; ++s) {
        const int64_t k = symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s];
        const int64_t r = symbolic.rowBegin[s + 1] - symbolic.rowBegin[s];
        EXPECT_EQ(symbolic.valueBegin[s], values);
        values += k * r;
        widestUpdate = std::max(widestUpdate, (r - k) * std::min<int64_t>(r - k, 96));
        scaledCopy = std::max(scaledCopy, r * std::min<int64_t>(k, 96));
    }
    EXPECT_EQ(symbolic.numFactorEntries, values);
    EXPECT_GE(symbolic.updateSize, widestUpdate);
    EXPECT_EQ(symbolic.updateSize % 32, 0);
    EXPECT_GE(symbolic.updateSize2, scaledCopy);
}

void expectSizes(const TestPattern& pattern, const DenseFactorPattern& factor,
                 const LdlSymbolic& symbolic, const LdlNumeric& numeric) {
    EXPECT_EQ(symbolic.numLowerEntries, static_cast<double>(factor.numEntries() - pattern.n));
    double flops = 0;
    for (int32_t j = 0; j < pattern.n; ++j)
        flops += factor.columnCount(j) * (factor.columnCount(j) - 1.0);
    EXPECT_EQ(symbolic.flopEstimate, flops);
    EXPECT_GE(symbolic.supernodeOps, flops);
    int64_t lower = 0;
    pattern.forEach([&](int32_t i, int32_t j) {
        lower += symbolic.inversePerm[i] >= symbolic.inversePerm[j] ? 1 : 0;
    });
    EXPECT_EQ(symbolic.numMatrixLower, lower);
    EXPECT_EQ(numeric.lowerBegin[pattern.n], lower);
}

}  // namespace

void expectSoundAnalysis(const TestPattern& pattern, const LdlSymbolic& symbolic,
                         const LdlNumeric& numeric) {
    SCOPED_TRACE(pattern.name);
    const Indices perm(symbolic.perm.begin(), symbolic.perm.end());
    ASSERT_TRUE(isPermutation(perm));
    for (int32_t k = 0; k < pattern.n; ++k) EXPECT_EQ(symbolic.inversePerm[perm[k]], k);
    EXPECT_EQ(symbolic.superFirstCol[0], 0);
    ASSERT_EQ(symbolic.superFirstCol[symbolic.numSuper], pattern.n);
    const DenseFactorPattern factor(pattern, perm.data());
    for (int32_t s = 0; s < symbolic.numSuper; ++s) {
        expectSupernode(factor, symbolic, s);
        expectReach(factor, symbolic, s);
    }
    expectStorage(symbolic);
    expectSizes(pattern, factor, symbolic, numeric);
}

}  // namespace ovtest
