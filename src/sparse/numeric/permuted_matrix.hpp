// The values of P A P' on or below the diagonal, gathered for one factorisation.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills lowerBegin, lowerRow, lowerSource and lowerPlace from a matrix with both triangles, or,
/// with `reuse` other than 0, from one that is permuted already, whose entries above the diagonal
/// are skipped. Rows keep the order in which they stand in the given columns. A matrix with the
/// very pattern of the last call with reuse 0 costs a comparison.
///
/// mismatch when the count of entries is not the analysed one, or when one of them has no place in
/// the factor. relativeIndex is its scratch.
[[nodiscard]] int takePattern(int reuse, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                              LdlSymbolic& symbolic, LdlNumeric& numeric);

/// Fills lowerValue for the new columns [begin, end); different columns may be taken by different
/// threads.
void takeValues(const double* matValue, LdlNumeric& numeric, std::int32_t begin, std::int32_t end);

}  // namespace ovrelin
