#include "sparse/numeric/thin_writer.hpp"

#include <algorithm>

#include "sparse/kernel/compress.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// D, the pivots and the entries in the next rows. The row below the last column need not be the
/// next one: its entry then stands with the others.
void takePivots(const Front& front, const int32_t* pivot, ThinColumn* column) {
    for (int32_t c = 0; c < front.k; ++c) {
        const double* const from = front.values + int64_t{c} * front.m;
        column[c].diagonal = from[c];
        column[c].next = c + 1 < front.m ? from[c + 1] : 0;
        if (!isPair(pivot[c])) {
            column[c].move = pivot[c] - c;
            continue;
        }
        column[c].move = column[c + 1].move = ~(pivotRow(pivot[c]) - (c + 1));
        ++c;
        column[c].diagonal = from[front.m + c];
        column[c].next = c + 1 < front.m ? from[front.m + c + 1] : 0;
    }
}

}  // namespace

ThinWriter::ThinWriter(LdlSymbolic& symbolic) : symbolic_(symbolic), thin_(symbolic.thin) {
    thin_.numRuns = 0;
}

/// Room for the whole block, as nobody knows how much of it is zero.
bool ThinWriter::hasRoom(const Front& front) const {
    const int64_t most = int64_t{front.m} * front.k;
    return count_ + most <= thin_.capacity;
}

void ThinWriter::take(const Front& front) {
    if (thin_.capacity == 0) return;
    const bool isThin = thin_.candidate[front.index] != 0 && hasRoom(front);
    const bool inThinRun = thin_.numRuns % 2 == 0;
    if (isThin != inThinRun) thin_.runEnd[thin_.numRuns++] = front.index;
    if (!isThin) return;
    ThinColumn* const column = thin_.column.data() + front.firstCol;
    const int32_t* const pivot = symbolic_.pivotIndex.data() + front.firstCol;
    takePivots(front, pivot, column);
    const int32_t* const reach = thin_.reach.data() + front.firstCol;
    int32_t lastUsed = 0;  // of the columns that pivots have come from
    for (int32_t c = 0; c < front.k; ++c) {
        lastUsed = std::max({lastUsed, c, pivotRow(pivot[c])});
        column[c].begin = count_;
        count_ +=
            compressColumn(c + 2, reach[lastUsed], front.values + int64_t{c} * front.m, front.rows,
                           thin_.value.data() + count_, thin_.row.data() + count_);
    }
    column[front.k].begin = count_;
    ThinColumn& last = column[front.k - 1];
    if (front.k == front.m || front.rows[front.k] == front.firstCol + front.k) return;
    // Order within a column is of no concern.
    thin_.row[count_] = front.rows[front.k];
    thin_.value[count_] = last.next;
    last.next = 0;
    column[front.k].begin = ++count_;
}

void ThinWriter::finish() {
    if (thin_.capacity > 0) thin_.runEnd[thin_.numRuns++] = symbolic_.blocks.count;
}

}  // namespace ovrelin
