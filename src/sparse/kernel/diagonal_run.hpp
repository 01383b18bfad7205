// Pivots on the diagonal, several at a time. Where the matrix needs no interchanges, which is most
// of the time, a panel need not go column by column: a run of columns is brought up to date by one
// product and solved as if every diagonal entry were a good pivot, and the columns up to the first
// one that Bunch and Kaufman's rule does not take as it stands are kept.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_panel.hpp"

namespace ovrelin {

/// Eliminates a run of columns of the panel from j on, at most `room` of them and as many as the
/// pace asks for, as far as the rule takes each of them as it stands: a 1x1 pivot without
/// interchange, replaced where the whole column is within the tolerance. Where the rule depends on
/// the largest entry of another row, the row is searched for one that is large enough, and the run
/// ends when none is found.
///
///   in-out  panel   columns 0 .. j-1 as eliminatePanel leaves them; the columns that were taken
///                   hold L and D afterwards, the others what they held; of `scaled` the same
///                   columns times D, and behind them scratch
///           pace    hears how it went
///           numPerturbed  grows by the number of replaced pivots
///   out     taken   how many columns were
///
/// Returns false when the rule may want something else at the next column.
[[nodiscard]] bool takeDiagonalRun(const Panel& panel, std::int32_t j, std::int32_t room,
                                   const PivotRule& rule, RunPace& pace, std::int32_t* numPerturbed,
                                   std::int32_t* taken);

}  // namespace ovrelin
