// Geometric-mean scaling of a linear program by powers of two, and its exact inverse.
//
//   a_ij <- a_ij r_i c_j,  obj_j <- obj_j c_j s,  rhs_i, range_i <- r_i times it,
//   lower_j, upper_j <- it / c_j  (finite ones only)
//
// The factors are powers of two and no scaled number overflows or loses bits, so that undoing gives
// the model back bit for bit.
#pragma once

#include "ovrelin/objects.h"

namespace scaling {

/// A bound of this magnitude or more is absent and never scaled; no finite bound is scaled up to
/// it.
inline constexpr double absentBound = OVRELIN_INFINITY_BOUND;

/// rowScale [numRow + 1] takes r and s, colScale [numCol + 1] takes c; see ComputeScaling for the
/// arguments. With a direction other than +1 the model may have quadratic terms, which are not
/// handed over: then columns and objective keep the factor 1 and only rows are scaled. `obj`,
/// `rhs`, `range` and the bounds may be null. Returns 0, or -1086 without memory (nothing changed
/// then).
int32_t computeScaling(ScalingInstance* instance, int32_t direction, double primalTol,
                       int32_t numRow, int32_t numCol, int32_t numCoef, const int32_t* colBegin,
                       const int32_t* colLength, const int32_t* rowIndex, double* matValue,
                       double* obj, double* lower, double* upper, double* rowScale,
                       double* colScale, void* null0, void* null1, double* rhs,
                       const char* rowSense, double* range, void* null2, void* null3, void* null4,
                       void* null5);

/// The way back for any positive factors, also such as the caller has changed meanwhile; and of the
/// solution: solPrimal *= c, solDual *= r / s, rowActivity /= r. All arrays but the matrix may be
/// null. Returns 0.
int32_t applyScaling(int32_t one, int32_t numRow, int32_t numCol, const int32_t* colBegin,
                     const int32_t* colLength, const int32_t* rowIndex, double* matValue,
                     double* rhs, double* range, double* obj, double* lower, double* upper,
                     void* null0, void* null1, const double* rowScale, const double* colScale,
                     double* solPrimal, double* solDual, void* null2, double* rowActivity);

}  // namespace scaling
