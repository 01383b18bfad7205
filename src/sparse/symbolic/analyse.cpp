// sparseLdlSymbolic: from a pattern to everything that the numeric stage needs, its memory
// included.
#include <algorithm>
#include <limits>

#include "frame/host_services.hpp"
#include "sparse/solve/sweeps.hpp"
#include "sparse/sparse_ldl.hpp"
#include "sparse/state_guard.hpp"
#include "sparse/symbolic/column_counts.hpp"
#include "sparse/symbolic/direct_plan.hpp"
#include "sparse/symbolic/elimination_tree.hpp"
#include "sparse/symbolic/make_array.hpp"
#include "sparse/symbolic/order_columns.hpp"
#include "sparse/symbolic/reach.hpp"
#include "sparse/symbolic/row_structure.hpp"
#include "sparse/symbolic/second_amalgamation.hpp"
#include "sparse/symbolic/storage.hpp"
#include "sparse/symbolic/supernodes.hpp"
#include "sparse/symbolic/thin_choice.hpp"
#include "sparse/symbolic/thread_decision.hpp"
#include "sparse/symbolic/tile_layout.hpp"
#include "sparse/symbolic/tile_plan.hpp"

namespace ovrelin {
namespace {

// The symbolic phases keep these until the partition is final.
struct TreeWork {
    std::int32_t* parent;  // [n]
    std::int32_t* count;   // [n]
    SupernodePartition partition;
};

TreeWork takeTreeWork(std::int32_t n, Scratch& scratch) {
    TreeWork work{};
    work.parent = scratch.take<std::int32_t>(n);
    work.count = scratch.take<std::int32_t>(n);
    work.partition.firstCol = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    work.partition.numRows = scratch.take<std::int32_t>(n);
    return work;
}

std::size_t symbolicBytes(std::int32_t n) {
    const std::size_t kept = 3 * Scratch::bytesFor<std::int32_t>(n) +
                             Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1);
    // The postorder itself stands beside the scratch of the routines around it.
    const std::size_t tree = Scratch::bytesFor<std::int32_t>(n) +
                             std::max(eliminationTreeScratchBytes(n), postorderScratchBytes(n));
    return kept + std::max({tree, columnCountsScratchBytes(n), fundamentalScratchBytes(n),
                            amalgamateScratchBytes(n), secondAmalgamationScratchBytes(n),
                            rowStructureScratchBytes(n)});
}

PermutedPattern permuted(const SparsePattern& pattern, const LdlSymbolic& symbolic) {
    return {pattern, symbolic.perm.data(), symbolic.inversePerm.data()};
}

void buildTree(const SparsePattern& pattern, LdlSymbolic& symbolic, TreeWork& work,
               Scratch scratch) {
    const std::int32_t n = pattern.n;
    std::int32_t* postorder = scratch.take<std::int32_t>(n);
    eliminationTree(permuted(pattern, symbolic), work.parent, scratch);
    postorderTree(n, work.parent, postorder, scratch);
    applyPostorder(n, postorder, work.parent, symbolic.perm.data(), symbolic.inversePerm.data(),
                   scratch);
}

int countColumns(const SparsePattern& pattern, LdlSymbolic& symbolic, LdlNumeric& numeric,
                 TreeWork& work, Scratch scratch) {
    const PermutedPattern matrix = permuted(pattern, symbolic);
    const TriangleCounts triangles =
        columnCounts(matrix, work.parent, work.count, numeric.lowerBegin.data(), scratch);
    if (triangles.upper != triangles.lower) return ldl::mismatch;
    symbolic.numMatrixLower = triangles.lower + triangles.diagonal;
    const CountSums sums = sumCounts(pattern.n, work.count);
    symbolic.numLowerEntries = sums.lowerEntries;
    symbolic.flopEstimate = sums.flops;
    return exceedsAddressing(sums.lowerEntries, 1.0) ? ldl::tooLarge : ldl::ok;
}

// Decides how many threads factor the matrix, and on what storage.
void decideEngine(SparseLdl& handle, LdlSymbolic& symbolic) {
    const SparseParameters& parameters = handle.parameters;
    ThreadDecision decision = decideThreads({symbolic.supernodeOps, symbolic.numLowerEntries,
                                             symbolic.n, handle.firstBlockSize, handle.matrixClass,
                                             handle.schedulingMode, handle.numThreads});
    if (parameters.forcedThreads > 0)
        decision = {true, std::min(parameters.forcedThreads, sparsePlanning.mostThreads)};
    symbolic.parallelMode = decision.onTiles ? 1 : 0;
    symbolic.storageForm = decision.onTiles ? 0 : 1;
    symbolic.schedulingMode = handle.schedulingMode;
    symbolic.numThreads = decision.numThreads;
    handle.numThreads = decision.numThreads;
}

// Merging once more pays where the first amalgamation found little to merge.
void mergeForTiles(const SparseLdl& handle, std::int32_t numFundamental, LdlSymbolic& symbolic,
                   TreeWork& work, Scratch scratch) {
    SupernodePartition& partition = work.partition;
    const bool merged = partition.numSuper <= sparsePlanning.wellAmalgamated * numFundamental;
    if (merged && handle.matrixClass != sparsePlanning.gridClass) {
        symbolic.storageForm = 1;
        return;
    }
    mergeLeafRuns(symbolic.n, work.parent, partition, scratch);
    symbolic.maxSuperCols = widestSupernode(partition);
    symbolic.supernodeOps = countSupernodeOps(partition);
}

void chooseTiles(const SparseLdl& handle, LdlSymbolic& symbolic) {
    const double density =
        symbolic.numLowerEntries > 0 ? symbolic.flopEstimate / symbolic.numLowerEntries : 0.0;
    const std::int32_t forced = handle.parameters.forcedTileSize;
    symbolic.tileSize = forced > 0 ? forced
                                   : chooseTileSize(symbolic.numThreads, symbolic.schedulingMode,
                                                    symbolic.maxSuperCols, density);
}

int buildSupernodes(SparseLdl& handle, LdlSymbolic& symbolic, TreeWork& work, Scratch scratch) {
    const std::int32_t n = symbolic.n;
    SupernodePartition& partition = work.partition;
    findFundamental(n, work.parent, work.count, partition, scratch);
    const std::int32_t numFundamental = partition.numSuper;
    amalgamate(n, work.parent, handle.parameters, partition, scratch);
    symbolic.maxSuperCols = widestSupernode(partition);
    symbolic.supernodeOps = countSupernodeOps(partition);
    decideEngine(handle, symbolic);
    if (symbolic.parallelMode != 0) {
        mergeForTiles(handle, numFundamental, symbolic, work, scratch);
        chooseTiles(handle, symbolic);
    }
    symbolic.numSuper = partition.numSuper;
    LDL_TRY(makeArray(symbolic.superFirstCol, handle.pool, std::int64_t{partition.numSuper} + 1));
    LDL_TRY(makeArray(symbolic.superParent, handle.pool, partition.numSuper));
    std::copy_n(partition.firstCol, std::int64_t{partition.numSuper} + 1,
                symbolic.superFirstCol.data());
    linkSupernodes(partition, work.parent, symbolic.colToSuper.data(), symbolic.superParent.data());
    return ldl::ok;
}

// One block column a supernode.
void showSupernodesAsBlocks(LdlSymbolic& symbolic) {
    const std::int64_t* rowBegin = symbolic.rowBegin.data();
    symbolic.blocks = {
        symbolic.numSuper, symbolic.superFirstCol.data(), rowBegin,
        rowBegin + 1,      symbolic.valueBegin.data(),    symbolic.colToSuper.data()};
}

// A factor that the caches hold. What is beyond them has few blocks that are mostly zeros or have
// few rows below, and copies and lists would be felt in its memory; what has tiles is beyond them.
bool isCompact(const LdlSymbolic& symbolic) {
    constexpr std::int64_t mostEntries = 1000000;
    return symbolic.parallelMode == 0 && symbolic.numFactorEntries <= mostEntries;
}

int chooseThin(const PermutedPattern& matrix, MemoryPool* pool, const TreeWork& work,
               LdlSymbolic& symbolic) {
    ThinColumns& thin = symbolic.thin;
    LDL_TRY(makeArray(thin.candidate, pool, symbolic.numSuper));
    thin.capacity = static_cast<std::int32_t>(
        chooseThinBlocks(work.partition, work.count, thin.candidate.data()));
    if (thin.capacity == 0) return ldl::ok;
    LDL_TRY(makeArray(thin.reach, pool, symbolic.n));
    findReach(matrix, work.parent, symbolic.blocks, symbolic.rowList.data(), thin.reach.data());
    return ldl::ok;
}

int allocateThin(MemoryPool* pool, LdlSymbolic& symbolic) {
    ThinColumns& thin = symbolic.thin;
    if (thin.capacity == 0) return ldl::ok;
    LDL_TRY(makeArray(thin.runEnd, pool, std::int64_t{symbolic.blocks.count} + 1));
    LDL_TRY(makeArray(thin.column, pool, std::int64_t{symbolic.n} + 1));
    LDL_TRY(makeArray(thin.row, pool, thin.capacity));
    return makeArray(thin.value, pool, thin.capacity);
}

int buildStorage(const SparsePattern& pattern, SparseLdl& handle, LdlSymbolic& symbolic,
                 const SupernodePartition& partition, Scratch scratch) {
    const std::int64_t slots = std::int64_t{partition.numSuper} + 1;
    LDL_TRY(makeArray(symbolic.rowBegin, handle.pool, slots));
    LDL_TRY(makeArray(symbolic.valueBegin, handle.pool, slots));
    if (symbolic.parallelMode != 0) {
        LDL_TRY(layOutTiles(partition, handle.pool, symbolic));
    } else {
        layOutBlocks(partition, symbolic.rowBegin.data(), symbolic.valueBegin.data());
        showSupernodesAsBlocks(symbolic);
    }
    symbolic.numRowEntries = symbolic.rowBegin[partition.numSuper];
    symbolic.numFactorEntries = symbolic.valueBegin[partition.numSuper];
    if (exceedsAddressing(static_cast<double>(symbolic.numFactorEntries), sizeof(double)) ||
        exceedsAddressing(static_cast<double>(symbolic.numRowEntries), sizeof(std::int32_t))) {
        return ldl::tooLarge;
    }
    const UpdateSizes sizes =
        sequentialUpdateSizes(partition, handle.parameters.boundedPanelWidth());
    symbolic.updateSize = sizes.update;
    symbolic.updateSize2 = sizes.scaledCopy;
    LDL_TRY(makeArray(symbolic.rowList, handle.pool, symbolic.numRowEntries + factorReadAhead));
    std::fill_n(symbolic.rowList.data() + symbolic.numRowEntries, factorReadAhead, 0);
    const SupernodeTree tree{partition.numSuper, symbolic.superFirstCol.data(),
                             symbolic.colToSuper.data(), symbolic.superParent.data(),
                             symbolic.rowBegin.data()};
    LDL_TRY(makeArray(symbolic.parentPlace, handle.pool, symbolic.numRowEntries));
    return fillRowStructure(permuted(pattern, symbolic), tree, symbolic.rowList.data(),
                            symbolic.parentPlace.data(), scratch);
}

int allocateColumnArrays(std::int32_t n, MemoryPool* pool, LdlSymbolic& symbolic,
                         LdlNumeric& numeric) {
    LDL_TRY(makeArray(symbolic.perm, pool, n));
    LDL_TRY(makeArray(symbolic.inversePerm, pool, n));
    LDL_TRY(makeArray(symbolic.colToSuper, pool, n));
    LDL_TRY(makeArray(symbolic.pivotIndex, pool, n));
    return makeArray(numeric.lowerBegin, pool, std::int64_t{n} + 1);
}

// All that the numeric stage and the solves write to, so that they need not allocate.
int allocateNumeric(const SparseLdl& handle, std::int64_t numEntries, LdlSymbolic& symbolic,
                    LdlNumeric& numeric) {
    MemoryPool* pool = handle.pool;
    numeric.panelWidth = handle.parameters.boundedPanelWidth();
    LDL_TRY(makeArray(symbolic.factorValues, pool, symbolic.numFactorEntries + factorReadAhead));
    if (symbolic.parallelMode != 0) {
        numeric.panelWidth = symbolic.tileSize;
        LDL_TRY(allocateTeam(pool, symbolic, numeric));
    } else {
        LDL_TRY(makeArray(symbolic.updateWork, pool, symbolic.updateSize + symbolic.updateSize2));
        LDL_TRY(makeArray(symbolic.relativeIndex, pool, symbolic.n));
    }
    LDL_TRY(allocateThin(pool, symbolic));
    LDL_TRY(makeArray(symbolic.touched, pool, symbolic.blocks.count));
    LDL_TRY(makeArray(numeric.lowerRow, pool, symbolic.numMatrixLower));
    LDL_TRY(makeArray(numeric.lowerValue, pool, symbolic.numMatrixLower));
    LDL_TRY(makeArray(numeric.lowerSource, pool, symbolic.numMatrixLower));
    LDL_TRY(makeArray(numeric.lowerPlace, pool, symbolic.numMatrixLower));
    LDL_TRY(makeArray(numeric.keptBegin, pool, std::int64_t{symbolic.n} + 1));
    LDL_TRY(makeArray(numeric.keptRow, pool, numEntries));
    return makeArray(numeric.solveWork, pool, solveWorkSize(symbolic));
}

// Orderings address their work area by 32 bits.
bool fitsIndices(std::int32_t n, std::int32_t numEntries) {
    return std::int64_t{n} + numEntries <= std::numeric_limits<std::int32_t>::max();
}

// Everything but the memory of the numeric stage; the scratch goes back before that is asked for.
int analysePattern(const SparsePattern& pattern, const double* matValue, SparseLdl& handle,
                   LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const std::int32_t n = pattern.n;
    const std::size_t bytes =
        std::max(orderColumnsScratchBytes(n, pattern.colBegin[n]), symbolicBytes(n));
    PoolArray<std::byte> block;
    LDL_TRY(makeArray(block, handle.pool, static_cast<std::int64_t>(bytes)));
    Scratch scratch(block.data(), bytes);
    LDL_TRY(orderColumns(pattern, matValue, handle,
                         {symbolic.perm.data(), symbolic.inversePerm.data()}, scratch));
    TreeWork work = takeTreeWork(n, scratch);
    buildTree(pattern, symbolic, work, scratch);
    LDL_TRY(countColumns(pattern, symbolic, numeric, work, scratch));
    LDL_TRY(buildSupernodes(handle, symbolic, work, scratch));
    LDL_TRY(buildStorage(pattern, handle, symbolic, work.partition, scratch));
    if (isCompact(symbolic)) {
        LDL_TRY(chooseThin(permuted(pattern, symbolic), handle.pool, work, symbolic));
        LDL_TRY(planDirectUpdates(handle.pool, symbolic));
    }
    return symbolic.parallelMode != 0 ? planTiles(handle.parameters, handle.pool, symbolic)
                                      : ldl::ok;
}

int analyse(const SparsePattern& pattern, const double* matValue, SparseLdl& handle,
            LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const std::int32_t n = pattern.n;
    if (n < 0 || pattern.colBegin[n] < 0) return ldl::mismatch;
    if (!fitsIndices(n, pattern.colBegin[n])) return ldl::tooLarge;
    symbolic.n = n;
    LDL_TRY(allocateColumnArrays(n, handle.pool, symbolic, numeric));
    LDL_TRY(analysePattern(pattern, matValue, handle, symbolic, numeric));
    LDL_TRY(allocateNumeric(handle, pattern.colBegin[n] - pattern.colBegin[0], symbolic, numeric));
    // Dissection polls the flag as it goes; the rest is short.
    return stopRequested(currentContext()) ? ldl::stopped : ldl::ok;
}

}  // namespace

int sparseLdlSymbolic(std::int32_t n, const std::int32_t* colBegin, const std::int32_t* rowIndex,
                      const double* matValue, SparseLdl* handle, LdlSymbolic** outSymbolic,
                      LdlNumeric** outNumeric) {
    *outSymbolic = nullptr;
    *outNumeric = nullptr;
    PoolObject<LdlSymbolic> symbolic;
    PoolObject<LdlNumeric> numeric;
    if (!isOk(symbolic.make(handle->pool))) return ldl::noMemory;
    symbolic->n = -1;
    *outSymbolic = symbolic.release();
    const StateGuard state(**outSymbolic, ldl::stateAnalysis);
    if (!isOk(numeric.make(handle->pool))) return ldl::noMemory;
    *outNumeric = numeric.release();
    const int code =
        analyse({n, colBegin, rowIndex}, matValue, *handle, **outSymbolic, **outNumeric);
    // The other stages then refuse it, whatever matrix they are given.
    if (code != ldl::ok) (*outSymbolic)->n = -1;
    return code;
}

}  // namespace ovrelin
