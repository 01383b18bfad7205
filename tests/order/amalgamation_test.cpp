// The merging rule at its bounds, on chains of supernodes small enough to count by hand.
#include <gtest/gtest.h>

#include <vector>

#include "sparse/symbolic/supernodes.hpp"

namespace {

using namespace ovrelin;

struct Super {
    std::int32_t columns;
    std::int32_t rows;
};

// A chain: every supernode is the parent of the one before it. Returns the widths that are left.
std::vector<std::int32_t> mergeChain(const std::vector<Super>& chain) {
    std::int32_t n = 0;
    for (const Super& super : chain) n += super.columns;
    std::vector<std::int32_t> firstCol(static_cast<std::size_t>(n) + 1);
    std::vector<std::int32_t> numRows(static_cast<std::size_t>(n) + 1);
    std::vector<std::int32_t> parent(static_cast<std::size_t>(n));
    for (std::int32_t j = 0; j < n; ++j) {
        parent[static_cast<std::size_t>(j)] = j + 1 < n ? j + 1 : -1;
    }
    SupernodePartition partition{static_cast<std::int32_t>(chain.size()), firstCol.data(),
                                 numRows.data()};
    for (std::size_t s = 0; s < chain.size(); ++s) {
        firstCol[s + 1] = firstCol[s] + chain[s].columns;
        numRows[s] = chain[s].rows;
    }
    std::vector<std::byte> memory(amalgamateScratchBytes(n));
    amalgamate(n, parent.data(), SparseParameters{}, partition,
               Scratch(memory.data(), memory.size()));
    std::vector<std::int32_t> widths;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        widths.push_back(partition.firstCol[s + 1] - partition.firstCol[s]);
    }
    return widths;
}

using Widths = std::vector<std::int32_t>;

TEST(Amalgamation, RuleByWidth) {
    // Same rows: no zeros, however wide.
    EXPECT_EQ(mergeChain({{100, 150}, {50, 50}}), Widths({150}));
    // Four columns merge whatever the cost; five do not.
    EXPECT_EQ(mergeChain({{2, 3}, {2, 400}}), Widths({4}));
    EXPECT_EQ(mergeChain({{2, 3}, {3, 400}}), Widths({2, 3}));
    // One column takes r2 - r1 + 1 zeros: 127 of them are free below 17 columns; 128 need a small
    // share, and 128 of 28 + 8 * 122 is above a tenth, 128 of 120 + 16 * 113 below.
    EXPECT_EQ(mergeChain({{1, 2}, {7, 128}}), Widths({8}));
    EXPECT_EQ(mergeChain({{1, 2}, {7, 129}}), Widths({1, 7}));
    EXPECT_EQ(mergeChain({{1, 2}, {15, 129}}), Widths({16}));
    // 17 to 48 columns: below a tenth, strictly. 17 columns without rows below have 136 places.
    EXPECT_EQ(mergeChain({{1, 4}, {16, 16}}), Widths({17}));
    EXPECT_EQ(mergeChain({{1, 3}, {16, 16}}), Widths({1, 16}));
    // From 49 columns on a twentieth: 60 of 1176 + 49 places pass, 62 do not.
    EXPECT_EQ(mergeChain({{2, 20}, {47, 48}}), Widths({49}));
    EXPECT_EQ(mergeChain({{2, 19}, {47, 48}}), Widths({2, 47}));
    EXPECT_EQ(mergeChain({{1, 1}, {60, 200}}), Widths({61}));
}

TEST(Amalgamation, ZerosOfEarlierMergesCount) {
    // Each single merge fits; the third supernode meets the zeros that the second one took over.
    EXPECT_EQ(mergeChain({{1, 1}, {1, 60}, {4, 122}}), Widths({1, 5}));
    EXPECT_EQ(mergeChain({{1, 61}, {5, 123}}), Widths({6}));
}

TEST(Amalgamation, OnlyTheParentStraightBehindIsMerged) {
    // Two children of one root: the first is not followed by its parent until the second is merged.
    std::int32_t parent[] = {2, 2, -1};
    std::int32_t firstCol[] = {0, 1, 2, 3};
    std::int32_t numRows[] = {2, 2, 1, 0};
    SupernodePartition partition{3, firstCol, numRows};
    std::vector<std::byte> memory(amalgamateScratchBytes(3));
    amalgamate(3, parent, SparseParameters{}, partition, Scratch(memory.data(), memory.size()));
    EXPECT_EQ(partition.numSuper, 1);
    EXPECT_EQ(partition.numRows[0], 3);
    // A separate tree behind it is none of its business.
    std::int32_t roots[] = {-1, -1};
    std::int32_t rootCol[] = {0, 1, 2};
    std::int32_t rootRows[] = {1, 1, 0};
    SupernodePartition forest{2, rootCol, rootRows};
    amalgamate(2, roots, SparseParameters{}, forest, Scratch(memory.data(), memory.size()));
    EXPECT_EQ(forest.numSuper, 2);
}

}  // namespace
