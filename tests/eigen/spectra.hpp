// Random symmetric matrices of known kinds of spectrum, and what is needed to judge eigenpairs.
#pragma once

#include <functional>

#include "support/sparse_matrices.hpp"

namespace ovtest {

enum class Spectrum {
    full,          // every entry is there
    clustered,     // seven tight clusters
    multiple,      // five eigenvalues, each many times
    spread,        // magnitudes from 1e-8 to 1e8, both signs
    nearSingular,  // a third of the eigenvalues about 1e-14
    wide,          // magnitudes from 1 to 1e17
    copies,        // one small block again and again
    path,          // Laplacian of a path
    grid,          // Laplacian of a grid: many double eigenvalues
    sparse,        // sparse of every kind: indefinite, definite, singular, diagonal
    lonely,        // a positive block, many zeros and one small negative eigenvalue
    shifted,       // a multiple of the identity, perhaps with one entry changed
    hugeScale,     // full times a power of ten between -120 and 120
    empty          // no entries
};

/// Of order n or thereabouts.
TestMatrix drawMatrix(Spectrum kind, std::int32_t n, std::mt19937& random);

/// The matrix with the nonzeros of entry(i, j), which must be symmetric.
TestMatrix fromEntries(std::int32_t n,
                       const std::function<double(std::int32_t, std::int32_t)>& entry);

/// A full matrix with the given eigenvalues and random eigenvectors.
TestMatrix withEigenvalues(const std::vector<double>& eigenvalues, std::mt19937& random);

double oneNorm(const TestMatrix& matrix);
/// ||A v - lambda v||.
double residual(const TestMatrix& matrix, double lambda, const double* v);

}  // namespace ovtest
