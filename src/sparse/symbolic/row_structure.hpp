// Which rows each supernode of L has.
#pragma once

#include <cstdint>

#include "sparse/symbolic/permuted_pattern.hpp"

namespace ovrelin {

/// The supernodes as far as the row structure needs them.
struct SupernodeTree {
    std::int32_t numSuper;
    const std::int32_t* firstCol;    // [numSuper + 1]
    const std::int32_t* colToSuper;  // [n]
    const std::int32_t* parent;      // [numSuper]
    const std::int64_t* rowBegin;    // [numSuper + 1]
};

[[nodiscard]] std::size_t rowStructureScratchBytes(std::int32_t n);

/// Fills rowList, ascending, the own columns first. Row j of L reaches the supernodes on the paths
/// of the tree from the columns of its entries up to j's own. Returns ldl::mismatch when the rows
/// found are not as many as rowBegin has room for. `place`, unless it is null, tells for each row
/// below a supernode's own columns where it stands in the list of the parent.
[[nodiscard]] int fillRowStructure(const PermutedPattern& matrix, const SupernodeTree& tree,
                                   std::int32_t* rowList, std::int32_t* place, Scratch scratch);

}  // namespace ovrelin
