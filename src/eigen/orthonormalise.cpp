#include "eigen/orthonormalise.hpp"

#include <limits>

#include "eigen/lapack.hpp"
#include "linalg/blas.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t stride = 1;
constexpr double unitRounding = std::numeric_limits<double>::epsilon() / 2;
constexpr double invSqrt2 = 0.70710678118654752;
/// Two passes are enough for any vector that is not nearly in the span; a third covers the noise
/// that a first pass leaves of one that is.
constexpr int maxPasses = 4;

void removeSpan(std::int32_t rows, std::int32_t count, const double* columns, std::int32_t ld,
                double* vector, double* coefficients) {
    const double one = 1, zero = 0, minusOne = -1;
    dgemv_("T", &rows, &count, &one, columns, &ld, vector, &stride, &zero, coefficients, &stride);
    dgemv_("N", &rows, &count, &minusOne, columns, &ld, coefficients, &stride, &one, vector,
           &stride);
}

}  // namespace

bool orthonormalise(std::int32_t rows, std::int32_t count, const double* columns, std::int32_t ld,
                    double* vector, double* coefficients) {
    double norm = dnrm2_(&rows, vector, &stride);
    // A norm whose reciprocal overflows cannot be scaled; such a vector carries no direction.
    if (!(norm > std::numeric_limits<double>::min() * 4)) return false;
    bool settled = count == 0;
    for (int pass = 0; pass < maxPasses && !settled; ++pass) {
        const double before = norm;
        removeSpan(rows, count, columns, ld, vector, coefficients);
        norm = dnrm2_(&rows, vector, &stride);
        if (!(norm > unitRounding * before)) return false;
        settled = norm > invSqrt2 * before;
    }
    if (!settled) return false;
    const double scale = 1 / norm;
    dscal_(&rows, &scale, vector, &stride);
    return true;
}

}  // namespace ovrelin
