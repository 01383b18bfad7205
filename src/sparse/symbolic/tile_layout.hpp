// Tile storage: wide supernodes cut into strips, every block column cut by rows into tiles.
#pragma once

#include "sparse/sparse_ldl.hpp"
#include "sparse/symbolic/supernodes.hpp"

namespace ovrelin {

/// Fills rowBegin and valueBegin of the supernodes and the block columns of the plan, and lets
/// `blocks` show those. Needs tileSize and superFirstCol; the row lists come later. ok or noMemory.
[[nodiscard]] int layOutTiles(const SupernodePartition& partition, MemoryPool* pool,
                              LdlSymbolic& symbolic);

}  // namespace ovrelin
