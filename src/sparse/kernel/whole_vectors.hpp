// Runs of doubles at any address, for kernels that work in whole vectors of eight: they may read,
// and where they say so write, up to seven entries beyond the last one that counts, which spares
// the branches of a ragged end. All is inlined: how a vector is passed by value depends on the
// instruction set.
#pragma once

#include <cstdint>

#include "sparse/kernel/register_tile.hpp"

namespace ovrelin {

inline constexpr std::int32_t vectorWidth = 8;

using Four = tile::VectorOf<4>::type;

/// Eight doubles in one register. A record, as a template's argument would lose the alignment that
/// the plain vector type is declared with.
struct Whole {
    tile::VectorOf<8>::type all;

    OV_INLINE Whole& operator+=(const Whole& by) {
        all += by.all;
        return *this;
    }
    OV_INLINE Whole& operator-=(const Whole& by) {
        all -= by.all;
        return *this;
    }
};
OV_INLINE Whole operator+(const Whole& a, const Whole& b) {
    return {a.all + b.all};
}
OV_INLINE Whole operator-(const Whole& a, const Whole& b) {
    return {a.all - b.all};
}
OV_INLINE Whole operator*(const Whole& a, const Whole& b) {
    return {a.all * b.all};
}
OV_INLINE Whole operator*(const Whole& a, double factor) {
    return {a.all * factor};
}

/// The same in two registers, for machines whose registers hold no more: compilers keep vectors
/// that are wider than a register in memory.
struct Halves {
    Four low, high;

    OV_INLINE Halves& operator+=(const Halves& by) {
        low += by.low, high += by.high;
        return *this;
    }
    OV_INLINE Halves& operator-=(const Halves& by) {
        low -= by.low, high -= by.high;
        return *this;
    }
};
OV_INLINE Halves operator+(const Halves& a, const Halves& b) {
    return {a.low + b.low, a.high + b.high};
}
OV_INLINE Halves operator-(const Halves& a, const Halves& b) {
    return {a.low - b.low, a.high - b.high};
}
OV_INLINE Halves operator*(const Halves& a, const Halves& b) {
    return {a.low * b.low, a.high * b.high};
}
OV_INLINE Halves operator*(const Halves& a, double factor) {
    return {a.low * factor, a.high * factor};
}

/// Eight doubles at an address, `V` being Whole or Halves.
template <class V>
OV_INLINE const V& vectorAt(const double* from) {
    return *reinterpret_cast<const V*>(from);
}
template <class V>
OV_INLINE V& vectorAt(double* from) {
    return *reinterpret_cast<V*>(from);
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
