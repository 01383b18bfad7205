// The sparse solver's object: creation with the defaults, range-checked options, release.
#include "sparse/sparse_ldl.hpp"

#include <limits>

#include "sparse/numeric/tiles/team.hpp"
#include "sparse/symbolic/tile_plan.hpp"

namespace ovrelin {

namespace {

constexpr std::int32_t lastOption = ldl::optEigenCount;
constexpr std::int32_t anyCount = std::numeric_limits<std::int32_t>::max();

/// An integer option: the field it stores into and the closed range it accepts.
struct IntOption {
    int option;
    std::int32_t SparseLdl::*field;
    std::int32_t lowest, highest;
};

constexpr IntOption intOptions[] = {
    {ldl::optNumThreads, &SparseLdl::numThreads, 1, anyCount},
    {ldl::optMatrixClass, &SparseLdl::matrixClass, 0, 5},
    {ldl::optOrderingPostPass, &SparseLdl::orderingPostPass, 0, 1},
    {ldl::optMatchingMode, &SparseLdl::matchingMode, 0, 1},
    {ldl::optBlockMatchingMode, &SparseLdl::blockMatchingMode, 0, 1},
    {ldl::optFirstBlockSize, &SparseLdl::firstBlockSize, 0, anyCount},
    {ldl::optReservedCount, &SparseLdl::reservedCount, 1, anyCount},
    {ldl::optOrderingMethod, &SparseLdl::orderingMethod, -1, 4},
    {ldl::optMatchingScale, &SparseLdl::matchingScale, 0, 1},
    {ldl::optPivotStatistics, &SparseLdl::pivotStatistics, 0, 1},
    {ldl::optReservedFlag, &SparseLdl::reservedFlag, 0, 1},
    {ldl::optKrylovRefinement, &SparseLdl::krylovRefinement, 0, 1},
    {ldl::optMaxRefineIter, &SparseLdl::maxRefineIter, 0, anyCount},
    {ldl::optInitialRestart, &SparseLdl::initialRestart, 1, anyCount},
    {ldl::optMaxRestart, &SparseLdl::maxRestart, 1, anyCount},
    {ldl::optOrthogonalization, &SparseLdl::orthogonalization, 0, 2},
    {ldl::optSchedulingMode, &SparseLdl::schedulingMode, 0, 1},
    {ldl::optEigenCount, &SparseLdl::eigenCount, 1, anyCount},
};

bool isOptionNumber(int option) {
    return option >= 0 && option <= lastOption;
}

void setDefaults(SparseLdl& object, MemoryPool* pool, std::uint64_t userContext) {
    object = SparseLdl{};
    object.pool = pool;
    object.userContext = userContext;
    object.matrixClass = 1;
    object.orderingMethod = -1;
    object.numThreads = 1;
    object.reservedCount = 1;
    object.krylovRefinement = 1;
    object.maxRefineIter = 64;
    object.initialRestart = 4;
    object.maxRestart = 16;
    object.refineTolerance = object.parameters.refineTolerance;
    object.schedulingMode = 1;
    object.eigenMaxIter = -1;
    object.eigenEnd = 'S';
    object.eigenCount = 1;
}

}  // namespace

SparseLdl* sparseLdlCreate(MemoryPool* pool, std::uint64_t userContext, int* outCode) {
    PoolObject<SparseLdl> object;
    if (pool == nullptr) {
        *outCode = ldl::badOption;
    } else if (!isOk(object.make(pool))) {
        *outCode = ldl::noMemory;
    } else {
        setDefaults(*object, pool, userContext);
        *outCode = ldl::ok;
    }
    return object.release();
}

void sparseLdlFree(SparseLdl** handle) {
    if (handle == nullptr || *handle == nullptr) return;
    PoolObject<SparseLdl> object;
    object.adopt((*handle)->pool, *handle);
    *handle = nullptr;
}

int sparseLdlSetInt(SparseLdl* handle, int option, std::int32_t value) {
    if (!isOptionNumber(option)) return ldl::badOption;
    if (option == ldl::optEigenMaxIter) {
        if (value == 0) return ldl::badOption;
        handle->eigenMaxIter = value;
        return ldl::ok;
    }
    for (const IntOption& entry : intOptions) {
        if (entry.option != option) continue;
        if (value < entry.lowest || value > entry.highest) return ldl::badOption;
        handle->*entry.field = value;
    }
    return ldl::ok;
}

int sparseLdlSetChar(SparseLdl* handle, int option, char value) {
    if (!isOptionNumber(option)) return ldl::badOption;
    if (option != ldl::optEigenEnd) return ldl::ok;
    if (value != 'S' && value != 'L') return ldl::badOption;
    handle->eigenEnd = value;
    return ldl::ok;
}

void sparseLdlFreeFactors(SparseLdl* handle, LdlSymbolic** symbolic, LdlNumeric** numeric) {
    if (symbolic != nullptr && numeric != nullptr && *symbolic != nullptr && *numeric != nullptr)
        endRunningTeam(**symbolic, **numeric);
    PoolObject<LdlSymbolic> ownedSymbolic;
    PoolObject<LdlNumeric> ownedNumeric;
    if (symbolic != nullptr) ownedSymbolic.adopt(handle->pool, *symbolic);
    if (numeric != nullptr) ownedNumeric.adopt(handle->pool, *numeric);
    if (ownedNumeric) closeLocks(ownedNumeric->team);
}

}  // namespace ovrelin
