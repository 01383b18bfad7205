#include "sparse/kernel/pivot_block.hpp"

#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/kernel/narrow_block.hpp"
#include "sparse/kernel/pivot_panel.hpp"
#include "sparse/kernel/rows_below.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

Block from(Block block, int32_t row, int32_t col) {
    return {block.data + row + col * block.ld, block.ld};
}
ConstBlock constant(Block block) {
    return {block.data, block.ld};
}

/// Columns of the next panel. All that remain if they fit; otherwise one less than the width, so
/// that a 2x2 pivot at the edge still fits.
int32_t panelLimit(int32_t remaining, int32_t width) {
    return remaining <= width ? remaining : width - 1;
}

/// Positions inside the panel become positions inside the block; complements shrink as rows grow.
void shiftPivots(int32_t count, int32_t offset, int32_t* pivot) {
    for (int32_t c = 0; c < count; ++c) pivot[c] += isPair(pivot[c]) ? -offset : offset;
}

/// Few columns, laid out as factorNarrowBlock wants them, and not so many rows that the copy would
/// leave the cache.
bool isNarrow(int32_t m, int32_t k, Block front, Block scaled, int32_t panelWidth) {
    constexpr int32_t mostEntries = 8192;
    return k <= std::min(narrowColumns, panelWidth) && front.ld == m &&
           scaled.ld >= wholeVectors(m) && m <= mostEntries / k;
}

/// Takes the first `done` columns of an m x k block off the others.
void updateRest(int32_t m, int32_t k, int32_t done, Block front, Block scaled) {
    subtractProductLower(m - done, k - done, done, constant(from(front, done, 0)),
                         constant(from(scaled, done, 0)), from(front, done, done));
}

}  // namespace

bool factorPivotBlock(int32_t m, int32_t k, Block front, Block scaled, const PivotRule& rule,
                      const HostContext* context, int32_t* pivot, int32_t* numPerturbed) {
    const int32_t below = m - k;
    if (isNarrow(m, k, front, scaled, rule.panelWidth)) {
        if (stopRequested(context)) return false;
        factorNarrowBlock(m, k, front, scaled, rule, pivot, numPerturbed);
        return true;
    }
    for (int32_t begin = 0; begin < k;) {
        if (stopRequested(context)) return false;
        const int32_t rows = k - begin;
        const Block corner = from(front, begin, begin);
        // The copies of wider blocks are not kept: one panel's buffer serves them all.
        const Block copy = from(scaled, begin, k <= rule.panelWidth ? begin : 0);
        const Panel panel{rows, below, corner, copy};
        int32_t* const local = pivot + begin;
        const int32_t done =
            eliminatePanel(panel, panelLimit(rows, rule.panelWidth), rule, local, numPerturbed);
        solveRowsBelow(below, done, corner, local, from(corner, rows, 0), from(copy, rows, 0));
        updateRest(rows + below, rows, done, corner, copy);
        undoEarlierSwaps(corner, done, local);
        shiftPivots(done, begin, local);
        begin += done;
    }
    return true;
}

}  // namespace ovrelin
