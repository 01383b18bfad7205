#include "sparse/symbolic/row_structure.hpp"

#include <algorithm>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

// Rows come in ascending order, so each list grows sorted.
struct RowFiller {
    const SupernodeTree& tree;
    std::int32_t* rowList;
    std::int32_t* place;    // null, or where each row below a supernode stands in its parent
    std::int64_t* next;     // [numSuper] where the next row of a supernode goes
    std::int32_t* lastRow;  // [numSuper] row that was added last

    // Where row j stands in supernode s, which has it already or gets it next.
    std::int32_t placeIn(std::int32_t s, std::int32_t j) const {
        if (s == -1) return 0;
        if (s == tree.colToSuper[j]) return j - tree.firstCol[s];
        return static_cast<std::int32_t>(next[s] - (lastRow[s] == j ? 1 : 0) - tree.rowBegin[s]);
    }

    // Adds row j to the supernodes from s upwards, as far as they do not have it yet.
    bool climb(std::int32_t s, std::int32_t j) {
        for (; s != -1 && lastRow[s] != j; s = tree.parent[s]) {
            if (next[s] == tree.rowBegin[s + 1]) return false;
            lastRow[s] = j;
            if (place != nullptr) place[next[s]] = placeIn(tree.parent[s], j);
            rowList[next[s]++] = j;
        }
        return true;
    }
};

bool listOwnColumns(RowFiller& filler) {
    for (std::int32_t s = 0; s < filler.tree.numSuper; ++s) {
        filler.next[s] = filler.tree.rowBegin[s];
        filler.lastRow[s] = -1;
        for (std::int32_t j = filler.tree.firstCol[s]; j < filler.tree.firstCol[s + 1]; ++j) {
            if (filler.next[s] == filler.tree.rowBegin[s + 1]) return false;
            filler.rowList[filler.next[s]++] = j;
        }
    }
    return true;
}

bool isComplete(const RowFiller& filler) {
    for (std::int32_t s = 0; s < filler.tree.numSuper; ++s) {
        if (filler.next[s] != filler.tree.rowBegin[s + 1]) return false;
    }
    return true;
}

}  // namespace

std::size_t rowStructureScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int64_t>(n) + Scratch::bytesFor<std::int32_t>(n);
}

int fillRowStructure(const PermutedPattern& matrix, const SupernodeTree& tree,
                     std::int32_t* rowList, std::int32_t* place, Scratch scratch) {
    const std::int32_t n = matrix.pattern.n;
    RowFiller filler{tree, rowList, place, scratch.take<std::int64_t>(n),
                     scratch.take<std::int32_t>(n)};
    if (!listOwnColumns(filler)) return ldl::mismatch;
    for (std::int32_t j = 0; j < n; ++j) {
        filler.lastRow[tree.colToSuper[j]] = j;
        for (std::int32_t p = matrix.begin(j); p < matrix.end(j); ++p) {
            const std::int32_t i = matrix.row(p);
            if (i < j && !filler.climb(tree.colToSuper[i], j)) return ldl::mismatch;
        }
    }
    return isComplete(filler) ? ldl::ok : ldl::mismatch;
}

}  // namespace ovrelin
