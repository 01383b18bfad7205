// The elimination tree of a symmetric matrix and its postorder.
#pragma once

#include <cstdint>

#include "sparse/symbolic/permuted_pattern.hpp"

namespace ovrelin {

[[nodiscard]] std::size_t eliminationTreeScratchBytes(std::int32_t n);
[[nodiscard]] std::size_t postorderScratchBytes(std::int32_t n);

/// parent[j] [n]: the row of the first entry below the diagonal in column j of L, -1 at a root.
/// Only the upper triangle is read. Liu's algorithm, with path compression.
void eliminationTree(const PermutedPattern& matrix, std::int32_t* parent, Scratch scratch);

/// postorder [n]: position to node, children before parents and in ascending order among siblings.
void postorderTree(std::int32_t n, const std::int32_t* parent, std::int32_t* postorder,
                   Scratch scratch);

/// Renames the nodes of `parent` and composes the permutation with the postorder.
void applyPostorder(std::int32_t n, const std::int32_t* postorder, std::int32_t* parent,
                    std::int32_t* perm, std::int32_t* inversePerm, Scratch scratch);

}  // namespace ovrelin
