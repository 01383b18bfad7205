// The update of a small front, and the way of an update into the columns that it belongs to.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// W = A B' on and below the diagonal, columns 0 .. n of it, in whole vectors: A (m x k) is read
/// and W written up to the next multiple of eight rows, and above the diagonal some entries are
/// written too. W.ld >= wholeVectors(m).
void formUpdate(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                Block w);

/// Subtracts W (m x n), or its lower trapezoid, from `target` at the rows place[0 .. m), which
/// ascend, and the columns columns[0 .. n).
void subtractScattered(std::int32_t m, std::int32_t n, bool lower, ConstBlock w,
                       const std::int32_t* place, const std::int32_t* columns, Block target);

/// The same, added.
void addScattered(std::int32_t m, std::int32_t n, bool lower, ConstBlock w,
                  const std::int32_t* place, const std::int32_t* columns, Block target);

/// The lower trapezoid of W at consecutive places, given by where its first entry goes.
void subtractConsecutive(std::int32_t m, std::int32_t n, ConstBlock w, Block target);

/// The lower trapezoid of W = l d l' of a single column, with l and scaled = l d [m], which is
/// never formed, at rows place[0 .. m) and columns place[0 .. n).
void subtractOuterScattered(std::int32_t m, std::int32_t n, const double* l, const double* scaled,
                            const std::int32_t* place, Block target);
void subtractOuterConsecutive(std::int32_t m, std::int32_t n, const double* l, const double* scaled,
                              Block target);

}  // namespace ovrelin
