// The update of a front with few rows below its columns, entry by entry into places that are known.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// values[place[i]] -= W(r, c), i running over the lower triangle of W = S L' by columns.
///
///   lower   L [count x k], count <= 8
///   scaled  S = L D [count x k], read up to seven rows beyond
void subtractDirectly(std::int32_t count, std::int32_t k, ConstBlock lower, ConstBlock scaled,
                      const std::int32_t* place, double* values);

}  // namespace ovrelin
