#include "sparse/kernel/pivot_block.hpp"

#include <algorithm>

#include "frame/host_services.hpp"
#include "sparse/kernel/narrow_block.hpp"
#include "sparse/kernel/pivot_panel.hpp"
#include "sparse/kernel/rows_below.hpp"
#include "sparse/kernel/tile_solve.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

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
    constexpr int64_t mostEntries = 8192;
    return k <= std::min(narrowColumns, panelWidth) && front.ld == m &&
           scaled.ld >= wholeVectors(m) && int64_t{m} * k <= mostEntries;
}

/// A block in work: m x k, the rows below the first k included.
struct Work {
    int32_t m, k;
    Block front, scaled;
    const PivotRule& rule;
    int32_t* pivot;
    int32_t* numPerturbed;
    RunPace pace;

    /// The copies of wider blocks are not kept: one panel's buffer serves them all.
    [[nodiscard]] Block copyOf(int32_t begin) const {
        return scaled.from(begin, k <= rule.panelWidth ? begin : 0);
    }
};

/// A panel of up to `limit` columns from `begin` on, with those up to `last` current. Its pivots
/// stay local. Returns where it ends.
int32_t eliminate(Work& work, int32_t begin, int32_t limit, int32_t last, bool onlyDiagonal) {
    const int32_t rows = work.k - begin, below = work.m - work.k;
    const Block corner = work.front.from(begin, begin), copy = work.copyOf(begin);
    int32_t* const pivot = work.pivot + begin;
    const Panel panel{rows, below, last - begin, onlyDiagonal, corner, copy};
    const int32_t done =
        eliminatePanel(panel, limit, work.rule, work.pace, pivot, work.numPerturbed);
    solveRowsBelow(below, done, corner, pivot, corner.from(rows, 0), copy.from(rows, 0));
    return begin + done;
}

/// Takes the panel's columns [begin, end) off those up to `last`.
void updateByPanel(const Work& work, int32_t begin, int32_t end, int32_t last) {
    subtractProductLower(work.m - end, last - end, end - begin, work.front.from(end, begin),
                         work.copyOf(begin).from(end - begin, 0), work.front.from(end, end));
}

/// Takes the columns [begin, end), whose pivots all stand on the diagonal, off those from `first`
/// on, in strips: of their copies there is one strip's at a time.
void updateByGroup(const Work& work, int32_t begin, int32_t end, int32_t first) {
    const int32_t depth = end - begin;
    for (int32_t col = first; col < work.k;) {
        const int32_t width = std::min(work.rule.panelWidth, work.k - col);
        const ConstBlock lower = work.front.from(col, begin);
        const Block strip{work.scaled.data, width};
        scaleByPivots(width, depth, lower, work.front.from(begin, begin), work.pivot + begin,
                      strip);
        subtractProductLower(work.m - col, width, depth, lower, strip, work.front.from(col, col));
        col += width;
    }
}

bool allOnDiagonal(const int32_t* pivot, int32_t count) {
    for (int32_t c = 0; c < count; ++c)
        if (pivot[c] != c) return false;
    return true;
}

/// Columns of a group. A block that is wider than the caches hold is read and written once for each
/// product that updates it: the deeper that is, the less often.
constexpr int32_t groupColumns = 384;

/// Follows the panel [begin, *end), whose pivots all stand on the diagonal, by others of that kind,
/// as long as there are, and takes all of them off the rest of the block at once. Returns false
/// when the stop flag is up.
bool finishGroup(Work& work, const HostContext* context, int32_t begin, int32_t* end) {
    const int32_t last = std::min(begin + groupColumns, work.k);
    int32_t panelBegin = begin;
    for (;;) {
        shiftPivots(*end - panelBegin, panelBegin, work.pivot + panelBegin);
        updateByPanel(work, panelBegin, *end, last);
        const int32_t limit = std::min(work.rule.panelWidth, last - *end);
        // The first panel may end early for want of room for a pair.
        if (limit == 0 || (panelBegin > begin && *end - panelBegin < work.rule.panelWidth)) break;
        if (stopRequested(context)) return false;
        panelBegin = *end;
        *end = eliminate(work, panelBegin, limit, last, true);
    }
    updateByGroup(work, begin, *end, last);
    return true;
}

}  // namespace

bool factorPivotBlock(int32_t m, int32_t k, Block front, Block scaled, const PivotRule& rule,
                      const HostContext* context, int32_t* pivot, int32_t* numPerturbed,
                      const int32_t* reach) {
    if (isNarrow(m, k, front, scaled, rule.panelWidth)) {
        if (stopRequested(context)) return false;
        if (k <= fewColumns)
            factorFewColumns(m, k, front, scaled, rule, pivot, numPerturbed);
        else
            factorNarrowBlock(m, k, front, scaled, rule, pivot, numPerturbed, reach);
        return true;
    }
    Work work{m, k, front, scaled, rule, pivot, numPerturbed, RunPace(k)};
    for (int32_t begin = 0, end = 0; begin < k; begin = end) {
        if (stopRequested(context)) return false;
        end = eliminate(work, begin, panelLimit(k - begin, rule.panelWidth), k, false);
        if (allOnDiagonal(pivot + begin, end - begin)) {
            if (!finishGroup(work, context, begin, &end)) return false;
            continue;
        }
        updateByPanel(work, begin, end, k);
        undoEarlierSwaps(front.from(begin, begin), end - begin, pivot + begin);
        shiftPivots(end - begin, begin, pivot + begin);
    }
    return true;
}

}  // namespace ovrelin
