// The places of small updates, found once for all factorisations of a compact factor.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills symbolic.direct for the sequential engine; blocks and row lists must stand, and indices of
/// the factor fit 32 bits. Returns ok or noMemory.
[[nodiscard]] int planDirectUpdates(MemoryPool* pool, LdlSymbolic& symbolic);

}  // namespace ovrelin
