#include "sparse/symbolic/second_amalgamation.hpp"

#include <algorithm>

namespace ovrelin {

namespace {

using std::int32_t;

/// The last supernode of the run that begins at the leaf `first`.
int32_t runEnd(const SupernodePartition& partition, const int32_t* superParent, int32_t first) {
    int32_t last = first;
    for (;;) {
        const int32_t up = superParent[last];
        if (up == -1 || up - first >= sparsePlanning.runSupernodes) return last;
        const int32_t columns = partition.firstCol[up + 1] - partition.firstCol[first];
        if (columns >= sparsePlanning.runColumns) return last;
        last = up;
    }
}

}  // namespace

std::size_t secondAmalgamationScratchBytes(int32_t n) {
    return 3 * Scratch::bytesFor<int32_t>(n);
}

void mergeLeafRuns(int32_t n, const int32_t* parent, SupernodePartition& partition,
                   Scratch scratch) {
    int32_t* const colToSuper = scratch.take<int32_t>(n);
    int32_t* const superParent = scratch.take<int32_t>(n);
    int32_t* const hasChild = scratch.take<int32_t>(n);
    linkSupernodes(partition, parent, colToSuper, superParent);
    const int32_t numSuper = partition.numSuper;
    std::fill_n(hasChild, numSuper, 0);
    for (int32_t s = 0; s < numSuper; ++s)
        if (superParent[s] != -1) hasChild[superParent[s]] = 1;
    int32_t kept = 0;
    for (int32_t s = 0; s < numSuper; ++kept) {
        const int32_t last = hasChild[s] != 0 ? s : runEnd(partition, superParent, s);
        const int32_t added = partition.firstCol[last] - partition.firstCol[s];
        partition.firstCol[kept] = partition.firstCol[s];
        partition.numRows[kept] = added + partition.numRows[last];
        s = last + 1;
    }
    partition.firstCol[kept] = n;
    partition.numSuper = kept;
}

}  // namespace ovrelin
