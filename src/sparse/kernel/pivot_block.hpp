// The dense pivot step: P A11 P' = L11 D L11' for the diagonal block of a front, with the rows
// below carried along. Bunch and Kaufman's partial pivoting, restricted to the diagonal block, so
// that the row structure of the front never changes; what is too small to be a pivot is replaced.
#pragma once

#include <cstdint>

#include "ovrelin/host.h"
#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// Columns that a panel may have at most.
inline constexpr std::int32_t mostPanelColumns = 128;

struct PivotRule {
    double tolerance;         // pivots at or below it are replaced by it, with their own sign
    double alpha;             // (1 + sqrt 17) / 8
    std::int32_t panelWidth;  // 2 .. mostPanelColumns
};

/// A 2x2 pivot is marked in both of its columns by the complement of the row that was swapped with
/// the second one; unlike a plain minus sign it can name row 0.
constexpr bool isPair(std::int32_t pivot) {
    return pivot < 0;
}
constexpr std::int32_t pivotRow(std::int32_t pivot) {
    return pivot < 0 ? ~pivot : pivot;
}

/// Factors the lower trapezoid of `front` (m x k, m >= k).
///
///   in       front     lower trapezoid of the assembled block; above the diagonal nothing is used
///            reach     null, or [k] not descending: the columns up to c, eliminated in any order,
///                      have no entries from row reach[c] > c on. Narrow fronts make use of it.
///   out      front     L below the diagonal (unit diagonal not stored), D on it; a 2x2 pivot keeps
///                      its off-diagonal entry at (c + 1, c)
///            pivot     [k] local rows: a 1x1 pivot names the row swapped with its column; for a
///                      2x2 pivot see isPair. Interchanges are interleaved with the columns of L:
///                      those of column c act on the columns from c on, never on earlier ones.
///   scaled   m rows, min(k, panelWidth) columns; with k <= panelWidth its rows k.. receive L21 D.
///            A leading dimension of wholeVectors(m), with seven doubles to spare at the end,
///            speeds up narrow fronts without gaps, whose upper triangle then is scratch.
///   numPerturbed       grows by the number of replaced pivots
///
/// Polls the stop flag of `context` (may be null) before each panel. Returns false when it is up.
[[nodiscard]] bool factorPivotBlock(std::int32_t m, std::int32_t k, Block front, Block scaled,
                                    const PivotRule& rule, const HostContext* context,
                                    std::int32_t* pivot, std::int32_t* numPerturbed,
                                    const std::int32_t* reach = nullptr);

}  // namespace ovrelin
