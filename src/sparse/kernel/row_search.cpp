#include "sparse/kernel/row_search.hpp"

#include <algorithm>
#include <cmath>

namespace ovrelin {

namespace {

using std::int32_t;

/// Entries that are brought up to date together.
constexpr int32_t chunkRows = 96;

/// The row's entries in the columns [begin, end) as the panel found them. Left of the diagonal they
/// lie across the stored triangle.
void gather(const Panel& panel, int32_t row, int32_t begin, int32_t end, double* out) {
    if (begin > row) {
        std::copy(panel.front.at(begin, row), panel.front.at(end, row), out);
        return;
    }
    for (int32_t c = begin; c < end; ++c) out[c - begin] = *panel.front.at(row, c);
}

/// The same for columns all on one side of the diagonal.
bool sideHasEntry(const Panel& panel, const RowQuestion& question, int32_t first, int32_t last) {
    double entries[chunkRows];
    for (int32_t begin = first; begin < last; begin += chunkRows) {
        const int32_t end = std::min(begin + chunkRows, last);
        gather(panel, question.row, begin, end, entries);
        subtractColumns(end - begin, question.done, panel.scaled.from(begin, 0), question.lower, 1,
                        entries);
        for (int32_t c = 0; c < end - begin; ++c)
            if (std::fabs(entries[c]) >= question.wanted) return true;
    }
    return false;
}

}  // namespace

bool rowHasEntry(const Panel& panel, const RowQuestion& question, int32_t first) {
    const int32_t row = question.row;
    // A row among the columns that are not current is of their kind beyond those that are.
    const int32_t last = row < panel.current ? panel.rows : panel.current;
    return sideHasEntry(panel, question, std::max(first, row + 1), last) ||
           sideHasEntry(panel, question, first, std::min(row, last));
}

}  // namespace ovrelin
