// Which subtrees of a tile plan have their updates of the top summed up at the root.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills sumBegin of the subtrees in leafList, and sumSize.
void chooseRootSums(LdlSymbolic& symbolic);

}  // namespace ovrelin
