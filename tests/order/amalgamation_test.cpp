// The merging rules at their bounds, on supernodes few enough to count by hand.
#include <gtest/gtest.h>

#include "sparse/symbolic/second_amalgamation.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using ovtest::Indices;

struct Super {
    std::int32_t columns, rows;
};

/// Merges supernodes in a forest of columns; what is left are the widths. By the second rule where
/// it is asked for the rows as well.
Indices merge(const std::vector<Super>& supers, const Indices& parent, Indices* rows = nullptr) {
    Indices firstCol(parent.size() + 1), numRows(parent.size() + 1), widths;
    SupernodePartition partition{0, firstCol.data(), numRows.data()};
    for (const Super& super : supers) {
        const std::int32_t s = partition.numSuper++;
        firstCol[s + 1] = firstCol[s] + super.columns;
        numRows[s] = super.rows;
    }
    const auto n = static_cast<std::int32_t>(parent.size());
    if (rows == nullptr)
        amalgamate(n, parent.data(), SparseParameters{}, partition,
                   ovtest::ScratchBlock(amalgamateScratchBytes(n)));
    else
        mergeLeafRuns(n, parent.data(), partition,
                      ovtest::ScratchBlock(secondAmalgamationScratchBytes(n)));
    if (rows != nullptr) rows->assign(numRows.begin(), numRows.begin() + partition.numSuper);
    for (std::int32_t s = 0; s < partition.numSuper; ++s)
        widths.push_back(firstCol[s + 1] - firstCol[s]);
    return widths;
}

/// Every supernode is the parent of the one before it.
Indices chainParents(const std::vector<Super>& chain) {
    std::int32_t n = 0;
    for (const Super& super : chain) n += super.columns;
    Indices parent = ovtest::countUp(n + 1);
    parent.erase(parent.begin());
    parent.back() = -1;
    return parent;
}

struct Case {
    const char* reason;
    std::vector<Super> chain;
    Indices widths;
};

TEST(Amalgamation, FollowsItsRuleOnChains) {
    const Case cases[] = {
        {"the same rows: no zeros, however wide", {{100, 150}, {50, 50}}, {150}},
        {"four columns whatever the cost", {{2, 3}, {2, 400}}, {4}},
        {"but not five", {{2, 3}, {3, 400}}, {2, 3}},
        // One column takes r2 - r1 + 1 zeros.
        {"127 zeros are free below 17 columns", {{1, 2}, {7, 128}}, {8}},
        {"128 are above a tenth of 28 + 8 * 122", {{1, 2}, {7, 129}}, {1, 7}},
        {"and below a tenth of 120 + 16 * 113", {{1, 2}, {15, 129}}, {16}},
        // 17 columns without rows below have 136 places.
        {"17 to 48 columns: below a tenth", {{1, 4}, {16, 16}}, {17}},
        {"strictly", {{1, 3}, {16, 16}}, {1, 16}},
        {"from 49 columns a twentieth: 60 of 1176 + 49", {{2, 20}, {47, 48}}, {49}},
        {"but not 62", {{2, 19}, {47, 48}}, {2, 47}},
        {"a share of many rows", {{1, 1}, {60, 200}}, {61}},
        {"the third meets zeros that the second took over", {{1, 1}, {1, 60}, {4, 122}}, {1, 5}},
        {"and fits without them", {{1, 61}, {5, 123}}, {6}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(merge(c.chain, chainParents(c.chain)), c.widths) << c.reason;
}

// A run begins at a leaf, has the rows of its last supernode besides its own, and ends before it
// would have 32 columns; what comes above it stays as it is.
TEST(Amalgamation, TheSecondOneTakesRunsFromTheLeaves) {
    const struct {
        std::vector<Super> supers;
        Indices parent, widths, rows;
    } cases[] = {
        {{{20, 25}, {11, 40}, {1, 9}, {1, 3}}, {}, {31, 1, 1}, {60, 9, 3}},
        {{{20, 25}, {12, 40}, {1, 9}}, {}, {20, 12, 1}, {25, 40, 9}},
        // Two leaves under a root, and a tree beside them.
        {{{1, 2}, {1, 2}, {1, 1}, {1, 1}}, {2, 2, -1, -1}, {3, 1}, {3, 1}},
    };
    for (const auto& c : cases) {
        Indices rows;
        const Indices parent = c.parent.empty() ? chainParents(c.supers) : c.parent;
        EXPECT_EQ(merge(c.supers, parent, &rows), c.widths) << "case " << &c - cases;
        EXPECT_EQ(rows, c.rows) << "case " << &c - cases;
    }
}

TEST(Amalgamation, OnlyTheParentStraightBehindIsMerged) {
    // Two children of one root: the first is not followed by its parent until the second is merged.
    EXPECT_EQ(merge({{1, 2}, {1, 2}, {1, 1}}, {2, 2, -1}), Indices({3}));
    // A separate tree behind it is none of its business.
    EXPECT_EQ(merge({{1, 1}, {1, 1}}, {-1, -1}), Indices({1, 1}));
}

}  // namespace
