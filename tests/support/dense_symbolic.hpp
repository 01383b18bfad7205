// Independent checker of an analysis, on dense boolean matrices: slow, and too simple to be wrong.
#pragma once

#include "sparse/sparse_ldl.hpp"
#include "support/sparse_patterns.hpp"

namespace ovtest {

/// The pattern of L for an elimination in the order `perm`, by playing the elimination.
class DenseFactorPattern {
public:
    DenseFactorPattern(const TestPattern& pattern, const std::int32_t* perm);

    /// Row i of column j of L, i >= j; the diagonal is always there.
    [[nodiscard]] bool has(std::int32_t i, std::int32_t j) const { return filled_[j * n_ + i]; }
    /// Row of the first entry below the diagonal, -1 without any.
    [[nodiscard]] std::int32_t parent(std::int32_t j) const;
    [[nodiscard]] std::int32_t columnCount(std::int32_t j) const;
    [[nodiscard]] std::int64_t numEntries() const;
    [[nodiscard]] std::int32_t order() const { return n_; }

private:
    std::int32_t n_;
    Array<char> filled_;
};

inline std::int64_t fillOf(const TestPattern& pattern, const Indices& order) {
    return DenseFactorPattern(pattern, order.data()).numEntries();
}

/// Every record of the analysis: the permutation; the supernodes as a partition whose links agree
/// with the tree of L; their rows, which are the own columns, ascending, and then exactly the rows
/// that some column has in L, all among the rows of the parent; counts, sums and sizes of
/// the numeric stage.
void expectSoundAnalysis(const TestPattern& pattern, const ovrelin::LdlSymbolic& symbolic,
                         const ovrelin::LdlNumeric& numeric);

}  // namespace ovtest
