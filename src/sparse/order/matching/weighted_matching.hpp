// An assignment of rows to columns with the largest product of absolute values: after Duff and
// Koster, "On algorithms for permuting large entries to the diagonal of a sparse matrix", SIAM J.
// Matrix Anal. Appl. 22 (2001).
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "sparse/order/graph.hpp"

namespace ovrelin {

/// The trailing block of a matrix by columns: rows and columns from `first` on.
struct MatchingProblem {
    SparsePattern pattern;
    const double* matValue;  // [colBegin[n]]
    std::int32_t first;
};

/// With the duals an entry a(i,j) of the block satisfies
///   |a(i,j)| exp(rowDual[i] + colDual[j]) <= max_k |a(k,j)|, with equality on matched entries.
/// All arrays are indexed by the rows and columns of the whole matrix; those before `first` are not
/// touched.
struct Matching {
    std::int32_t* rowOf;  // [n] the row matched to each column
    double* rowDual;      // [n]
    double* colDual;      // [n]
};

/// Entries that are not finite count as zeros. Returns ldl::ok, ldl::noMemory, or ldl::noMatching
/// for a column whose entries in the block are all zero and for a block of which every assignment
/// meets a zero.
[[nodiscard]] int findWeightedMatching(MemoryPool* pool, const MatchingProblem& problem,
                                       Matching& matching);

}  // namespace ovrelin
