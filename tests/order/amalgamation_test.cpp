// The merging rule at its bounds, on chains of supernodes small enough to count by hand.
#include <gtest/gtest.h>

#include "sparse/symbolic/supernodes.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using ovtest::Indices;

struct Super {
    std::int32_t columns, rows;
};

/// Merges supernodes in a forest of columns; what is left are the widths.
Indices merge(const std::vector<Super>& supers, const Indices& parent) {
    Indices firstCol(parent.size() + 1), numRows(parent.size() + 1), widths;
    SupernodePartition partition{0, firstCol.data(), numRows.data()};
    for (const Super& super : supers) {
        const std::int32_t s = partition.numSuper++;
        firstCol[s + 1] = firstCol[s] + super.columns;
        numRows[s] = super.rows;
    }
    const auto n = static_cast<std::int32_t>(parent.size());
    amalgamate(n, parent.data(), SparseParameters{}, partition,
               ovtest::ScratchBlock(amalgamateScratchBytes(n)));
    for (std::int32_t s = 0; s < partition.numSuper; ++s)
        widths.push_back(firstCol[s + 1] - firstCol[s]);
    return widths;
}

struct Case {
    const char* reason;
    std::vector<Super> chain;  // every supernode is the parent of the one before it
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
    for (const Case& c : cases) {
        std::int32_t n = 0;
        for (const Super& super : c.chain) n += super.columns;
        Indices parent = ovtest::countUp(n + 1);
        parent.erase(parent.begin());
        parent.back() = -1;
        EXPECT_EQ(merge(c.chain, parent), c.widths) << c.reason;
    }
}

TEST(Amalgamation, OnlyTheParentStraightBehindIsMerged) {
    // Two children of one root: the first is not followed by its parent until the second is merged.
    EXPECT_EQ(merge({{1, 2}, {1, 2}, {1, 1}}, {2, 2, -1}), Indices({3}));
    // A separate tree behind it is none of its business.
    EXPECT_EQ(merge({{1, 1}, {1, 1}}, {-1, -1}), Indices({1, 1}));
}

}  // namespace
