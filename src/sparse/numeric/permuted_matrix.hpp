// The values of P A P' on or below the diagonal, gathered for one factorisation.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills lowerBegin, lowerRow and lowerValue from a matrix with both triangles. Rows keep the order
/// in which they stand in the original columns. mismatch when the count is not the analysed one.
[[nodiscard]] int permuteLower(const std::int32_t* colBegin, const std::int32_t* rowIndex,
                               const double* matValue, const LdlSymbolic& symbolic,
                               LdlNumeric& numeric);

/// The same from a matrix that is permuted already; entries above the diagonal are skipped.
[[nodiscard]] int takeLower(const std::int32_t* colBegin, const std::int32_t* rowIndex,
                            const double* matValue, const LdlSymbolic& symbolic,
                            LdlNumeric& numeric);

}  // namespace ovrelin
