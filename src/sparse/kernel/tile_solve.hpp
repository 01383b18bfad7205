// Tiles below a factored diagonal block: their part of L, and L times D for the products.
//
// A factored block keeps its interchanges interleaved with the columns of L. Several threads solve
// against the same block, so that none may change it: each makes a copy of L with all interchanges
// carried through, P L~ D L~' P', and solves with that.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// `prepared` (k x k, leading dimension k) receives L~ below its diagonal; on and above it nothing
/// is written. `diagonal` and `pivot` as factorPivotBlock leaves them.
void prepareDiagonal(std::int32_t k, ConstBlock diagonal, const std::int32_t* pivot,
                     double* prepared);

/// Rows of a tile, B (count x k) on entry, become B P L~^-T D^-1.
void solveTile(std::int32_t count, std::int32_t k, const double* prepared, ConstBlock diagonal,
               const std::int32_t* pivot, Block tile);

/// out (count x k) = L D for `count` rows of L below a factored diagonal block.
void scaleByPivots(std::int32_t count, std::int32_t k, ConstBlock lower, ConstBlock diagonal,
                   const std::int32_t* pivot, Block out);

}  // namespace ovrelin
