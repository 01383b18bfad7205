// The plan of the engines on tiles: subtrees, the order of the top's tiles, what each of them
// depends on, and the memory of the team.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Completes the plan behind layOutTiles and the row lists, and sets updateSize and updateSize2.
/// ok or noMemory.
[[nodiscard]] int planTiles(const SparseParameters& parameters, MemoryPool* pool,
                            LdlSymbolic& symbolic);

/// The records of the team and their workspaces, inside symbolic.updateWork and relativeIndex.
[[nodiscard]] int allocateTeam(MemoryPool* pool, LdlSymbolic& symbolic, LdlNumeric& numeric);

/// Gives the host's locks back; null-safe in each of them.
void closeLocks(TileTeam& team);

}  // namespace ovrelin
