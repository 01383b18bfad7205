// A separable quadratic program with one constraint, solved on the caller's arrays alone.
#pragma once

#include <cstdint>

#include "ovrelin/objects.h"

namespace ovrelin {

/// minimise sum(0.5 q_i x_i^2 + c_i x_i)  subject to  sum x_i = b,  l_i <= x_i <= u_i  (by
/// boundType)
///
/// with q_i >= 0. A primal-dual interior-point iteration whose Newton systems, a diagonal bordered
/// by one dense row, are solved in closed form. No allocation, no host service. Returns 0 solved,
/// 1 infeasible, 4 iteration limit, 5 a negative q_i. When the bounds alone decide (returns 1, and
/// 0 with all variables at one side) the result fields stay unwritten.
std::int32_t solveSingleConstraintQp(SingleConstraintRequest* request);

}  // namespace ovrelin
