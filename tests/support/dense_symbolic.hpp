// Independent checkers of an analysis, on dense boolean matrices: slow, and too simple to be wrong.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sparse/sparse_ldl.hpp"
#include "support/sparse_patterns.hpp"

namespace ovtest {

/// The pattern of L for an elimination in the order `perm`, by playing the elimination.
class DenseFactorPattern {
public:
    DenseFactorPattern(const TestPattern& pattern, const std::int32_t* perm);

    /// Row i of column j of L, i >= j; the diagonal is always there.
    [[nodiscard]] bool has(std::int32_t i, std::int32_t j) const {
        return filled_[static_cast<std::size_t>(j) * static_cast<std::size_t>(n_) +
                       static_cast<std::size_t>(i)] != 0;
    }
    /// Row of the first entry below the diagonal, -1 without any.
    [[nodiscard]] std::int32_t parent(std::int32_t j) const;
    [[nodiscard]] std::int32_t columnCount(std::int32_t j) const;
    [[nodiscard]] std::int64_t numEntries() const;
    [[nodiscard]] std::int32_t order() const { return n_; }

private:
    std::int32_t n_;
    std::vector<char> filled_;
};

/// Each checker returns an empty text, or what is wrong.
std::string checkPermutation(std::int32_t n, const std::int32_t* perm,
                             const std::int32_t* inversePerm);
/// Partition, links between supernodes, and the links' agreement with the tree of L.
std::string checkSupernodeTree(const DenseFactorPattern& factor,
                               const ovrelin::LdlSymbolic& symbolic);
/// Every supernode has its own columns, ascending, and then exactly the rows that some column of it
/// has in L; these are among the rows of its parent.
std::string checkRowStructure(const DenseFactorPattern& factor,
                              const ovrelin::LdlSymbolic& symbolic);
/// Counts, sums and sizes of all arrays.
std::string checkSizes(const TestPattern& pattern, const DenseFactorPattern& factor,
                       const ovrelin::LdlSymbolic& symbolic, const ovrelin::LdlNumeric& numeric);
/// All of these.
std::string checkAnalysis(const TestPattern& pattern, const ovrelin::LdlSymbolic& symbolic,
                          const ovrelin::LdlNumeric& numeric);

}  // namespace ovtest
