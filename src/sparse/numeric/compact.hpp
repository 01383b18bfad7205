// The factorisation by one thread of a factor that fits the cache.
#pragma once

#include "sparse/numeric/front.hpp"

namespace ovrelin {

/// Factors all block columns from the values of the given matrix. The factor must be compact.
/// Returns ok or stopped.
[[nodiscard]] int factorCompact(Factorisation& work, const double* matValue);

}  // namespace ovrelin
