// Random symmetric matrices of known kinds of spectrum, and what is needed to judge eigenpairs.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace ovtest {

/// A dense symmetric matrix, column-major.
struct DenseSymmetric {
    std::int32_t n = 0;
    std::vector<double> a;  // [n * n]

    explicit DenseSymmetric(std::int32_t order)
        : n(order), a(static_cast<std::size_t>(order) * static_cast<std::size_t>(order)) {}
    double& at(std::int32_t i, std::int32_t j) {
        return a[static_cast<std::size_t>(j) * static_cast<std::size_t>(n) +
                 static_cast<std::size_t>(i)];
    }
    [[nodiscard]] double at(std::int32_t i, std::int32_t j) const {
        return a[static_cast<std::size_t>(j) * static_cast<std::size_t>(n) +
                 static_cast<std::size_t>(i)];
    }
    void setPair(std::int32_t i, std::int32_t j, double value) { at(i, j) = at(j, i) = value; }
    [[nodiscard]] double oneNorm() const;
    /// All eigenvalues, ascending, by LAPACK.
    [[nodiscard]] std::vector<double> eigenvalues() const;
    /// ||A v - lambda v||.
    [[nodiscard]] double residual(double lambda, const double* v) const;
};

/// Both triangles by columns, zeros left out.
struct SparseSymmetric {
    std::vector<std::int32_t> colBegin, rowIndex;
    std::vector<double> matValue;
};
SparseSymmetric toSparse(const DenseSymmetric& matrix);

enum class Spectrum {
    gauss,         // full, normal entries
    clustered,     // seven tight clusters
    multiple,      // five eigenvalues, each many times
    spread,        // magnitudes from 1e-8 to 1e8, both signs
    nearSingular,  // a third of the eigenvalues about 1e-14
    wide,          // magnitudes from 1 to 1e17
    blocks,        // block diagonal, equal blocks repeated
    path,          // Laplacian of a path
    grid,          // Laplacian of a grid: many double eigenvalues
    diagonal,      // some exact zeros
    lonely,        // a positive block, many zeros and one small negative eigenvalue
    sparse,        // three entries a column
    shifted,       // a multiple of the identity, perhaps with one entry changed
    hugeScale,     // gauss times a power of ten between -120 and 120
    empty          // no entries
};

/// Symmetrically permuted at random half of the time.
DenseSymmetric drawMatrix(Spectrum kind, std::int32_t n, std::mt19937_64& random);

/// A matrix with the given eigenvalues and random eigenvectors.
DenseSymmetric withEigenvalues(const std::vector<double>& eigenvalues, std::mt19937_64& random);

}  // namespace ovtest
