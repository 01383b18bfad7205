#include "sparse/numeric/thin_writer.hpp"

#include <algorithm>

#include "sparse/kernel/compress.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// How far a pivot row stands from its column, or the complement of that in both columns of a pair.
int32_t moveOf(int32_t pivot, int32_t c, bool second) {
    return isPair(pivot) ? ~(pivotRow(pivot) - (second ? c : c + 1)) : pivot - c;
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
    const int32_t* const reach = thin_.reach.data() + front.firstCol;
    double* const value = thin_.value.data();
    int32_t* const row = thin_.row.data();
    int32_t count = count_, lastUsed = 0;  // of the columns that pivots have come from
    bool second = false;
    for (int32_t c = 0; c < front.k; ++c) {
        const double* const from = front.values + int64_t{c} * front.m;
        lastUsed = std::max(lastUsed, pivotRow(pivot[c]));
        // The row below the last column need not be the next one: see below.
        column[c] = {c + 1 < front.m ? from[c + 1] : 0, from[c], count,
                     moveOf(pivot[c], c, second)};
        second = isPair(pivot[c]) && !second;
        count +=
            compressColumn(c + 2, reach[lastUsed], from, front.rows, value + count, row + count);
    }
    column[front.k].begin = count_ = count;
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
