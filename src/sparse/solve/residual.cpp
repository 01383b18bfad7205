#include "sparse/solve/residual.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/sparse_columns.hpp"

namespace ovrelin {

using std::int32_t;

ResidualNorms computeResidual(const SymmetricMatrix& matrix, const double* b, const double* x,
                              double* r) {
    double largestResidual = 0, largestRhs = 0, matrixNorm = 0;
    double poison = 0;  // NaN as soon as a residual is not finite, which the maxima would overlook
    for (int32_t i = 0; i < matrix.n; ++i) {
        double value = b[i], rowSum = 0;
        for (int32_t k = matrix.colBegin[i]; k < matrix.colBegin[i + 1]; ++k) {
            value -= matrix.value[k] * x[matrix.rowIndex[k]];
            rowSum += std::fabs(matrix.value[k]);
        }
        r[i] = value;
        poison += value - value;
        largestResidual = std::max(largestResidual, std::fabs(value));
        largestRhs = std::max(largestRhs, std::fabs(b[i]));
        matrixNorm = std::max(matrixNorm, rowSum);
    }
    const double scale = maxNorm(matrix.n, x) * matrixNorm + largestRhs;
    return {(largestRhs == 0 ? 0 : largestResidual / scale) + poison, matrixNorm};
}

void multiply(const SymmetricMatrix& matrix, const double* x, double* y) {
    for (int32_t i = 0; i < matrix.n; ++i) {
        double sum = 0;
        for (int32_t k = matrix.colBegin[i]; k < matrix.colBegin[i + 1]; ++k)
            sum += matrix.value[k] * x[matrix.rowIndex[k]];
        y[i] = sum;
    }
}

}  // namespace ovrelin
