// Sparse matrices by columns: transposition and the products that every subsystem needs. A matrix
// A of numRow rows is colBegin, colLength, rowIndex, matValue; column j holds the elements
// k = colBegin[j] .. colBegin[j] + colLength[j] - 1, in any order and with gaps allowed between
// columns. A symmetric matrix Q is its diagonal plus the strict lower triangle in the same form.
#pragma once

#include <cstdint>

namespace ovrelin {

/// Transposes by counting: counts per minor index, prefix sum, scatter in ascending major order, so
/// that the entries of each output vector come out sorted. With (begin, length, index) the columns
/// of A, minor = row and major = column, the output holds A by rows.
///
///   outBegin [numMinor + 1], outIndex and outValue [sum of length]
///
/// Output vector i holds outBegin[i] .. outBegin[i+1] - 1. `value` and `outValue` may both be null
/// when only the pattern is asked for. O(numMinor + numMajor + elements); cannot fail.
void transposeColumns(std::int32_t numMinor, std::int32_t numMajor, const std::int32_t* begin,
                      const std::int32_t* length, const std::int32_t* index, const double* value,
                      std::int32_t* outBegin, std::int32_t* outIndex, double* outValue);

/// y += alpha A x, with x [numCol] and y [numRow].
void addProduct(double alpha, std::int32_t numCol, const std::int32_t* colBegin,
                const std::int32_t* colLength, const std::int32_t* rowIndex, const double* matValue,
                const double* x, double* y);

/// x += alpha A' y, with y [numRow] and x [numCol].
void addTransposedProduct(double alpha, std::int32_t numCol, const std::int32_t* colBegin,
                          const std::int32_t* colLength, const std::int32_t* rowIndex,
                          const double* matValue, const double* y, double* x);

/// y += alpha Q x, with x and y [numCol]. The triangle's arrays may be null when Q is diagonal, and
/// `quadDiag` when there is no Q.
void addSymmetricProduct(double alpha, std::int32_t numCol, const double* quadDiag,
                         const std::int32_t* quadColBegin, const std::int32_t* quadColLength,
                         const std::int32_t* quadRowIndex, const double* quadMatValue,
                         const double* x, double* y);

/// 0.5 x'Qx, null arrays as for addSymmetricProduct.
double quadraticForm(std::int32_t numCol, const double* quadDiag, const std::int32_t* quadColBegin,
                     const std::int32_t* quadColLength, const std::int32_t* quadRowIndex,
                     const double* quadMatValue, const double* x);

/// Norms of x [count]; 0 for an empty vector. maxNorm skips NaN; norm2 does not guard against
/// overflow, which its callers' data cannot reach.
double maxNorm(std::int32_t count, const double* x);
double norm1(std::int32_t count, const double* x);
double norm2(std::int32_t count, const double* x);

/// x'y.
double dotProduct(std::int32_t count, const double* x, const double* y);

}  // namespace ovrelin
