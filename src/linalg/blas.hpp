// The BLAS routines that the module calls, by their Fortran names: every argument by reference,
// 32-bit integers. Any vendor's library will do. All are of level 1: the higher levels work in
// buffers, which a library built for one thread may give to two threads at once (the eigenvalue
// solver alone calls them, see eigen/lapack.hpp).
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
}
