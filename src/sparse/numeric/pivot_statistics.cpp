#include "sparse/numeric/pivot_statistics.hpp"

#include <algorithm>
#include <cmath>

#include "sparse/kernel/pivot_block.hpp"
#include "sparse/numeric/front.hpp"

namespace ovrelin {

namespace {

/// Larger than any smallest pivot of interest.
constexpr double noMinimum = 1e20;
/// The smallest double above 2^-53: below it there is no pivot to compare with.
constexpr double leastMaximum = 0x1.0000000000002p-53;

struct Tally {
    std::int32_t positive = 0;
    std::int32_t negative = 0;
    double smallest = noMinimum;
    double largest = 0;

    void count(double eigenvalue) { ++(eigenvalue > 0 ? positive : negative); }

    void single(double d) {
        count(d);
        smallest = std::min(smallest, std::fabs(d));
        largest = std::max(largest, std::fabs(d));
    }

    void pair(double d11, double d21, double d22) {
        const double root = std::sqrt(4 * d21 * d21 + (d11 - d22) * (d11 - d22));
        count(d11 + d22 - root);
        count(d11 + d22 + root);
        largest = std::max({largest, std::fabs(d11), std::fabs(d22)});
        const double least = std::min(std::fabs(d11), std::fabs(d22));
        if (least > 0) smallest = std::min(smallest, least);
    }
};

void addFront(const Front& front, const std::int32_t* pivot, Tally& tally) {
    const std::int64_t step = front.m + 1;
    for (std::int32_t c = 0; c < front.k; ++c) {
        const double* d = front.values + c * step;
        if (!isPair(pivot[c])) {
            tally.single(d[0]);
            continue;
        }
        tally.pair(d[0], d[1], d[step]);
        ++c;
    }
}

}  // namespace

void countPivots(LdlSymbolic& symbolic, SparseLdl& handle) {
    Tally tally;
    for (std::int32_t b = 0; b < symbolic.blocks.count; ++b) {
        const Front front = frontOf(symbolic, b);
        addFront(front, symbolic.pivotIndex.data() + front.firstCol, tally);
    }
    handle.numPositivePivots = tally.positive;
    handle.numNegativePivots = tally.negative;
    handle.pivotRatio = tally.largest >= leastMaximum ? tally.smallest / tally.largest : 0;
}

}  // namespace ovrelin
