// A narrow front whose columns are known to end early gets the factors of one that is taken for
// full.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "sparse/kernel/pivot_block.hpp"

namespace {

using ovrelin::factorPivotBlock;
using ovrelin::PivotRule;
using std::int32_t;

/// An m x k trapezoid of few entries beside the diagonal, most of which is too small for a pivot.
struct Banded {
    int32_t m, k;
    std::vector<double> value;
    std::vector<int32_t> reach;

    Banded(std::mt19937& random, int32_t rows, int32_t cols, int32_t width)
        : m(rows), k(cols), value(static_cast<size_t>(rows * cols + 8)) {
        std::vector<char> filled(static_cast<size_t>(m * m));
        const auto at = [&](int32_t r, int32_t c) { return static_cast<size_t>(c * m + r); };
        std::uniform_real_distribution<double> entry(-1, 1);
        for (int32_t c = 0; c < k; ++c)
            for (int32_t r = c; r < std::min(m, c + 1 + width); ++r) {
                if (r > c && random() % 3 != 0) continue;
                value[at(r, c)] = (r == c && random() % 2 == 0 ? 1e-3 : 1) * entry(random);
                filled[at(r, c)] = 1;
            }
        int32_t last = 0;
        for (int32_t c = 0; c < k; ++c) {
            for (int32_t r = c + 1; r < m; ++r)
                for (int32_t i = r; i < m && filled[at(r, c)] != 0; ++i)
                    if (filled[at(i, c)] != 0) filled[at(i, r)] = 1;
            for (int32_t r = c; r < m; ++r)
                if (filled[at(r, c)] != 0) last = std::max(last, r);
            reach.push_back(last + 1);
        }
    }
};

struct Factors {
    std::vector<double> front, scaled;
    std::vector<int32_t> pivot;
    int32_t numPerturbed = 0;

    Factors(const Banded& a, const int32_t* reach)
        : front(a.value),
          scaled(static_cast<size_t>((a.m + 7) / 8 * 8 * a.k + 8),
                 std::numeric_limits<double>::quiet_NaN()),
          pivot(static_cast<size_t>(a.k)) {
        const PivotRule rule{1e-8, 0.6403882032022076, 96};
        EXPECT_TRUE(factorPivotBlock(a.m, a.k, {front.data(), a.m},
                                     {scaled.data(), (a.m + 7) / 8 * 8}, rule, nullptr,
                                     pivot.data(), &numPerturbed, reach));
    }
};

TEST(NarrowFront, OfKnownReachHasTheFactorsOfAFullOne) {
    std::mt19937 random(5);
    int32_t swaps = 0, pairs = 0;
    for (int32_t round = 0; round < 3000; ++round) {
        const auto k = static_cast<int32_t>(1 + random() % 48), width = 1 + round % 6;
        const Banded a(random, k + static_cast<int32_t>(random() % 12), k, width);
        const Factors full(a, nullptr), known(a, a.reach.data());
        ASSERT_EQ(known.pivot, full.pivot) << round;
        ASSERT_EQ(known.numPerturbed, full.numPerturbed);
        const size_t ld = static_cast<size_t>((a.m + 7) / 8 * 8);
        for (int32_t c = 0; c < k; ++c) {
            const auto from = static_cast<size_t>(c * a.m);
            for (int32_t r = c; r < a.m; ++r)
                // The ends of columns may be stored entry by entry, and rounded otherwise.
                ASSERT_NEAR(known.front[from + static_cast<size_t>(r)],
                            full.front[from + static_cast<size_t>(r)], 1e-14)
                    << "round " << round << " at " << r << ", " << c;
            for (size_t r = static_cast<size_t>(k); r < static_cast<size_t>(a.m); ++r)
                ASSERT_EQ(known.scaled[static_cast<size_t>(c) * ld + r],
                          full.scaled[static_cast<size_t>(c) * ld + r]);
            swaps += full.pivot[static_cast<size_t>(c)] > c ? 1 : 0;
            pairs += full.pivot[static_cast<size_t>(c)] < 0 ? 1 : 0;
        }
    }
    EXPECT_GT(swaps, 1000);
    EXPECT_GT(pairs, 10000);
}

}  // namespace
