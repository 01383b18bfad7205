// The first columns of a front of few columns, as long as every pivot is taken where it stands.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_block.hpp"

namespace ovrelin {

/// Fronts of up to this many columns, the widest that amalgamation makes for the sake of overhead,
/// are eliminated with all their rows at once.
inline constexpr std::int32_t narrowColumns = 16;

/// Eliminates columns of the m x k front, k <= narrowColumns, from the first on until one asks for
/// an interchange or a 2x2 pivot.
///
///   in-out  front   the columns done hold L and D, in all m rows; the others are as they were
///   out     scaled  [k columns, ld >= wholeVectors(m)] the columns done times D, row j on for
///   column
///                   j; all of it is scratch
///           pivot   [k] as for factorPivotBlock, for the columns done
///   numPerturbed    grows by the number of replaced pivots
///
/// front.ld must be m: a column may be read into the next one, but nothing is touched beyond the
/// last. Returns the number of columns done.
std::int32_t eliminateInPlace(std::int32_t m, std::int32_t k, Block front, Block scaled,
                              const PivotRule& rule, std::int32_t* pivot,
                              std::int32_t* numPerturbed);

}  // namespace ovrelin
