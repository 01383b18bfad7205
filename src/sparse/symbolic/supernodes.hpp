// Supernodes: runs of columns of L with the same rows, and their merging into larger ones at the
// price of some explicit zeros, so that the dense kernels have blocks to work on.
#pragma once

#include <cstdint>

#include "frame/parameters/sparse_parameters.hpp"
#include "sparse/order/scratch.hpp"

namespace ovrelin {

/// A partition of the columns into supernodes: s has the columns firstCol[s] .. firstCol[s+1]-1 and
/// numRows[s] rows, its own columns included.
struct SupernodePartition {
    std::int32_t numSuper;
    std::int32_t* firstCol;  // [n + 1]
    std::int32_t* numRows;   // [n]
};

/// Fundamental supernodes: column j opens a new one unless j-1 is its only child and loses nothing
/// but its own row. `parent` is postordered, `count` includes the diagonal.
[[nodiscard]] std::size_t fundamentalScratchBytes(std::int32_t n);
void findFundamental(std::int32_t n, const std::int32_t* parent, const std::int32_t* count,
                     SupernodePartition& partition, Scratch scratch);

/// Merges supernodes with the parent straight behind them while few zeros arise, in place.
[[nodiscard]] std::size_t amalgamateScratchBytes(std::int32_t n);
void amalgamate(std::int32_t n, const std::int32_t* parent, const SparseParameters& parameters,
                SupernodePartition& partition, Scratch scratch);

/// Widest supernode, 0 without any.
[[nodiscard]] std::int32_t widestSupernode(const SupernodePartition& partition);

/// Sum over the supernodes, with k columns and r rows, of (r-j)(r-j-1) for j from 0 to k-1.
[[nodiscard]] double countSupernodeOps(const SupernodePartition& partition);

/// colToSuper [n], and superParent [numSuper]: where the last column's parent lies, -1 at a root.
void linkSupernodes(const SupernodePartition& partition, const std::int32_t* parent,
                    std::int32_t* colToSuper, std::int32_t* superParent);

}  // namespace ovrelin
