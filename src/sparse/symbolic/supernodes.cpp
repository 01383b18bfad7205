#include "sparse/symbolic/supernodes.hpp"

#include <algorithm>

#include "sparse/symbolic/disjoint_sets.hpp"

namespace ovrelin {
namespace {

std::int32_t columnsOf(const SupernodePartition& partition, std::int32_t s) {
    return partition.firstCol[s + 1] - partition.firstCol[s];
}

void fillColToSuper(const SupernodePartition& partition, std::int32_t* colToSuper) {
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        std::fill(colToSuper + partition.firstCol[s], colToSuper + partition.firstCol[s + 1], s);
    }
}

// A candidate for merging: columns, rows, and the explicit zeros that it holds already.
struct Block {
    std::int64_t columns;
    std::int64_t rows;
    std::int64_t zeros;
};

// The child's columns get all rows of the parent; what they had below the child lies among those.
Block mergedBlock(const Block& child, const Block& parent) {
    const std::int64_t rows = child.columns + parent.rows;
    const std::int64_t added = (rows - child.rows) * child.columns;
    return {child.columns + parent.columns, rows, added + parent.zeros};
}

// Small blocks are merged for the sake of their overhead, larger ones only when the zeros are few
// among the entries below the diagonal.
bool worthMerging(const Block& parent, const Block& merged, const SparseParameters& parameters) {
    if (merged.zeros == parent.zeros) return true;
    const std::int64_t w = merged.columns;
    if (w < parameters.mergeAlwaysBelow) return true;
    const std::int64_t below = (w - 1) * w / 2 + (merged.rows - w) * w;
    const double share = static_cast<double>(merged.zeros) / static_cast<double>(below);
    if (w < parameters.mergeSmallBelow) {
        return merged.zeros <= parameters.mergeFreeZeros || share < parameters.mergeMediumShare;
    }
    const bool medium = w < parameters.mergeMediumBelow;
    return share < (medium ? parameters.mergeMediumShare : parameters.mergeLargeShare);
}

// Closes the gaps that absorbed supernodes left.
void compress(std::int32_t n, const std::int32_t* absorbedBy, const Block* blocks,
              SupernodePartition& partition) {
    std::int32_t kept = 0;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        if (absorbedBy[s] != s) continue;
        partition.firstCol[kept] = partition.firstCol[s];
        partition.numRows[kept] = static_cast<std::int32_t>(blocks[s].rows);
        ++kept;
    }
    partition.firstCol[kept] = n;
    partition.numSuper = kept;
}

}  // namespace

std::size_t fundamentalScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(n);
}

void findFundamental(std::int32_t n, const std::int32_t* parent, const std::int32_t* count,
                     SupernodePartition& partition, Scratch scratch) {
    std::int32_t* numChildren = scratch.take<std::int32_t>(n);
    std::fill_n(numChildren, n, 0);
    for (std::int32_t j = 0; j < n; ++j) {
        if (parent[j] != -1) ++numChildren[parent[j]];
    }
    std::int32_t s = 0;
    for (std::int32_t j = 0; j < n; ++j) {
        if (j > 0 && numChildren[j] == 1 && count[j] == count[j - 1] - 1) continue;
        partition.firstCol[s] = j;
        partition.numRows[s] = count[j];
        ++s;
    }
    partition.firstCol[s] = n;
    partition.numSuper = s;
}

std::size_t amalgamateScratchBytes(std::int32_t n) {
    return 2 * Scratch::bytesFor<std::int32_t>(n) + Scratch::bytesFor<Block>(n);
}

void amalgamate(std::int32_t n, const std::int32_t* parent, const SparseParameters& parameters,
                SupernodePartition& partition, Scratch scratch) {
    const std::int32_t numSuper = partition.numSuper;
    std::int32_t* absorbedBy = scratch.take<std::int32_t>(n);
    std::int32_t* colToSuper = scratch.take<std::int32_t>(n);
    Block* blocks = scratch.take<Block>(n);
    fillColToSuper(partition, colToSuper);
    for (std::int32_t s = 0; s < numSuper; ++s) {
        absorbedBy[s] = s;
        blocks[s] = {columnsOf(partition, s), partition.numRows[s], 0};
    }
    for (std::int32_t s = numSuper - 2; s >= 0; --s) {
        const std::int32_t up = parent[partition.firstCol[s + 1] - 1];
        if (up == -1 || findRoot(absorbedBy, colToSuper[up]) != s + 1) continue;
        const Block merged = mergedBlock(blocks[s], blocks[s + 1]);
        if (!worthMerging(blocks[s + 1], merged, parameters)) continue;
        blocks[s] = merged;
        absorbedBy[s + 1] = s;
    }
    compress(n, absorbedBy, blocks, partition);
}

std::int32_t widestSupernode(const SupernodePartition& partition) {
    std::int32_t widest = 0;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        widest = std::max(widest, columnsOf(partition, s));
    }
    return widest;
}

double countSupernodeOps(const SupernodePartition& partition) {
    double ops = 0.0;
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        const double r = partition.numRows[s];
        for (std::int32_t j = 0; j < columnsOf(partition, s); ++j) ops += (r - j) * (r - j - 1.0);
    }
    return ops;
}

void linkSupernodes(const SupernodePartition& partition, const std::int32_t* parent,
                    std::int32_t* colToSuper, std::int32_t* superParent) {
    fillColToSuper(partition, colToSuper);
    for (std::int32_t s = 0; s < partition.numSuper; ++s) {
        const std::int32_t up = parent[partition.firstCol[s + 1] - 1];
        superParent[s] = up == -1 ? -1 : colToSuper[up];
    }
}

}  // namespace ovrelin
