#include "eigen/eigen_operator.hpp"

#include <algorithm>
#include <cmath>

#include "frame/host_services.hpp"
#include "linalg/blas.hpp"

namespace ovrelin {
namespace {

double columnDot(std::int32_t count, const std::int32_t* index, const double* value,
                 const double* x) {
    double sum = 0;
    for (std::int32_t k = 0; k < count; ++k) sum += value[k] * x[index[k]];
    return sum;
}

}  // namespace

void symmetricProduct(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                      const double* matValue, const double* x, double* y) {
    std::int32_t j = 0;
    for (; j + 1 < n; j += 2) {
        const std::int32_t middle = colBegin[j + 1], length0 = middle - colBegin[j];
        const std::int32_t length1 = colBegin[j + 2] - middle, common = std::min(length0, length1);
        const std::int32_t *index0 = rowIndex + colBegin[j], *index1 = rowIndex + middle;
        const double *value0 = matValue + colBegin[j], *value1 = matValue + middle;
        double sum0 = 0, sum1 = 0;
        for (std::int32_t k = 0; k < common; ++k) {
            sum0 += value0[k] * x[index0[k]];
            sum1 += value1[k] * x[index1[k]];
        }
        y[j] = sum0 + columnDot(length0 - common, index0 + common, value0 + common, x);
        y[j + 1] = sum1 + columnDot(length1 - common, index1 + common, value1 + common, x);
    }
    if (j < n) {
        y[j] = columnDot(colBegin[j + 1] - colBegin[j], rowIndex + colBegin[j],
                         matValue + colBegin[j], x);
    }
}

double matrixOneNorm(std::int32_t n, const std::int32_t* colBegin, const double* matValue) {
    double norm = 0;
    for (std::int32_t j = 0; j < n; ++j) {
        double sum = 0;
        for (std::int32_t k = colBegin[j]; k < colBegin[j + 1]; ++k) sum += std::fabs(matValue[k]);
        if (!(sum <= norm)) norm = sum;
        if (std::isnan(norm)) return norm;
    }
    return norm;
}

bool stopAsked(EigenOperator& matrix) {
    const BreakCheck& check = matrix.breakCheck;
    if (stopRequested(matrix.context)) matrix.stopped = true;
    if (!matrix.stopped && check.poll != nullptr && check.poll(check.data) != 0)
        matrix.stopped = true;
    return matrix.stopped;
}

void applyUnscaled(EigenOperator& matrix, const double* x, double* y) {
    matrix.matVec(matrix.n, matrix.colBegin, matrix.rowIndex, matrix.matValue, x, y);
    ++matrix.matVecCount;
}

void applyOperator(EigenOperator& matrix, const double* x, double* y) {
    applyUnscaled(matrix, x, y);
    const std::int32_t one = 1;
    dscal_(&matrix.n, &matrix.factor, y, &one);
}

}  // namespace ovrelin
