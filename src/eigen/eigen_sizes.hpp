// How large the search space of the eigenvalue solver is: decided once, from the order, the number
// of wanted pairs and the size of the matrix.
#pragma once

#include <cstdint>

#include "frame/parameters/eigen_parameters.hpp"

namespace ovrelin {

struct EigenSizes {
    std::int32_t numWanted;  // min(count, n)
    std::int32_t maxBasis;   // largest dimension of the search space
    std::int32_t keepBasis;  // what a restart keeps
    std::int32_t initBasis;  // dimension of the starting space
};

/// For n >= 1 and eigenCount >= 1; all four sizes are in 1 .. n. `matrixNorm` is the 1-norm.
EigenSizes eigenSizes(std::int32_t n, std::int32_t numEntries, std::int32_t eigenCount,
                      double matrixNorm, const EigenParameters& parameters);

}  // namespace ovrelin
