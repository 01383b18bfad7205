// The matrix of the Newton system: built and analysed once per model, its diagonal rewritten before
// every factorisation.
//
//            dx                        dy
//   dx  Q + T^-1 Z + V^-1 W            -A'
//   dy        -A                   -Y^-1 S       (zero on 'E' rows)
//
// Unknowns in this order: the numCol columns, then the numRow rows. Both triangles are stored by
// columns, every column holds its diagonal, also when it is zero.
#pragma once

#include "ipm/ipm_state.hpp"

namespace ovrelin {

/// Builds the structure and analyses it; nothing to do when both handles exist. useQuad takes Q's
/// off-diagonals into the matrix (quadratic models only). outOfMemory, interrupted or failed.
Status ipmBuildKkt(Ipm& ipm, bool useQuad);

/// The matrix without Q. Arrays as in Ipm; cannot fail.
void buildKktLinear(int32_t numRow, int32_t numCol, const int32_t* colBegin,
                    const int32_t* colLength, const int32_t* rowIndex, const double* matValue,
                    int32_t* kktColBegin, int32_t* kktRowIndex, double* kktValue,
                    int32_t* varBndDiagIndex, int32_t* ineqnDiagIndex);

/// The same with Q's off-diagonals in place. outOfMemory for the transposes.
Status buildKktQuad(Ipm& ipm);

/// Diagonal of the Newton matrix at the current iterate.
///
///   column j: q_jj + z_j/t_j + w_j/v_j, at least `regular`
///   row i:    -s_i/y_i on 'G' rows, at most -`regular` on every row
///
/// with regular = min(1e-10, smallest nonzero |diagonal| of either block), so that the matrix stays
/// quasi-definite. Rewrites kktValue at varBndDiagIndex [numCol] and ineqnDiagIndex [numRow] only.
/// O(numCol + numRow); cannot fail.
void kktRefresh(Ipm& ipm);

Status ipmFactor(Ipm& ipm);
/// Solves with the factors; the solution replaces vector [numDim].
Status ipmKktSolve(Ipm& ipm, double* vector);

}  // namespace ovrelin
