// How far down the columns of a mostly empty block column reach.
#pragma once

#include <cstdint>

#include "sparse/sparse_ldl.hpp"
#include "sparse/symbolic/permuted_pattern.hpp"

namespace ovrelin {

/// reach[j] for column j of a block with rows rowList[rowBegin ..]: how many of these rows come up
/// to the last one that the columns of the block from its first to j have entries in.
///
/// The last row of L(:, j) is the last one of A(:, j) and of the children of j in the tree of
/// `parent`. It bounds the columns up to j in any order of their pivots: an entry in row i that
/// they get stands for a path to i through columns up to j; with v the largest of these, the path
/// from v on lies below v, and so i is a row of L(:, v).
void findReach(const PermutedPattern& matrix, const std::int32_t* parent,
               const BlockColumns& blocks, const std::int32_t* rowList, std::int32_t* reach);

}  // namespace ovrelin
