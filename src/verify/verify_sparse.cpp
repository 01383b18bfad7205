#include "verify/verify_sparse.hpp"

#include <algorithm>

#include "linalg/sparse_columns.hpp"
#include "verify/check.hpp"

namespace ovrelin {
namespace {

int32_t numLists(const LiveLists& lists) {
    return static_cast<int32_t>(lists.length.size());
}

int32_t liveElements(const LiveLists& lists) {
    int32_t sum = 0;
    for (std::size_t k = 0; k < lists.length.size(); ++k) sum += lists.length[k];
    return sum;
}

}  // namespace

Status VerifySparseIndex(SolverInstance* instance, int32_t debugLevel, const LiveLists& lists,
                         int32_t range) {
    if (debugLevel < 1) return Status::ok;
    Check check(instance);
    PoolArray<int32_t> seenIn;  // the list in which an index was seen last, plus 1
    OV_TRY(seenIn.make(instance->pool, static_cast<std::size_t>(range), Fill::zero));
    for (int32_t j = 0; j < numLists(lists); ++j) {
        const int32_t first = lists.begin[j];
        const int32_t end = std::min(first + lists.length[j], lists.begin[j + 1]);
        check.require(lists.length[j] >= 0 && end == first + lists.length[j],
                      "Error VerifySparseIndex: length of list %d = %d should be at most %d", j,
                      lists.length[j], lists.begin[j + 1] - first);
        for (int32_t k = first; k < end; ++k) {
            const int32_t index = lists.index[k];
            if (index < 0 || index >= range) {
                check.fault("Error VerifySparseIndex: index %d in list %d should be below %d",
                            index, j, range);
                continue;
            }
            check.require(seenIn[index] != j + 1,
                          "Error VerifySparseIndex: index %d appears twice in list %d", index, j);
            seenIn[index] = j + 1;
        }
    }
    return check.status();
}

Status VerifyRowMatrix(SolverInstance* instance, int32_t debugLevel, const LiveLists& columns,
                       const LiveLists& rows) {
    if (debugLevel < 1) return Status::ok;
    const int32_t numCol = numLists(columns), numRow = numLists(rows);
    OV_TRY(VerifySparseIndex(instance, debugLevel, columns, numRow));
    OV_TRY(VerifySparseIndex(instance, debugLevel, rows, numCol));
    Check check(instance);
    const int32_t elements = liveElements(columns);
    if (elements != liveElements(rows)) {
        check.fault("Error VerifyRowMatrix: number of elements by rows = %d should be %d",
                    liveElements(rows), elements);
        return check.status();
    }
    // The transpose of the columns, row by row against the row lists in any order.
    PoolArray<int32_t> begin, index;
    PoolArray<double> value, seen;
    OV_TRY(begin.make(instance->pool, static_cast<std::size_t>(numRow) + 1));
    OV_TRY(index.make(instance->pool, static_cast<std::size_t>(elements)));
    OV_TRY(value.make(instance->pool, static_cast<std::size_t>(elements)));
    OV_TRY(seen.make(instance->pool, static_cast<std::size_t>(numCol)));
    std::fill(seen.begin(), seen.end(), maxDouble);  // the mark of a missing element
    transposeColumns(numRow, numCol, columns.begin.data(), columns.length.data(),
                     columns.index.data(), columns.value.data(), begin.data(), index.data(),
                     value.data());
    for (int32_t i = 0; i < numRow; ++i) {
        check.require(rows.length[i] == begin[i + 1] - begin[i],
                      "Error VerifyRowMatrix: length of row %d = %d should be %d", i,
                      rows.length[i], begin[i + 1] - begin[i]);
        for (int32_t k = rows.begin[i]; k < rows.begin[i] + rows.length[i]; ++k)
            seen[rows.index[k]] = rows.value[k];
        for (int32_t k = begin[i]; k < begin[i + 1]; ++k)
            check.require(seen[index[k]] == value[k],
                          "Error VerifyRowMatrix: element (%d,%d) = %15.7g should be %15.7g", i,
                          index[k], seen[index[k]], value[k]);
        for (int32_t k = rows.begin[i]; k < rows.begin[i] + rows.length[i]; ++k)
            seen[rows.index[k]] = maxDouble;
    }
    return check.status();
}

Status VerifyMapping(SolverInstance* instance, int32_t debugLevel, const PoolArray<int32_t>& map,
                     int32_t reducedSize) {
    if (debugLevel < 1) return Status::ok;
    Check check(instance);
    int32_t next = 0;
    for (std::size_t k = 0; k < map.size(); ++k) {
        if (map[k] < 0) continue;
        check.require(map[k] == next, "Error VerifyMapping: map(%d) = %d should be %d",
                      static_cast<int32_t>(k), map[k], next);
        ++next;
    }
    check.require(next == reducedSize, "Error VerifyMapping: reduced size = %d should be %d", next,
                  reducedSize);
    return check.status();
}

}  // namespace ovrelin
