// Sparse column kernels. Loops run over columns, so that matrix arrays are read once and in order.
#include "linalg/sparse_columns.hpp"

#include <cmath>

namespace ovrelin {

using std::int32_t;

void transposeColumns(int32_t numMinor, int32_t numMajor, const int32_t* begin,
                      const int32_t* length, const int32_t* index, const double* value,
                      int32_t* outBegin, int32_t* outIndex, double* outValue) {
    for (int32_t i = 0; i <= numMinor; ++i) outBegin[i] = 0;
    for (int32_t j = 0; j < numMajor; ++j) {
        const int32_t end = begin[j] + length[j];
        for (int32_t k = begin[j]; k < end; ++k) ++outBegin[index[k]];
    }
    // outBegin[i] becomes the end of vector i; the scatter below walks it back to the beginning
    int32_t total = 0;
    for (int32_t i = 0; i < numMinor; ++i) outBegin[i] = (total += outBegin[i]);
    outBegin[numMinor] = total;
    for (int32_t j = numMajor - 1; j >= 0; --j) {
        for (int32_t k = begin[j] + length[j] - 1; k >= begin[j]; --k) {
            const int32_t at = --outBegin[index[k]];
            outIndex[at] = j;
            if (outValue != nullptr) outValue[at] = value[k];
        }
    }
}

void addProduct(double alpha, int32_t numCol, const int32_t* colBegin, const int32_t* colLength,
                const int32_t* rowIndex, const double* matValue, const double* x, double* y) {
    for (int32_t j = 0; j < numCol; ++j) {
        const double factor = alpha * x[j];
        if (factor == 0.0) continue;
        const int32_t end = colBegin[j] + colLength[j];
        for (int32_t k = colBegin[j]; k < end; ++k) y[rowIndex[k]] += factor * matValue[k];
    }
}

void addTransposedProduct(double alpha, int32_t numCol, const int32_t* colBegin,
                          const int32_t* colLength, const int32_t* rowIndex, const double* matValue,
                          const double* y, double* x) {
    for (int32_t j = 0; j < numCol; ++j) {
        double sum = 0.0;
        const int32_t end = colBegin[j] + colLength[j];
        for (int32_t k = colBegin[j]; k < end; ++k) sum += matValue[k] * y[rowIndex[k]];
        x[j] += alpha * sum;
    }
}

void addSymmetricProduct(double alpha, int32_t numCol, const double* quadDiag,
                         const int32_t* quadColBegin, const int32_t* quadColLength,
                         const int32_t* quadRowIndex, const double* quadMatValue, const double* x,
                         double* y) {
    if (quadDiag != nullptr) {
        for (int32_t j = 0; j < numCol; ++j) y[j] += alpha * quadDiag[j] * x[j];
    }
    if (quadColBegin == nullptr) return;
    for (int32_t j = 0; j < numCol; ++j) {
        const double factor = alpha * x[j];
        double sum = 0.0;
        const int32_t end = quadColBegin[j] + quadColLength[j];
        for (int32_t k = quadColBegin[j]; k < end; ++k) {
            const int32_t i = quadRowIndex[k];
            y[i] += factor * quadMatValue[k];
            sum += quadMatValue[k] * x[i];
        }
        y[j] += alpha * sum;
    }
}

double quadraticForm(int32_t numCol, const double* quadDiag, const int32_t* quadColBegin,
                     const int32_t* quadColLength, const int32_t* quadRowIndex,
                     const double* quadMatValue, const double* x) {
    double sum = 0.0;
    if (quadDiag != nullptr) {
        for (int32_t j = 0; j < numCol; ++j) sum += 0.5 * quadDiag[j] * x[j] * x[j];
    }
    if (quadColBegin == nullptr) return sum;
    for (int32_t j = 0; j < numCol; ++j) {
        double row = 0.0;
        const int32_t end = quadColBegin[j] + quadColLength[j];
        for (int32_t k = quadColBegin[j]; k < end; ++k) row += quadMatValue[k] * x[quadRowIndex[k]];
        sum += x[j] * row;
    }
    return sum;
}

double maxNorm(int32_t count, const double* x) {
    double largest = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        const double magnitude = std::fabs(x[i]);
        if (magnitude > largest) largest = magnitude;
    }
    return largest;
}

double norm1(int32_t count, const double* x) {
    double sum = 0.0;
    for (int32_t i = 0; i < count; ++i) sum += std::fabs(x[i]);
    return sum;
}

double norm2(int32_t count, const double* x) {
    return std::sqrt(dotProduct(count, x, x));
}

double dotProduct(int32_t count, const double* x, const double* y) {
    double sum = 0.0;
    for (int32_t i = 0; i < count; ++i) sum += x[i] * y[i];
    return sum;
}

}  // namespace ovrelin
