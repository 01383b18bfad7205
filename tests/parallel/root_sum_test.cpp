// The storage of root sums: strips that lie behind each other and hold the lower triangle.
#include "sparse/numeric/root_sum.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

using ovrelin::Front;
using ovrelin::RootSum;

TEST(RootSum, StripsHoldTheLowerTriangleWithoutGaps) {
    for (std::int32_t count = 1; count <= 3 * RootSum::stripColumns; ++count) {
        std::vector<std::int32_t> rows(static_cast<std::size_t>(count));
        std::vector<std::int32_t> place(static_cast<std::size_t>(2 * count));
        for (std::int32_t r = 0; r < count; ++r) {
            rows[static_cast<std::size_t>(r)] = 2 * r + 1;
            place[static_cast<std::size_t>(2 * r + 1)] = r;
        }
        std::vector<double> values(static_cast<std::size_t>(RootSum::sizeOf(count)));
        const RootSum sum{values.data(), count, rows.data(), place.data()};
        double* next = values.data();
        for (std::int32_t col = 0; col < count;) {
            const Front strip = sum.stripWith(col);
            EXPECT_TRUE(strip.isOfSum());
            EXPECT_EQ(strip.values, next);
            EXPECT_EQ(strip.rows[0], 2 * col + 1);
            EXPECT_EQ(strip.m, count - col);
            EXPECT_EQ(sum.stripWith(col + strip.k - 1).values, strip.values);
            EXPECT_EQ(sum.placeIn(strip, 2 * count - 1), strip.m - 1);
            next += std::int64_t{strip.m} * strip.k;
            col += strip.k;
        }
        EXPECT_EQ(next, values.data() + values.size());
    }
}

}  // namespace
