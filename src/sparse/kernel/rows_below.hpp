// The rows below the diagonal block of a front: their part of L from that of the block.
#pragma once

#include <cstdint>

#include "sparse/kernel/product.hpp"

namespace ovrelin {

/// Solves X L' = B for X and divides by D.
///
///   in       diagonal  [cols x cols] L strictly below the diagonal, D on it, as eliminatePanel
///                      leaves them (all interchanges applied); changed during the call, restored
///                      at its end
///            pivot     [cols] tells where D has 2x2 blocks; cols <= mostPanelColumns
///   in-out   front     [count x cols] B on entry, X D^-1 on return
///   out      scaled    [count x cols] X
void solveRowsBelow(std::int32_t count, std::int32_t cols, Block diagonal,
                    const std::int32_t* pivot, Block front, Block scaled);

}  // namespace ovrelin
