// The first primal-dual point. The matrix of the iterations is reused with small integers on its
// diagonal: one solve gives a point that satisfies the rows with x close to its bounds, another one
// a dual point that satisfies the columns; a common shift moves every slack and dual into the
// interior.
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

/// Linear models. outOfMemory, interrupted or solveFailed from the sparse solver; interrupted or
/// timeLimit from a poll, with the point as far as it has got.
Status ipmInitLP(Ipm& ipm);
/// Quadratic models: the primal start minimises the objective too, and both starts stay well
/// inside.
Status ipmInitQP(Ipm& ipm);

/// Ax - s = b with x close to its bounds; then the shift.
Status ipmInitPrimal(Ipm& ipm);
/// A'y + z - w = c (+ Qx for quadratic models); then the shift.
Status ipmInitDual(Ipm& ipm);

/// A diagonal v < eps becomes min(-eps, v), in every column and row: [-eps, eps) is left empty.
void pushDiagonal(int32_t numCol, int32_t numRow, double* kktValue, const int32_t* varBndDiagIndex,
                  const int32_t* ineqnDiagIndex, double eps);

}  // namespace ovrelin
