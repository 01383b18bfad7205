// Which block columns are so empty that the sweeps want a copy of them without the zeros.
#pragma once

#include <cstdint>

#include "sparse/symbolic/supernodes.hpp"

namespace ovrelin {

/// Marks the candidates in `candidate` [numSuper], from the column counts before amalgamation, and
/// returns the entries to make room for; 0 when there is none.
[[nodiscard]] std::int64_t chooseThinBlocks(const SupernodePartition& partition,
                                            const std::int32_t* count, std::int8_t* candidate);

}  // namespace ovrelin
