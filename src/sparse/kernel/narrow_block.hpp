// The dense pivot step on a front of few columns: all its rows at once, left-looking, two columns
// together, in whole vectors and without a call. The pivots are those of the general routine.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_block.hpp"

namespace ovrelin {

/// Fronts of up to this many columns are narrow; wider ones have work enough for panels.
inline constexpr std::int32_t narrowColumns = 48;
/// And of up to this many, few.
inline constexpr std::int32_t fewColumns = 7;

/// Factors the m x k front as factorPivotBlock does.
///
///   in-out  front   without gaps: ld is m. The triangle above the diagonal is scratch.
///   out     scaled  ld >= wholeVectors(m), seven doubles to spare at the end; the rows from k on
///                   receive L21 D
///           pivot   [k]
///   numPerturbed    grows by the number of replaced pivots
///   reach           null, or as for factorPivotBlock
///
/// The first for fewColumns < k <= narrowColumns, the second for k <= fewColumns.
void factorNarrowBlock(std::int32_t m, std::int32_t k, Block front, Block scaled,
                       const PivotRule& rule, std::int32_t* pivot, std::int32_t* numPerturbed,
                       const std::int32_t* reach);
void factorFewColumns(std::int32_t m, std::int32_t k, Block front, Block scaled,
                      const PivotRule& rule, std::int32_t* pivot, std::int32_t* numPerturbed);

}  // namespace ovrelin
