#include "presolve/presolver.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "frame/log.hpp"
#include "linalg/sparse_columns.hpp"
#include "verify/verify_sparse.hpp"

namespace ovrelin {
namespace {

std::size_t count(int32_t n) {
    return static_cast<std::size_t>(n);
}

template <class T>
Status copyArray(MemoryPool* pool, int32_t n, const T* source, PoolArray<T>& target) {
    OV_TRY(target.make(pool, count(n)));
    std::copy_n(source, n, target.data());
    return Status::ok;
}

/// A bound at or beyond infinity is absent, however the caller writes it. The passes tell by strict
/// tests whether a bound lies beyond, so that an absent one is stored well beyond.
void storeAbsentBounds(double infinity, Presolver& presolver) {
    for (double& bound : presolver.lower)
        if (bound <= -infinity) bound = -maxDouble;
    for (double& bound : presolver.upper)
        if (bound >= infinity) bound = maxDouble;
}

Status filledArray(MemoryPool* pool, int32_t n, int32_t value, PoolArray<int32_t>& target) {
    OV_TRY(target.make(pool, count(n)));
    std::fill(target.begin(), target.end(), value);
    return Status::ok;
}

Status makeLists(MemoryPool* pool, int32_t numList, int32_t numElement, LiveLists& lists) {
    OV_TRY(lists.begin.make(pool, count(numList) + 1));
    OV_TRY(lists.length.make(pool, count(numList)));
    OV_TRY(lists.index.make(pool, count(numElement)));
    return lists.value.make(pool, count(numElement));
}

/// A packed copy of `numMajor` lists and their transpose over `numMinor`.
Status copyBothOrders(MemoryPool* pool, int32_t numMajor, int32_t numMinor, int32_t numElement,
                      const int32_t* begin, const int32_t* length, const int32_t* index,
                      const double* value, LiveLists& major, LiveLists& minor) {
    OV_TRY(makeLists(pool, numMinor, numElement, minor));
    transposeColumns(numMinor, numMajor, begin, length, index, value, minor.begin.data(),
                     minor.index.data(), minor.value.data());
    for (int32_t i = 0; i < numMinor; ++i) minor.length[i] = minor.begin[i + 1] - minor.begin[i];

    OV_TRY(makeLists(pool, numMajor, numElement, major));
    major.begin[0] = 0;
    for (int32_t j = 0; j < numMajor; ++j) {
        std::copy_n(index + begin[j], length[j], major.index.data() + major.begin[j]);
        std::copy_n(value + begin[j], length[j], major.value.data() + major.begin[j]);
        major.length[j] = length[j];
        major.begin[j + 1] = major.begin[j] + length[j];
    }
    return Status::ok;
}

void renumber(PoolArray<int32_t>& map) {
    int32_t removed = 0;
    for (std::size_t k = 0; k < map.size(); ++k) {
        if (map[k] < 0)
            ++removed;
        else
            map[k] = static_cast<int32_t>(k) - removed;
    }
}

}  // namespace

void LiveLists::reset() {
    begin.reset();
    length.reset();
    index.reset();
    value.reset();
}

Status initPresolver(SolverInstance* instance, const Model& model, const SolveOptions& options,
                     Presolver& presolver) {
    const PresolveParameters& parameters = options.parameters.presolve;
    MemoryPool* pool = instance->pool;
    presolver.typeModel = model.typeModel;
    presolver.numRow = model.numRow;
    presolver.numCol = model.numCol;
    presolver.maxPass = parameters.maxPass;
    presolver.quadDiagFloor = parameters.quadDiagFloor;
    presolver.infeasibleRow = presolver.infeasibleCol = -1;
    presolver.doRowActivity = presolver.doSingletonRow = parameters.reductions ? 1 : 0;

    OV_TRY(copyBothOrders(pool, model.numCol, model.numRow, model.numCoef, model.colBegin,
                          model.colLength, model.rowIndex, model.matValue, presolver.columns,
                          presolver.rows));
    if (options.debugLevel > 0)
        OV_TRY(VerifyRowMatrix(instance, options.debugLevel, presolver.columns, presolver.rows));
    if (model.numQuadCoef > 0)
        OV_TRY(copyBothOrders(pool, model.numCol, model.numCol, model.numQuadCoef,
                              model.quadColBegin, model.quadColLength, model.quadRowIndex,
                              model.quadMatValue, presolver.quadColumns, presolver.quadRows));
    OV_TRY(copyArray(pool, model.numRow, model.rowSense, presolver.rowSense));
    OV_TRY(copyArray(pool, model.numRow, model.rhs, presolver.rhs));
    OV_TRY(copyArray(pool, model.numCol, model.obj, presolver.obj));
    OV_TRY(filledArray(pool, model.numRow, 0, presolver.rowMap));
    OV_TRY(filledArray(pool, model.numCol, 0, presolver.colMap));
    OV_TRY(copyArray(pool, model.numCol, model.lower, presolver.lower));
    OV_TRY(copyArray(pool, model.numCol, model.upper, presolver.upper));
    storeAbsentBounds(options.infinity, presolver);
    OV_TRY(filledArray(pool, model.numCol, -1, presolver.lbMap));
    OV_TRY(filledArray(pool, model.numCol, -1, presolver.ubMap));
    OV_TRY(filledArray(pool, model.numRow, 0, presolver.rowProcessed));
    OV_TRY(filledArray(pool, model.numCol, 0, presolver.colProcessed));
    return presolver.spec.make(pool, count(model.numCol));
}

void removeElement(const SolverInstance* instance, int32_t minor, int32_t major, LiveLists& lists) {
    const int32_t first = lists.begin[major];
    const int32_t last = first + lists.length[major] - 1;
    int32_t* const index = lists.index.data();
    double* const value = lists.value.data();
    int32_t at = static_cast<int32_t>(std::find(index + first, index + last + 1, minor) - index);
    if (at > last) {
        logText(instance, "Error removeElement: minor %d not found in major %d", minor, major);
        if (last < first) return;
        at = last;
    }
    const double removed = value[at];
    std::memmove(index + at, index + at + 1, count(last - at) * sizeof(int32_t));
    std::memmove(value + at, value + at + 1, count(last - at) * sizeof(double));
    index[last] = minor;
    value[last] = removed;
    --lists.length[major];
}

void assignReducedIndex(Presolver& presolver) {
    renumber(presolver.rowMap);
    renumber(presolver.colMap);
}

void releasePresolverWork(Presolver& presolver) {
    presolver.columns.reset();
    presolver.quadColumns.reset();
    presolver.quadRows.reset();
    presolver.rowSense.reset();
    presolver.rowProcessed.reset();
    presolver.colProcessed.reset();
    if (presolver.numPostdet == 0) {
        presolver.rows.reset();
        presolver.rhs.reset();
    }
}

void exchangeBounds(Model& model, Presolver& presolver) {
    std::swap_ranges(model.lower, model.lower + presolver.numCol, presolver.lower.data());
    std::swap_ranges(model.upper, model.upper + presolver.numCol, presolver.upper.data());
    presolver.boundModel = presolver.boundModel == nullptr ? &model : nullptr;
}

void releaseRelaxFlags(Presolver& presolver) {
    if (presolver.relaxedModel == nullptr) return;
    presolver.relaxedModel->relaxColBound = nullptr;
    presolver.relaxedModel = nullptr;
    presolver.relaxColBound.reset();
}

void freePresolver(PoolObject<Presolver>& presolver) {
    if (!presolver) return;
    releaseRelaxFlags(*presolver);
    if (presolver->boundModel != nullptr) exchangeBounds(*presolver->boundModel, *presolver);
    presolver.reset();
}

}  // namespace ovrelin
