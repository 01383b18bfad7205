// The residual of a solution and the backward error that the refinement is steered by.
#pragma once

#include <cstdint>

namespace ovrelin {

/// The matrix of a solve, both triangles by columns.
struct SymmetricMatrix {
    std::int32_t n;
    const std::int32_t* colBegin;
    const std::int32_t* rowIndex;
    const double* value;
};

struct ResidualNorms {
    double backwardError;  // ||b - A x|| / (||x|| ||A|| + ||b||) in maximum norms; 0 when b is 0;
                           // NaN when the residual is not finite
    double matrixNorm;     // ||A||_inf
};

/// r = b - A x and its measure, in one pass over the matrix.
ResidualNorms computeResidual(const SymmetricMatrix& matrix, const double* b, const double* x,
                              double* r);

/// y = A x.
void multiply(const SymmetricMatrix& matrix, const double* x, double* y);

}  // namespace ovrelin
