#include "eigen/search_space.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "eigen/dense_eig.hpp"
#include "eigen/eigen_codes.hpp"
#include "eigen/lapack.hpp"
#include "eigen/orthonormalise.hpp"
#include "linalg/blas.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t stride = 1;

/// The border of H that belongs to column `last` of the basis.
void borderProjected(SearchSpace& space, std::int32_t last) {
    const std::int32_t count = last + 1;
    const double one = 1, zero = 0;
    double* column =
        space.projected + static_cast<std::size_t>(last) * static_cast<std::size_t>(space.capacity);
    dgemv_("T", &space.n, &count, &one, space.basis, &space.n, imageColumn(space, last), &stride,
           &zero, column, &stride);
}

/// panel [n x m] := panel S(:, 1 .. keep), block by block of rows so that the scratch is enough.
void multiplyPanel(SearchSpace& space, double* panel, std::int32_t keep) {
    const auto most = static_cast<std::int64_t>(space.scratchSize) / keep;
    const auto block = static_cast<std::int32_t>(std::min<std::int64_t>(most, space.n));
    const double one = 1, zero = 0;
    const auto n = static_cast<std::size_t>(space.n);
    for (std::int32_t row = 0; row < space.n; row += block) {
        const std::int32_t rows = std::min(block, space.n - row);
        dgemm_("N", "N", &rows, &keep, &space.dimension, &one, panel + row, &space.n,
               space.coordinates, &space.capacity, &zero, space.scratch, &rows);
        for (std::int32_t j = 0; j < keep; ++j) {
            const double* from =
                space.scratch + static_cast<std::size_t>(j) * static_cast<std::size_t>(rows);
            std::copy_n(from, rows, panel + static_cast<std::size_t>(j) * n + row);
        }
    }
}

/// V := V S, W := W S, H := S'H S for the first `keep` columns of S.
void changeBasis(SearchSpace& space, std::int32_t keep) {
    multiplyPanel(space, space.basis, keep);
    multiplyPanel(space, space.image, keep);
    const double one = 1, zero = 0;
    dsymm_("L", "U", &space.dimension, &keep, &one, space.projected, &space.capacity,
           space.coordinates, &space.capacity, &zero, space.scratch, &space.capacity);
    dgemm_("T", "N", &keep, &keep, &space.dimension, &one, space.coordinates, &space.capacity,
           space.scratch, &space.capacity, &zero, space.projected, &space.capacity);
    space.dimension = keep;
    space.previousLength = 0;
}

}  // namespace

int makeSearchSpace(SearchSpace& space, MemoryPool* pool, std::int32_t n, const EigenSizes& sizes) {
    const auto rows = static_cast<std::uint64_t>(n), m = static_cast<std::uint64_t>(sizes.maxBasis);
    const std::uint64_t dense = std::max<std::uint64_t>(denseEigWork(sizes.maxBasis), m * m);
    const std::uint64_t scratchSize = (std::max<std::uint64_t>(5 * rows, dense) + 31) / 32 * 32;
    const std::uint64_t rest = 2 * m * m + 4 * m;
    if (rows > (std::numeric_limits<std::uint64_t>::max() / 16 - scratchSize - rest) / m)
        return ldl::noMemory;
    const std::uint64_t total = scratchSize + rest + 2 * rows * m;
    if (space.work.make(pool, total) != Status::ok) return ldl::noMemory;
    double* next = space.work.data();
    const auto take = [&next](std::uint64_t count) { return std::exchange(next, next + count); };
    space.n = n;
    space.capacity = sizes.maxBasis;
    space.basis = take(rows * m);
    space.image = take(rows * m);
    space.projected = take(m * m);
    space.coordinates = take(m * m);
    space.ritzValue = take(m);
    space.residualNorm = take(m);
    space.lockedValue = take(m);
    space.previous = take(m);
    space.scratch = take(scratchSize);
    space.scratchSize = scratchSize;
    return ldl::ok;
}

