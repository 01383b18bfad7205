#include "eigen/full_quadratic.hpp"

#include <algorithm>
#include <limits>

#include "linalg/sparse_columns.hpp"

namespace ovrelin {
namespace {

/// The strict upper triangle of Q by columns: the transpose of its strict lower one.
struct UpperTriangle {
    PoolArray<int32_t> colBegin, rowIndex;
    PoolArray<double> matValue;
};

struct Diagonal {
    double shift;
    bool keepZeros;
};

Status transposeLower(MemoryPool* pool, const Model& model, std::size_t count,
                      UpperTriangle& upper) {
    OV_TRY(upper.colBegin.make(pool, static_cast<std::size_t>(model.numCol) + 1));
    OV_TRY(upper.rowIndex.make(pool, count));
    OV_TRY(upper.matValue.make(pool, count));
    transposeColumns(model.numCol, model.numCol, model.quadColBegin, model.quadColLength,
                     model.quadRowIndex, model.quadMatValue, upper.colBegin.data(),
                     upper.rowIndex.data(), upper.matValue.data());
    return Status::ok;
}

/// Column j: what lies above the diagonal, the diagonal, what lies below.
void mergeTriangles(const Model& model, const UpperTriangle& upper, Diagonal diagonal,
                    FullQuadratic& full) {
    int32_t next = 0;
    const auto append = [&](const int32_t* index, const double* value, int32_t length) {
        std::copy_n(index, length, full.rowIndex.data() + next);
        std::copy_n(value, length, full.matValue.data() + next);
        next += length;
    };
    for (int32_t j = 0; j < model.numCol; ++j) {
        full.colBegin[j] = next;
        const int32_t above = upper.colBegin[j], below = model.quadColBegin[j];
        append(upper.rowIndex.data() + above, upper.matValue.data() + above,
               upper.colBegin[j + 1] - above);
        const double entry = model.quadDiag[j] - diagonal.shift;
        if (entry != 0 || diagonal.keepZeros) append(&j, &entry, 1);
        append(model.quadRowIndex + below, model.quadMatValue + below, model.quadColLength[j]);
    }
    full.colBegin[model.numCol] = next;
}

Status makeFull(MemoryPool* pool, const Model& model, Diagonal diagonal, FullQuadratic& full) {
    std::int64_t count = 0;
    for (int32_t j = 0; j < model.numCol; ++j) count += model.quadColLength[j];
    const std::int64_t most = 2 * count + model.numCol;
    if (most > std::numeric_limits<int32_t>::max()) return Status::outOfMemory;
    full.n = model.numCol;
    OV_TRY(full.colBegin.make(pool, static_cast<std::size_t>(model.numCol) + 1));
    OV_TRY(full.rowIndex.make(pool, static_cast<std::size_t>(most)));
    OV_TRY(full.matValue.make(pool, static_cast<std::size_t>(most)));
    UpperTriangle upper;
    OV_TRY(transposeLower(pool, model, static_cast<std::size_t>(count), upper));
    mergeTriangles(model, upper, diagonal, full);
    return Status::ok;
}

}  // namespace

Status makeFullQuadratic(MemoryPool* pool, const Model& model, FullQuadratic& full) {
    return makeFull(pool, model, {0, false}, full);
}

Status makeShiftedQuadratic(MemoryPool* pool, const Model& model, double shift,
                            FullQuadratic& full) {
    return makeFull(pool, model, {shift, true}, full);
}

}  // namespace ovrelin
