// One panel of the dense pivot step: chooses and eliminates pivots, left-looking.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_block.hpp"

namespace ovrelin {

/// The part of a front that a panel works on, with its own first row and column as origin.
struct Panel {
    std::int32_t rows;   // rows of the diagonal block from the panel's first column on
    std::int32_t below;  // rows of the front below the diagonal block
    Block front;         // (rows + below) x rows, lower trapezoid
    Block scaled;        // same rows, the panel's columns only
};

/// Eliminates up to `limit` columns, one more when the last pivot is a pair; the caller leaves room
/// (limit < rows, or limit == rows).
///
///   out  front   columns 0 .. done-1 of the diagonal block hold L and D; interchanges have been
///   applied
///                to all rows of L so far, and as column interchanges to the rows below
///        scaled  the same columns times D
///        pivot   as for factorPivotBlock, local to the panel
///
/// Returns the number of columns eliminated.
std::int32_t eliminatePanel(const Panel& panel, std::int32_t limit, const PivotRule& rule,
                            std::int32_t* pivot, std::int32_t* numPerturbed);

/// Takes the interchanges back out of the columns that came before them, from the last to the
/// first.
void undoEarlierSwaps(Block front, std::int32_t cols, const std::int32_t* pivot);

}  // namespace ovrelin
