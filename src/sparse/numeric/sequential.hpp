// The factorisation by one thread: right-looking, block column by block column in the postorder of
// the elimination tree. It is the whole of the sequential engine, and the way in which the engines
// on tiles treat the subtrees that one thread takes alone.
#pragma once

#include "sparse/numeric/front.hpp"

namespace ovrelin {

/// Factors the block columns [begin, end), which receive updates from each other only, and adds
/// their updates to block columns with columns below work.endColumn. `touched` must be clear for
/// all of these. Returns ok or stopped.
[[nodiscard]] int factorBlocks(Factorisation& work, std::int32_t begin, std::int32_t end);

}  // namespace ovrelin