int expandSpace(SearchSpace& space, EigenOperator& matrix, const EigenParameters& parameters) {
    double* vector = basisColumn(space, space.dimension);
    std::int32_t round = 0;
    while (!orthonormalise(space.n, space.dimension, space.basis, space.n, vector, space.scratch)) {
        if (round++ == parameters.randomRounds) return ldl::eigenSpaceExhausted;
        fillRandom(space.random, space.n, vector);
    }
    applyOperator(matrix, vector, imageColumn(space, space.dimension));
    borderProjected(space, space.dimension);
    ++space.dimension;
    return ldl::ok;
}

int expandByRandom(SearchSpace& space, EigenOperator& matrix, const EigenParameters& parameters) {
    fillRandom(space.random, space.n, basisColumn(space, space.dimension));
    return expandSpace(space, matrix, parameters);
}

int expandByKrylov(SearchSpace& space, EigenOperator& matrix, std::int32_t dimension,
                   const EigenParameters& parameters) {
    int code = ldl::ok;
    if (space.dimension < dimension) code = expandByRandom(space, matrix, parameters);
    while (code == ldl::ok && space.dimension < dimension && !stopAsked(matrix)) {
        std::copy_n(imageColumn(space, space.dimension - 1), space.n,
                    basisColumn(space, space.dimension));
        code = expandSpace(space, matrix, parameters);
    }
    return code;
}

int rayleighRitz(SearchSpace& space) {
    const auto m = static_cast<std::size_t>(space.capacity);
    for (std::int32_t j = 0; j < space.dimension; ++j) {
        std::copy_n(space.projected + static_cast<std::size_t>(j) * m, j + 1,
                    coordinateColumn(space, j));
    }
    const std::int32_t info = denseEig('V', space.dimension, space.coordinates, space.capacity,
                                       space.ritzValue, space.scratch, space.scratchSize);
    if (info != 0) return ldl::eigenDenseFailed;
    const double low = std::fabs(space.ritzValue[0]);
    const double high = std::fabs(space.ritzValue[space.dimension - 1]);
    space.ritzScale = std::max({space.ritzScale, low, high});
    return ldl::ok;
}

double ritzResidual(const SearchSpace& space, std::int32_t pair, double* x, double* residual) {
    const double one = 1, zero = 0, minusTheta = -space.ritzValue[pair];
    const double* s = coordinateColumn(space, pair);
    dgemv_("N", &space.n, &space.dimension, &one, space.basis, &space.n, s, &stride, &zero, x,
           &stride);
    dgemv_("N", &space.n, &space.dimension, &one, space.image, &space.n, s, &stride, &zero,
           residual, &stride);
    daxpy_(&space.n, &minusTheta, x, &stride, residual, &stride);
    return dnrm2_(&space.n, residual, &stride);
}

void rotateSpace(SearchSpace& space, std::int32_t keep) {
    changeBasis(space, std::min(keep, space.dimension));
}

void restartSpace(SearchSpace& space, std::int32_t keep) {
    if (space.previousLength > 0 && keep < space.dimension) {
        double* extra = coordinateColumn(space, keep);
        std::copy_n(space.previous, space.previousLength, extra);
        std::fill(extra + space.previousLength, extra + space.dimension, 0.0);
        if (orthonormalise(space.dimension, keep, space.coordinates, space.capacity, extra,
                           space.scratch)) {
            ++keep;
        }
    }
    changeBasis(space, keep);
}

int rebuildSpace(SearchSpace& space, EigenOperator& matrix, const EigenParameters& parameters) {
    const std::int32_t dimension = std::exchange(space.dimension, 0);
    space.previousLength = 0;
    int code = ldl::ok;
    while (code == ldl::ok && space.dimension < dimension && !stopAsked(matrix)) {
        code = expandSpace(space, matrix, parameters);
    }
    return code;
}

}  // namespace ovrelin
