// Orthonormalisation of one vector against a set of orthonormal columns.
#pragma once

#include <cstdint>

namespace ovrelin {

/// Classical Gram-Schmidt, repeated while a pass takes away so much of the vector that rounding in
/// what is left could have a share in the columns (Daniel, Gragg, Kaufman, Stewart 1976). On true
/// `vector` [rows] is a unit vector orthogonal to the `count` columns (leading dimension ld). On
/// false nothing is left of it but rounding. `coefficients` [count] is scratch.
bool orthonormalise(std::int32_t rows, std::int32_t count, const double* columns, std::int32_t ld,
                    double* vector, double* coefficients);

}  // namespace ovrelin
