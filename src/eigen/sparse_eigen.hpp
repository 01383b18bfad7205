// Extreme eigenpairs of a sparse symmetric matrix, by a Jacobi-Davidson method: a search space that
// grows by one direction a step, Rayleigh-Ritz on it, thick restarts, and a correction equation
// solved inexactly for each new direction. The matrix is touched by products only.
#pragma once

#include <cstdint>

#include "eigen/eigen_codes.hpp"
#include "eigen/eigen_operator.hpp"
#include "frame/parameters/eigen_parameters.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// The options eigenCount and eigenEnd of `handle` tell which eigenvalues: the k = min(eigenCount,
/// n) smallest ('S') or largest ('L'); eigenMaxIter, when positive, limits the products.
///
///   matVec         the product, or null for the default one
///   eigenvalues    [k], out: 'S' ascending, 'L' descending
///   eigenvectors   [n * k], out: orthonormal, by columns
///   residualNorms  [k], out: ||A v - lambda v||
///
/// `breakCheck` is asked before each product of the iteration; the products done are left in
/// handle->eigenProducts.
///
/// Returns ok; noMemory; eigenLimit when the products ran out, with the best pairs in hand;
/// eigenSpaceExhausted; eigenDenseFailed; stopped. After the last three the outputs are not set.
/// No state survives a call; the same input gives the same bits.
[[nodiscard]] int sparseLdlEigen(std::int32_t n, const std::int32_t* colBegin,
                                 const std::int32_t* rowIndex, const double* matValue,
                                 SparseLdl* handle, MatVec matVec, double* eigenvalues,
                                 double* eigenvectors, double* residualNorms,
                                 const EigenParameters& parameters = {},
                                 BreakCheck breakCheck = {});

}  // namespace ovrelin
