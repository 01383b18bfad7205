// How many entries each column of L has, without forming L.
#pragma once

#include <cstdint>

#include "sparse/symbolic/permuted_pattern.hpp"

namespace ovrelin {

/// Entries of P A P' by place, repeated ones each time.
struct TriangleCounts {
    std::int64_t upper;
    std::int64_t lower;
    std::int64_t diagonal;
};

[[nodiscard]] std::size_t columnCountsScratchBytes(std::int32_t n);

/// count[j] [n]: entries of column j of L, the diagonal included. `parent` must be postordered. The
/// skeleton algorithm of Gilbert, Ng and Peyton, SIAM J. Matrix Anal. Appl. 15 (1994): row i of L
/// is the part of the tree under i that the entries of row i span, so each leaf of it counts one
/// from there upwards, and the least common ancestor of neighbouring leaves takes back one.
/// Also fills lowerBegin [n + 1], the running sum of the matrix entries on or below the diagonal by
/// columns; a pattern is not symmetric when its triangles differ in number.
[[nodiscard]] TriangleCounts columnCounts(const PermutedPattern& matrix, const std::int32_t* parent,
                                          std::int32_t* count, std::int64_t* lowerBegin,
                                          Scratch scratch);

/// The two sums over the column counts that the analysis reports.
struct CountSums {
    double lowerEntries;  // sum of (c - 1)
    double flops;         // sum of c (c - 1)
};
[[nodiscard]] CountSums sumCounts(std::int32_t n, const std::int32_t* count);

}  // namespace ovrelin
