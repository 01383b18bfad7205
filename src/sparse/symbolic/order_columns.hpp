// From a matrix to the order of its columns: pairs of columns that stay together, the graph, the
// ordering.
#pragma once

#include <cstdint>

#include "sparse/order/graph.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

struct ColumnOrder {
    std::int32_t* perm;         // [n] new to old
    std::int32_t* inversePerm;  // [n] old to new
};

[[nodiscard]] std::size_t orderColumnsScratchBytes(std::int32_t n, std::int64_t numEntries);

/// Runs the ordering that the handle's options ask for and stores the method that ran in
/// handle.orderingMethod. matValue may be null but for the matching modes, which leave each pair of
/// matched columns adjacent in `order`; dissection reads from it which diagonal entries are empty.
/// Returns ldl::ok, noMemory, mismatch, noMatching or stopped.
[[nodiscard]] int orderColumns(const SparsePattern& pattern, const double* matValue,
                               SparseLdl& handle, const ColumnOrder& order, Scratch scratch);

}  // namespace ovrelin
