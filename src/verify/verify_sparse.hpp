// Self-checks of sparse structures. Each returns at once below debugLevel 1; failed for a fault,
// outOfMemory for its own work arrays.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

/// The live parts of `columns` and `rows` hold the same elements, and each is in range and free of
/// duplicates.
Status VerifyRowMatrix(SolverInstance* instance, int32_t debugLevel, const LiveLists& columns,
                       const LiveLists& rows);

/// The live indices of every list lie in 0 .. range-1, once each.
Status VerifySparseIndex(SolverInstance* instance, int32_t debugLevel, const LiveLists& lists,
                         int32_t range);

/// The entries of `map` that are not negative count 0, 1, .. reducedSize-1 in ascending order.
Status VerifyMapping(SolverInstance* instance, int32_t debugLevel, const PoolArray<int32_t>& map,
                     int32_t reducedSize);

}  // namespace ovrelin
