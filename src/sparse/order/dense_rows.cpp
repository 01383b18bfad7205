#include "sparse/order/dense_rows.hpp"

#include <algorithm>
#include <cmath>

namespace ovrelin {
namespace {

// Vertices by degree, the highest first, isolated ones left out. Returns how many there are.
std::int32_t sortByDegree(std::int32_t n, const std::int32_t* degree, std::int32_t* sorted,
                          std::int32_t* begin) {
    std::fill_n(begin, std::int64_t{n} + 1, 0);
    for (std::int32_t i = 0; i < n; ++i) ++begin[degree[i]];
    const std::int32_t numLive = n - begin[0];
    std::int32_t sum = 0;
    for (std::int32_t g = n - 1; g > 0; --g) {
        const std::int32_t count = begin[g];
        begin[g] = sum;
        sum += count;
    }
    for (std::int32_t i = 0; i < n; ++i) {
        if (degree[i] > 0) sorted[begin[degree[i]]++] = i;
    }
    return numLive;
}

// With mean degree avg over m vertices, taking out one of degree g leaves the sum avg m - 2g. It is
// worth it while avg - (avg m - 2g)/m >= 40 ln(avg) / m. At a mean of one or less the logarithm
// sets no limit any more, and the graph that is left is a few edges: nothing there is dense.
std::int32_t countByDensity(std::int32_t numLive, const std::int32_t* degree,
                            const std::int32_t* sorted) {
    double total = 0.0;
    for (std::int32_t k = 0; k < numLive; ++k) total += degree[sorted[k]];
    double left = numLive;
    std::int32_t count = 0;
    for (; count < numLive; ++count) {
        const double average = total / left;
        const double after = total - 2.0 * degree[sorted[count]];
        if (average <= 1.0 || average - after / left < 40.0 * std::log(average) / left) break;
        total = after;
        left -= 1.0;
    }
    return count;
}

}  // namespace

std::int32_t denseThreshold(std::int32_t n, double factor) {
    const double wanted = std::max(16.0, factor * std::sqrt(static_cast<double>(n)));
    return static_cast<std::int32_t>(std::min(wanted, static_cast<double>(n)));
}

std::size_t denseRowsScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1);
}

std::int32_t findDenseRows(std::int32_t n, const std::int32_t* degree, const DenseRule& rule,
                           std::int32_t* dense, Scratch scratch) {
    std::int32_t* begin = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    const std::int32_t numLive = sortByDegree(n, degree, dense, begin);
    if (rule.byDensity) return countByDensity(numLive, degree, dense);
    std::int32_t count = 0;
    while (count < numLive && degree[dense[count]] >= rule.threshold) ++count;
    return count;
}

}  // namespace ovrelin
