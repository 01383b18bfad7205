// The sparse copy of those block columns that are mostly zeros. Amalgamation makes dense blocks of
// chains of columns, which the factorisation gains from; a sweep over them would read three to five
// numbers for each one of L. The factorisation therefore leaves a copy of such blocks without the
// zeros, column by column, and the sweeps read that instead.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"

namespace ovrelin {

/// One column: D, the entry of L in the next row (a chain's only one, so that its sweep waits for
/// one multiplication a column and no memory), and where the others begin. In the first column of a
/// pair `next` is D's entry below the diagonal. `move` is 0 for a pivot in place, the distance to
/// the row that a single pivot was swapped with, and in both columns of a pair the complement of
/// the distance from its second column to the row swapped with that.
struct ThinColumn {
    double next;
    double diagonal;
    std::int32_t begin;
    std::int32_t move;
};

/// The block columns fall into runs: runEnd[0] ends the first run of thin ones (which may be
/// empty), runEnd[1] the others that follow, and so on in turns. No runs: nothing is thin. Column j
/// of a thin run has the entries column[j].begin .. column[j + 1].begin - 1.
struct ThinColumns {
    std::int32_t numRuns;
    std::int32_t capacity;             // of row and value
    PoolArray<std::int8_t> candidate;  // [blocks.count] blocks that are worth a copy
    PoolArray<std::int32_t> runEnd;    // [blocks.count + 1]
    PoolArray<ThinColumn> column;      // [n + 1]
    PoolArray<std::int32_t> row;       // [capacity] in the order of the factors
    PoolArray<double> value;           // [capacity]
    /// [n] how many rows of its block column a candidate's column of L and those before it may
    /// have entries in.
    PoolArray<std::int32_t> reach;

    [[nodiscard]] bool isCandidate(std::int32_t block) const {
        return capacity > 0 && candidate[block] != 0;
    }
};

}  // namespace ovrelin
