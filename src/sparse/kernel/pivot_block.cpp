#include "sparse/kernel/pivot_block.hpp"

#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/kernel/pivot_panel.hpp"
#include "sparse/kernel/rows_below.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

Block from(Block block, int32_t row, int32_t col) {
    return {block.data + row + col * block.ld, block.ld};
}
ConstBlock constant(Block block) { return {block.data, block.ld}; }

/// Columns of the next panel. All that remain if they fit; otherwise one less than the width, so that
/// a 2x2 pivot at the edge still fits.
int32_t panelLimit(int32_t remaining, int32_t width) {
    return remaining <= width ? remaining : width - 1;
}

/// Positions inside the panel become positions inside the block; complements shrink as rows grow.
void shiftPivots(int32_t count, int32_t offset, int32_t* pivot) {
    for (int32_t c = 0; c < count; ++c) pivot[c] += isPair(pivot[c]) ? -offset : offset;
}

}  // namespace

bool factorPivotBlock(int32_t m, int32_t k, Block front, Block scaled, const PivotRule& rule,
                      const HostContext* context, int32_t* pivot, int32_t* numPerturbed) {
    const int32_t below = m - k;
    for (int32_t begin = 0; begin < k;) {
        if (stopRequested(context)) return false;
        const int32_t rows = k - begin;
        const Block corner = from(front, begin, begin);
        // Without rows below nothing outlives the panel, and one panel's buffer serves them all.
        const Block copy = from(scaled, begin, below > 0 ? begin : 0);
        const Panel panel{rows, below, corner, copy};
        int32_t* const local = pivot + begin;
        const int32_t done =
            eliminatePanel(panel, panelLimit(rows, rule.panelWidth), rule, local, numPerturbed);
        solveRowsBelow(below, done, corner, local, from(corner, rows, 0), from(copy, rows, 0));
        subtractProductLower(rows - done + below, rows - done, done,
                             constant(from(corner, done, 0)), constant(from(copy, done, 0)),
                             from(corner, done, done));
        undoEarlierSwaps(corner, done, local);
        shiftPivots(done, begin, local);
        begin += done;
    }
    return true;
}

}  // namespace ovrelin
