// The sweeps over columns that are kept without their zeros.
#pragma once

#include <cstdint>

#include "sparse/thin_records.hpp"

namespace ovrelin {

/// The columns and the vector that a sweep works on.
struct ThinSweep {
    const ThinColumn* column;
    const std::int32_t* row;
    const double* value;
    double* y;  // [n] in the order of the factors, and one more that may be read
    std::int32_t n;
};

/// y = D^-1 L^-1 y over the columns begin .. end - 1.
void forwardThin(const ThinSweep& thin, std::int32_t begin, std::int32_t end);
/// y = L^-T y over the columns end - 1 .. begin.
void backwardThin(const ThinSweep& thin, std::int32_t begin, std::int32_t end);

}  // namespace ovrelin
