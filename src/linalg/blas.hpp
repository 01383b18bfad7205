// The BLAS routines that the module calls, by their Fortran names: column-major, every argument by
// reference, 32-bit integers. Any vendor's library will do.
#pragma once

#include <cstdint>

extern "C" {
void dscal_(const std::int32_t* n, const double* alpha, double* x, const std::int32_t* incx);
void dswap_(const std::int32_t* n, double* x, const std::int32_t* incx, double* y,
            const std::int32_t* incy);
void daxpy_(const std::int32_t* n, const double* alpha, const double* x, const std::int32_t* incx,
            double* y, const std::int32_t* incy);
double ddot_(const std::int32_t* n, const double* x, const std::int32_t* incx, const double* y,
             const std::int32_t* incy);
double dnrm2_(const std::int32_t* n, const double* x, const std::int32_t* incx);
void dgemm_(const char* transA, const char* transB, const std::int32_t* m, const std::int32_t* n,
            const std::int32_t* k, const double* alpha, const double* a, const std::int32_t* lda,
            const double* b, const std::int32_t* ldb, const double* beta, double* c,
            const std::int32_t* ldc);
}
