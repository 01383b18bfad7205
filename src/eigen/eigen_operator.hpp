// The matrix as the eigenvalue iteration sees it: a product, scaled by a power of two to norm about
// one so that no square leaves the range of a double, and with its sign turned when the largest
// eigenvalues are wanted, so that the wanted end is always the lower one. Both are exact.
#pragma once

#include <cstdint>

#include "ovrelin/host.h"

namespace ovrelin {

/// y [n] := A x [n] for a symmetric matrix with both triangles, by columns.
using MatVec = void (*)(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                        const double* matValue, const double* x, double* y);

/// The default product. By symmetry a column is also a row: each y_j is one dot product, and two
/// columns run together so that their sums do not wait for each other.
void symmetricProduct(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                      const double* matValue, const double* x, double* y);

/// Largest column sum of absolute values; infinite or NaN when an entry is.
double matrixOneNorm(std::int32_t n, const std::int32_t* colBegin, const double* matValue);

/// What the caller of a long computation is asked between its steps; any result but 0 ends it.
struct BreakCheck {
    std::int32_t (*poll)(void* data);  // may be null
    void* data;
};

struct EigenOperator {
    std::int32_t n;
    const std::int32_t* colBegin;
    const std::int32_t* rowIndex;
    const double* matValue;
    MatVec matVec;
    double factor;               // +-2^-k: the operator is factor * A
    double unit;                 // 2^k: callers' units of one unit of the operator
    std::int64_t matVecCount;    // products done
    const HostContext* context;  // of the calling thread, for its stop flag; may be null
    BreakCheck breakCheck;
    bool stopped;  // by one of the two
};

/// Asks for the stop flag and the caller's break; true from the first time on that one is raised.
bool stopAsked(EigenOperator& matrix);

/// y := (A x), not yet times `factor`; counts a product.
void applyUnscaled(EigenOperator& matrix, const double* x, double* y);
/// y := factor * A x; counts a product.
void applyOperator(EigenOperator& matrix, const double* x, double* y);

}  // namespace ovrelin
