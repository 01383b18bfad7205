// The update of a factored front, W = L2 D L2', and its way into the block columns of the
// ancestors.
//
// A single column needs no W. A small one is formed whole and handed out run by run. A large one is
// formed in strips of columns; a run of many columns whose rows stand one after the other in the
// target is formed in place.
#include <algorithm>

#include "sparse/kernel/scatter.hpp"
#include "sparse/kernel/tile_solve.hpp"
#include "sparse/kernel/whole_vectors.hpp"
#include "sparse/numeric/run.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Multiply-adds up to which W is small: strips and large products have nothing to win yet.
constexpr int64_t smallWork = 40000;
/// Columns of a consecutive run from which on it is formed in place.
constexpr int32_t directColumns = 16;

/// What the update of one front needs at hand.
struct Update {
    Factorisation& work;
    const Front& front;
    RunWalk walk;
    int32_t columns;   // how many of the rows below are columns of W that anyone gets
    ConstBlock lower;  // L2
    Block scaled;      // L2 D, or room for as many rows of it as a strip has columns

    [[nodiscard]] int32_t count() const { return front.m - front.k; }
    [[nodiscard]] int32_t stripColumns() const { return work.rule.panelWidth; }
};

/// Rows begin .. end of L2 D. Fronts of more columns than a panel keep no copy of all its rows.
ConstBlock scaledRows(const Update& update, int32_t begin, int32_t end) {
    const Front& front = update.front;
    if (front.k <= update.work.rule.panelWidth) return update.scaled.from(front.k + begin, 0);
    const Block out{update.scaled.data, wholeVectors(end - begin)};
    const int32_t* const pivot = update.work.symbolic.pivotIndex.data() + front.firstCol;
    scaleByPivots(end - begin, front.k, update.lower.from(begin, 0), front.constBlock(), pivot,
                  out);
    return out;
}

/// The columns begin .. end of W, which are in the run, into its target.
void scatter(Update& update, const Run& run, int32_t begin, int32_t end, ConstBlock w) {
    const Front& target = run.target;
    const int32_t m = update.count() - begin, n = end - begin;
    if (run.consecutive) {
        const int64_t place = run.first + (begin - run.begin);
        subtractConsecutive(m, n, w, {target.values + place * (target.m + 1), target.m});
    } else {
        const int32_t* const place = update.walk.locate(run) + begin;
        subtractScattered(m, n, true, w, place, place, target.block());
    }
}

/// The columns begin .. end of W, formed as a whole, run by run into the targets.
void scatterRuns(Update& update, int32_t begin, int32_t end, ConstBlock w) {
    for (int32_t col = begin; col < end;) {
        const Run run = update.walk.runAt(col);
        touchFront(update.work.symbolic, run.target);
        const int32_t stop = std::min(run.end, end);
        scatter(update, run, col, stop, w.from(col - begin, col - begin));
        col = stop;
    }
}

void singleUpdate(Update& update) {
    const double* const l = update.lower.data;
    const double* const scaled = update.scaled.data + 1;
    for (int32_t begin = 0; begin < update.columns;) {
        const Run run = update.walk.runAt(begin);
        const Front& target = run.target;
        const int32_t m = update.count() - begin;
        const int32_t n = std::min(run.end, update.columns) - begin;
        touchFront(update.work.symbolic, target);
        if (run.consecutive)
            subtractOuterConsecutive(
                m, n, l + begin, scaled + begin,
                {target.values + int64_t{run.first} * (target.m + 1), target.m});
        else
            subtractOuterScattered(m, n, l + begin, scaled + begin, update.walk.locate(run) + begin,
                                   target.block());
        begin = run.end;
    }
}

void smallUpdate(Update& update) {
    const Block w{update.work.scratch.update, wholeVectors(update.count())};
    const ConstBlock scaled = update.scaled.from(update.front.k, 0);
    formUpdate(update.count(), update.columns, update.front.k, scaled, update.lower, w);
    scatterRuns(update, 0, update.columns, w);
}

void stripUpdate(Update& update, int32_t begin, int32_t end) {
    const int32_t height = update.count() - begin;
    const Block w{update.work.scratch.update, wholeVectors(height)};
    setProductLower(height, end - begin, update.front.k, update.lower.from(begin, 0),
                    scaledRows(update, begin, end), w);
    scatterRuns(update, begin, end, w);
}

void directUpdate(Update& update, const Run& run) {
    const Front& target = run.target;
    for (int32_t begin = run.begin; begin < run.end;) {
        const int32_t end = std::min(begin + update.stripColumns(), run.end);
        const int64_t place = run.first + (begin - run.begin);
        subtractProductLower(update.count() - begin, end - begin, update.front.k,
                             update.lower.from(begin, 0), scaledRows(update, begin, end),
                             {target.values + place * (target.m + 1), target.m});
        begin = end;
    }
}

bool isDirect(const Run& run) {
    return run.consecutive && run.end - run.begin >= directColumns;
}

/// Where the strip that begins at `begin` ends: before the next run that is formed in place.
int32_t stripEnd(Update& update, int32_t begin) {
    const int32_t limit = std::min(begin + update.stripColumns(), update.columns);
    int32_t end = begin;
    while (end < limit) {
        const Run run = update.walk.runAt(end);
        if (isDirect(run)) break;
        end = run.end;
    }
    return std::min(end, limit);
}

void largeUpdate(Update& update) {
    for (int32_t begin = 0; begin < update.columns;) {
        const Run run = update.walk.runAt(begin);
        if (isDirect(run)) {
            touchFront(update.work.symbolic, run.target);
            directUpdate(update, run);
            begin = run.end;
            continue;
        }
        const int32_t end = stripEnd(update, begin);
        stripUpdate(update, begin, end);
        begin = end;
    }
}

}  // namespace

void updateAncestors(Factorisation& work, const Front& front) {
    const int32_t count = front.m - front.k;
    if (count == 0) return;
    const int32_t* const rows = front.rows + front.k;
    int32_t columns = count;
    if (work.sum == nullptr && rows[count - 1] >= work.endColumn)
        columns = static_cast<int32_t>(std::lower_bound(rows, rows + count, work.endColumn) - rows);
    Update update{work,
                  front,
                  {work, front},
                  columns,
                  {front.values + front.k, front.m},
                  {work.scratch.scaled, wholeVectors(front.m)}};
    const int64_t size = static_cast<int64_t>(count) * columns;
    const bool small = size * front.k <= smallWork && columns <= work.rule.panelWidth;
    if (front.k == 1)
        singleUpdate(update);
    else if (small && front.k <= work.rule.panelWidth)
        smallUpdate(update);
    else
        largeUpdate(update);
}

}  // namespace ovrelin
