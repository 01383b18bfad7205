// Which bottom subtrees of the supernode tree are each taken whole by one thread, and by whom.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills leafList with its owners, inTop and subtreeFirstBlock from superParent, the row counts and
/// the block columns. Subtrees are taken apart, the heaviest first, until what is left can be dealt
/// out evenly; the supernodes taken off are the top. One thread takes everything, and so it does
/// where sharing the top would gain too little. ok or noMemory.
[[nodiscard]] int chooseSubtrees(const SparseParameters& parameters, MemoryPool* pool,
                                 LdlSymbolic& symbolic);

}  // namespace ovrelin
