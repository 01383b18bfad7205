// Runs of doubles at any address, for kernels that work in whole vectors of eight: they may read,
// and where they say so write, up to seven entries beyond the last one that counts, which spares
// the branches of a ragged end. The functions give references, never vectors by value, whose
// passing would depend on the instruction set.
#pragma once

#include <cstdint>

#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

inline constexpr std::int32_t vectorWidth = 8;

using Four = tile::VectorOf<4>::type;
using Eight = tile::VectorOf<8>::type;

OV_INLINE const Eight& eight(const double* from) {
    return *reinterpret_cast<const Eight*>(from);
}
OV_INLINE Eight& eight(double* from) {
    return *reinterpret_cast<Eight*>(from);
}
OV_INLINE const Four& four(const double* from) {
    return *reinterpret_cast<const Four*>(from);
}
OV_INLINE Four& four(double* from) {
    return *reinterpret_cast<Four*>(from);
}

/// The next multiple of the width; the last one.
constexpr std::int32_t wholeVectors(std::int32_t count) {
    return (count + 7) & ~7;
}
constexpr std::int32_t vectorBegin(std::int32_t index) {
    return index & ~7;
}

}  // namespace ovrelin
