// One block column of the factorisation by one thread: it is cleared, receives the matrix entries,
// is factored, and sends its update to the block columns of the rows below it.
#pragma once

#include <cstdint>

#include "ovrelin/host.h"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Buffers that a thread has to itself.
struct FrontScratch {
    double* update;          // strips of the update matrix
    double* scaled;          // the D-scaled copy of a front
    std::int32_t* position;  // [n] of rows in the block column that an update goes to
};

class ThinWriter;
struct RootSum;

/// What one thread of a factorisation works with.
struct Factorisation {
    LdlSymbolic& symbolic;
    LdlNumeric& numeric;
    PivotRule rule;
    const HostContext* context;  // its stop flag is polled before each panel; may be null
    FrontScratch scratch;
    std::int32_t endColumn;  // columns from here on receive no updates, or their sum does
    std::int32_t numPerturbed;
    ThinWriter* thin = nullptr;  // copies what is mostly zeros; may be null
    /// The values as they were given, which entries are taken from; null: from lowerValue. Threads
    /// that write that side by side would take its cache lines from each other.
    const double* matValue = nullptr;
    const RootSum* sum = nullptr;  // takes the updates of columns from endColumn on; may be null
};

/// One block column: m x k with leading dimension m, its k own rows first.
struct Front {
    std::int32_t index;  // -1: a strip of a root sum
    std::int32_t firstCol;
    std::int32_t m, k;
    const std::int32_t* rows;  // [m] ascending
    double* values;

    [[nodiscard]] bool isOfSum() const { return index < 0; }
    [[nodiscard]] Block block() const { return {values, m}; }
    [[nodiscard]] ConstBlock constBlock() const { return {values, m}; }
};

inline Front frontOf(LdlSymbolic& symbolic, std::int32_t block) {
    const BlockColumns& blocks = symbolic.blocks;
    const std::int32_t first = blocks.firstCol[block];
    const std::int64_t begin = blocks.rowBegin[block];
    return {block,
            first,
            static_cast<std::int32_t>(blocks.rowEnd[block] - begin),
            blocks.firstCol[block + 1] - first,
            symbolic.rowList.data() + begin,
            symbolic.factorValues.data() + blocks.valueBegin[block]};
}

/// Clears the block unless an earlier update reached it, and marks it as touched. The triangle
/// above the diagonal may be left as it is.
void touchFront(LdlSymbolic& symbolic, const Front& front);

/// Adds the entries of the permuted matrix.
void assembleFront(Factorisation& work, const Front& front);

/// ok or stopped.
[[nodiscard]] int factorFront(Factorisation& work, const Front& front);

/// Subtracts L2 D L2' from the blocks of the ancestors; L2 are the rows below the diagonal block.
void updateAncestors(Factorisation& work, const Front& front);

}  // namespace ovrelin
