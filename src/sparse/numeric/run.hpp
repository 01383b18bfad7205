// The rows below a front fall into runs, one for each block column whose columns they are. From a
// run on, all rows of the front stand in that block column; a walk finds where.
#pragma once

#include <cstdint>

#include "sparse/numeric/front.hpp"

namespace ovrelin {

/// Rows are counted from the first one below the front's diagonal block.
struct Run {
    Front target;
    std::int32_t begin, end;  // the rows that are columns of the target
    std::int32_t first;       // place of row `begin` in the target
    bool consecutive;         // all rows from `begin` on stand one after the other
};

class RunWalk {
public:
    RunWalk(Factorisation& work, const Front& front);

    [[nodiscard]] std::int32_t count() const { return count_; }
    [[nodiscard]] Run runAt(std::int32_t begin);
    /// Places in the run's target of the rows from run.begin on, as an array over all rows. Runs
    /// must be asked for in ascending order; the array is good until the next one is.
    [[nodiscard]] const std::int32_t* locate(const Run& run);

private:
    [[nodiscard]] Run runInSum(std::int32_t begin) const;
    [[nodiscard]] Run runIn(const Front& target, std::int32_t begin, std::int32_t first,
                            std::int32_t lastCol) const;
    [[nodiscard]] const std::int32_t* locateInSum(const Run& run);
    void climb();
    void search(const Run& run);

    Factorisation& work_;
    const std::int32_t* rows_;
    std::int32_t count_;
    // Where the rows stand in supernode `super_`, from some row on; -1 when nobody knows.
    const std::int32_t* place_;
    std::int32_t super_;
    std::int32_t from_;
};

}  // namespace ovrelin
