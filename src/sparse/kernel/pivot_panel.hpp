// One panel of the dense pivot step: chooses and eliminates pivots, left-looking.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_block.hpp"

namespace ovrelin {

/// The part of a front that a panel works on, with its own first row and column as origin.
struct Panel {
    std::int32_t rows;     // rows of the diagonal block from the panel's first column on
    std::int32_t below;    // rows of the front below the diagonal block
    std::int32_t current;  // columns that have everything before the panel taken off; others wait
    bool onlyDiagonal;     // pivots; the panel ends before the first column that wants another
    Block front;           // (rows + below) x rows, lower trapezoid
    Block scaled;          // same rows, the panel's columns only
};

/// How many columns to try as a run of pivots on the diagonal: twice as many after each success,
/// and where even short runs fail, none for some columns; none at all in a small block.
class RunPace {
public:
    explicit RunPace(std::int32_t columns) : wait_(columns < leastColumns ? columns : 0) {}

    static constexpr std::int32_t longestRun = 16;

    /// Columns of the next run; 0 to take one column by itself first.
    [[nodiscard]] std::int32_t next() {
        if (wait_ == 0) return length_;
        --wait_;
        return 0;
    }
    void report(std::int32_t tried, std::int32_t taken);

private:
    static constexpr std::int32_t leastColumns = 48, firstRun = 4;

    std::int32_t length_ = firstRun;
    std::int32_t pause_ = 0, wait_;
};

/// Eliminates up to `limit` columns, one more when the last pivot is a pair; the caller leaves room
/// (limit < rows, or limit == rows). All columns must be current unless only pivots on the diagonal
/// are asked for.
///
///   in-out  pace    of one panel after the other
///   out     front   columns 0 .. done-1 of the diagonal block hold L and D; interchanges have been
///                   applied to all rows of L so far, and as column interchanges to the rows below
///           scaled  the same columns times D
///           pivot   as for factorPivotBlock, local to the panel
///
/// Returns the number of columns eliminated.
std::int32_t eliminatePanel(const Panel& panel, std::int32_t limit, const PivotRule& rule,
                            RunPace& pace, std::int32_t* pivot, std::int32_t* numPerturbed);

/// Takes the interchanges back out of the columns that came before them, from the last to the
/// first.
void undoEarlierSwaps(Block front, std::int32_t cols, const std::int32_t* pivot);

}  // namespace ovrelin
