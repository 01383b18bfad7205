// Whether a row of what a panel has left holds an entry of some size, which the pivot rule asks.
#pragma once

#include <cstdint>

#include "sparse/kernel/pivot_panel.hpp"

namespace ovrelin {

/// A row of the symmetric remainder without what the first `done` columns of the panel take off.
struct RowQuestion {
    std::int32_t row;
    std::int32_t done;
    const double* lower;  // [done] the row's entries of L
    double wanted;
};

/// True when one of the row's entries off the diagonal, in the columns from `first` on, is found to
/// be as large as wanted. Columns that are not `current` are passed over. O(done) for each entry
/// looked at; ends with the first success.
[[nodiscard]] bool rowHasEntry(const Panel& panel, const RowQuestion& question, std::int32_t first);

}  // namespace ovrelin
