// The search space of the eigenvalue iteration: an orthonormal basis V, its image W = A V, the
// projected matrix H = V'W and its eigenpairs (the Ritz values and coordinates S). It grows by one
// vector at a time and shrinks by a thick restart.
#pragma once

#include <cstddef>
#include <cstdint>

#include "eigen/eigen_operator.hpp"
#include "eigen/eigen_sizes.hpp"
#include "eigen/random_stream.hpp"
#include "frame/pool.hpp"

namespace ovrelin {

/// Every array lies in the one block `work`; matrices are column-major.
struct SearchSpace {
    std::int32_t n;
    std::int32_t capacity;   // maxBasis, m below
    std::int32_t dimension;  // columns of V and W in use
    double* basis;           // V [n x m]
    double* image;           // W [n x m]
    double* projected;       // H [m x m], the upper triangle counts
    double* coordinates;     // S [m x m], leading dimension m
    double* ritzValue;       // [m] ascending
    double* residualNorm;    // [m] of the pairs tested so far
    double* lockedValue;     // [m] Ritz values at the time of locking
    double* previous;        // [m] coordinates of the target before the last step of a full cycle
    std::int32_t previousLength;  // 0: none saved
    double* scratch;              // [scratchSize]: 5 n, or work of the dense routines
    std::size_t scratchSize;
    double ritzScale;  // largest |Ritz value| so far
    RandomStream random;
    PoolArray<double> work;
};

/// Lays the space out in one block. noMemory also when the size is beyond 64 bits.
[[nodiscard]] int makeSearchSpace(SearchSpace& space, MemoryPool* pool, std::int32_t n,
                                  const EigenSizes& sizes);

inline double* basisColumn(const SearchSpace& space, std::int32_t j) {
    return space.basis + static_cast<std::size_t>(j) * static_cast<std::size_t>(space.n);
}
inline double* imageColumn(const SearchSpace& space, std::int32_t j) {
    return space.image + static_cast<std::size_t>(j) * static_cast<std::size_t>(space.n);
}
inline double* coordinateColumn(const SearchSpace& space, std::int32_t j) {
    return space.coordinates +
           static_cast<std::size_t>(j) * static_cast<std::size_t>(space.capacity);
}

/// Takes the vector in the next free column of V into the space: orthonormalises it, replacing it
/// by random vectors while nothing new is left of it, multiplies it, and borders H. Returns ok or
/// ldl::eigenSpaceExhausted.
[[nodiscard]] int expandSpace(SearchSpace& space, EigenOperator& matrix,
                              const EigenParameters& parameters);

/// The same with a random vector.
[[nodiscard]] int expandByRandom(SearchSpace& space, EigenOperator& matrix,
                                 const EigenParameters& parameters);

/// Grows the space to `dimension` by a Krylov sequence, each vector the image of the one before;
/// the first new vector is random.
[[nodiscard]] int expandByKrylov(SearchSpace& space, EigenOperator& matrix, std::int32_t dimension,
                                 const EigenParameters& parameters);

/// Eigenpairs of H, and ritzScale. Returns ok or ldl::eigenDenseFailed.
[[nodiscard]] int rayleighRitz(SearchSpace& space);

/// x := V s and residual := W s - theta x of one Ritz pair, both [n]. Returns the residual's norm.
double ritzResidual(const SearchSpace& space, std::int32_t pair, double* x, double* residual);

/// Replaces the basis by the lowest `keep` Ritz vectors; H becomes their projection.
void rotateSpace(SearchSpace& space, std::int32_t keep);

/// Thick restart: the lowest `keep` Ritz vectors and, when one is saved, what the target vector of
/// one step earlier adds to them.
void restartSpace(SearchSpace& space, std::int32_t keep);

/// Orthonormalises the basis anew and recomputes its image and H.
[[nodiscard]] int rebuildSpace(SearchSpace& space, EigenOperator& matrix,
                               const EigenParameters& parameters);

}  // namespace ovrelin
