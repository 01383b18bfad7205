// The routines of LAPACK and of the higher levels of BLAS, by their Fortran names: only the
// eigenvalue solver calls them.
#pragma once

#include <cstdint>

extern "C" {
/// Eigenvalues w [n] ascending and, for jobz 'V', vectors in the columns of a.
void dsyev_(const char* jobz, const char* uplo, const std::int32_t* n, double* a,
            const std::int32_t* lda, double* w, double* work, const std::int32_t* lwork,
            std::int32_t* info);
/// Up to 128 random numbers, uniform on (0, 1); iseed [4] is the generator's state.
void dlaruv_(std::int32_t* iseed, const std::int32_t* n, double* x);
void dgemv_(const char* trans, const std::int32_t* m, const std::int32_t* n, const double* alpha,
            const double* a, const std::int32_t* lda, const double* x, const std::int32_t* incx,
            const double* beta, double* y, const std::int32_t* incy);
void dgemm_(const char* transA, const char* transB, const std::int32_t* m, const std::int32_t* n,
            const std::int32_t* k, const double* alpha, const double* a, const std::int32_t* lda,
            const double* b, const std::int32_t* ldb, const double* beta, double* c,
            const std::int32_t* ldc);
void dsymm_(const char* side, const char* uplo, const std::int32_t* m, const std::int32_t* n,
            const double* alpha, const double* a, const std::int32_t* lda, const double* b,
            const std::int32_t* ldb, const double* beta, double* c, const std::int32_t* ldc);
}
