// The update of a factored front, W = L2 D L2', and its way into the blocks of the ancestors.
//
// The rows below the diagonal block fall into runs, one for each supernode whose columns they are.
// A run's columns of W go into that supernode's block, at the positions that the rows have there.
// When those positions are consecutive the product is formed in place. A front of few columns skips
// W: its columns are combined one at a time where they are needed, which saves writing and reading
// W.
#include <algorithm>

#include "sparse/kernel/product.hpp"
#include "sparse/numeric/front.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Fronts of up to this many columns are combined column by column.
constexpr int32_t narrowColumns = 8;
/// Consecutive runs from this many columns on are formed in place.
constexpr int32_t directColumns = 16;
/// Columns of W in hand at a time, small enough to stay in the cache between product and scatter.
constexpr int32_t stripColumns = 96;

/// The rows of a front from its run into supernode `target` on, and where they stand there.
struct Run {
    Front target;
    int32_t begin, end;  // rows of the front (counted below its diagonal block) that are columns
    int32_t first;       // position of row `begin` in the target
    bool consecutive;    // all rows from `begin` on stand one after the other
};

/// What the update of one front needs at hand.
struct Update {
    Factorisation& work;
    const int32_t* rows;  // the rows below the diagonal block
    int32_t count;
    int32_t columns;  // how many of them are columns of W that anyone gets
    int32_t k;
    ConstBlock lower;   // L2
    ConstBlock scaled;  // L2 D
    double* strip;      // W or one column of it
    int32_t* position;  // of each row in the current target; free after assembly
};

ConstBlock rowsFrom(ConstBlock block, int32_t row) {
    return {block.data + row, block.ld};
}

Run runAt(Update& update, int32_t begin) {
    LdlSymbolic& symbolic = update.work.symbolic;
    const int32_t* rows = update.rows;
    const Front target = frontOf(symbolic, symbolic.blocks.colToBlock[rows[begin]]);
    const int32_t lastCol = target.firstCol + target.k;
    int32_t end = begin + 1;
    while (end < update.count && rows[end] < lastCol) ++end;
    const int32_t first = rows[begin] - target.firstCol;
    // Both lists ascend and the target's holds the front's: equal ends at equal distance leave no
    // gap.
    const int32_t last = first + update.count - 1 - begin;
    const bool consecutive = last < target.m && target.rows[last] == rows[update.count - 1];
    return {target, begin, end, first, consecutive};
}

/// Positions of the rows from run.begin on in the target's list, by a forward merge.
void locateRows(const Update& update, const Run& run) {
    const int32_t* list = run.target.rows;
    int32_t at = run.first;
    for (int32_t r = run.begin; r < update.count; ++r, ++at) {
        const int32_t row = update.rows[r];
        while (list[at] != row) ++at;
        update.position[r] = at;
    }
}

double* targetColumn(const Update& update, const Run& run, int32_t col) {
    const int64_t local = update.rows[col] - run.target.firstCol;
    return run.target.values + local * run.target.m;
}

/// One column of W into its target; w[r] belongs to row r, r >= col.
void scatterColumn(const Update& update, const Run& run, int32_t col, const double* w) {
    double* const out = targetColumn(update, run, col);
    if (run.consecutive) {
        double* const to = out + run.first - run.begin;
        for (int32_t r = col; r < update.count; ++r) to[r] -= w[r];
        return;
    }
    const int32_t* const position = update.position;
    for (int32_t r = col; r < update.count; ++r) out[position[r]] -= w[r];
}

void narrowUpdate(Update& update) {
    for (int32_t begin = 0; begin < update.columns;) {
        const Run run = runAt(update, begin);
        touchFront(update.work.symbolic, run.target);
        if (!run.consecutive) locateRows(update, run);
        for (int32_t col = begin; col < run.end; ++col) {
            const ConstBlock left = rowsFrom(update.lower, col);
            const double* coef = update.scaled.data + col;
            const int32_t count = update.count - col;
            if (run.consecutive) {
                double* const out = targetColumn(update, run, col) + run.first + (col - begin);
                subtractColumns(count, update.k, left, coef, update.scaled.ld, out);
            } else {
                combineColumns(count, update.k, left, coef, update.scaled.ld, update.strip + col);
                scatterColumn(update, run, col, update.strip);
            }
        }
        begin = run.end;
    }
}

void directUpdate(const Update& update, const Run& run) {
    double* const out = targetColumn(update, run, run.begin) + run.first;
    subtractProductLower(update.count - run.begin, run.end - run.begin, update.k,
                         rowsFrom(update.lower, run.begin), rowsFrom(update.scaled, run.begin),
                         {out, run.target.m});
}

bool isDirect(const Run& run) {
    return run.consecutive && run.end - run.begin >= directColumns;
}

/// Columns [begin, end) of W by one product, then run by run into the targets.
void stripUpdate(Update& update, int32_t begin, int32_t end) {
    const int32_t height = update.count - begin;
    setProductLower(height, end - begin, update.k, rowsFrom(update.lower, begin),
                    rowsFrom(update.scaled, begin), {update.strip, height});
    for (int32_t col = begin; col < end;) {
        const Run run = runAt(update, col);
        touchFront(update.work.symbolic, run.target);
        if (!run.consecutive) locateRows(update, run);
        for (const int32_t stop = std::min(run.end, end); col < stop; ++col) {
            const double* w = update.strip + static_cast<int64_t>(col - begin) * height;
            scatterColumn(update, run, col, w - begin);
        }
    }
}

/// Where the strip that begins at `begin` ends: before the next run that is formed in place.
int32_t stripEnd(Update& update, int32_t begin) {
    const int32_t limit = std::min(begin + stripColumns, update.columns);
    int32_t end = begin;
    while (end < limit) {
        const Run run = runAt(update, end);
        if (isDirect(run)) break;
        end = run.end;
    }
    return std::min(end, limit);
}

void wideUpdate(Update& update) {
    for (int32_t begin = 0; begin < update.columns;) {
        const Run run = runAt(update, begin);
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
    if (front.m == front.k) return;
    const FrontScratch& scratch = work.scratch;
    const int32_t* const rows = front.rows + front.k;
    const int32_t count = front.m - front.k;
    int32_t columns = count;
    if (rows[count - 1] >= work.endColumn)
        columns = static_cast<int32_t>(std::lower_bound(rows, rows + count, work.endColumn) - rows);
    Update update{work,
                  rows,
                  count,
                  columns,
                  front.k,
                  {front.values + front.k, front.m},
                  {scratch.scaled + front.k, front.m},
                  scratch.update,
                  scratch.position};
    if (front.k <= narrowColumns)
        narrowUpdate(update);
    else
        wideUpdate(update);
}

}  // namespace ovrelin
