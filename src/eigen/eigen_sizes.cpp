#include "eigen/eigen_sizes.hpp"

#include <algorithm>

namespace ovrelin {
namespace {

std::int32_t roundedShare(double share, std::int32_t size) {
    return static_cast<std::int32_t>(share * size + 0.5);
}

std::int32_t largestBasis(std::int32_t n, std::int32_t numEntries, std::int32_t numWanted,
                          double matrixNorm, const EigenParameters& parameters) {
    const std::int64_t wanted = numWanted;
    std::int64_t size = 5 * wanted;
    if (numWanted < 5) size = matrixNorm <= parameters.hardNorm ? 2 * wanted + 13 : wanted + 19;
    const double meanColumn = static_cast<double>(numEntries) / n;
    if (numWanted > parameters.manyPairs && meanColumn < parameters.sparseColumn &&
        matrixNorm < parameters.sparseNorm) {
        size = 3 * wanted;
    }
    return static_cast<std::int32_t>(std::min<std::int64_t>(size, n));
}

}  // namespace

EigenSizes eigenSizes(std::int32_t n, std::int32_t numEntries, std::int32_t eigenCount,
                      double matrixNorm, const EigenParameters& parameters) {
    EigenSizes sizes{};
    const std::int32_t roof = std::max(n - 2, 1);
    sizes.numWanted = std::min(eigenCount, n);
    sizes.maxBasis = largestBasis(n, numEntries, sizes.numWanted, matrixNorm, parameters);
    const std::int32_t keep = roundedShare(parameters.keepShare, sizes.maxBasis);
    sizes.keepBasis = std::min(std::max(keep, sizes.numWanted), roof);
    sizes.initBasis = sizes.keepBasis;
    const bool longStart =
        matrixNorm > parameters.longStartNorm && matrixNorm < parameters.hardNorm &&
        sizes.keepBasis < parameters.longStartBasis && sizes.numWanted < n - 1 && n > 2;
    if (longStart) {
        const std::int32_t start = roundedShare(parameters.startShare, sizes.maxBasis);
        sizes.initBasis = std::min(std::max(start, sizes.numWanted), roof);
    }
    return sizes;
}

}  // namespace ovrelin
