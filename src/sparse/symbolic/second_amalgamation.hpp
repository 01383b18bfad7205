// A second merging of supernodes, for the engines on tiles: each tile costs them bookkeeping, so
// that small subtrees at the bottom of the tree had better be one supernode.
#pragma once

#include "sparse/symbolic/supernodes.hpp"

namespace ovrelin {

[[nodiscard]] std::size_t secondAmalgamationScratchBytes(std::int32_t n);

/// Merges, from each leaf of the tree that does not lie in an earlier run, the supernodes up to an
/// ancestor into one, while the run spans fewer than 32 supernodes and 32 columns. In postorder
/// such a run consists of descendants of its last supernode, so that the rows of that one and the
/// run's own columns hold all rows. `parent` is the elimination tree.
void mergeLeafRuns(std::int32_t n, const std::int32_t* parent, SupernodePartition& partition,
                   Scratch scratch);

}  // namespace ovrelin
