// The sparse symmetric solver: P A P' = L D L' with 1x1 and 2x2 pivots, for symmetric indefinite
// matrices. Verbs, always in this order: create the object and set options; analyse (ordering,
// elimination tree, supernodes, storage); factor, once per set of values; solve, once per
// right-hand side. Factors are freed apart from the object, so that a new pattern can reuse the
// options.
//
// Input matrices are symmetric of order n in compressed columns, zero-based, BOTH triangles present
// (each off-diagonal entry stands twice); row indices in a column need no order.
#pragma once

#include <cstdint>

#include "frame/parameters/sparse_parameters.hpp"
#include "frame/pool.hpp"
#include "sparse/direct_records.hpp"
#include "sparse/thin_records.hpp"
#include "sparse/tile_records.hpp"

namespace ovrelin {

/// Return codes of the library level.
namespace ldl {
inline constexpr int ok = 0;
inline constexpr int noMemory = 1;  // the pool refused an allocation
inline constexpr int mismatch = 2;  // an internal count did not match; an unsymmetric pattern
inline constexpr int tooLarge = 4;  // the factor's size estimate is beyond 64 bits
inline constexpr int noMatching = 5;
inline constexpr int refined = 6;     // solve: the refinement reached refineTolerance
inline constexpr int notRefined = 7;  // solve: it stopped above the tolerance
inline constexpr int overflow =
    8;  // solve: a sweep produced a value beyond the overflow limit, or a NaN
inline constexpr int badOption = 9;
inline constexpr int eigenLimit = 12;
inline constexpr int stopped = 13;  // the host's stop flag was seen

/// Values of orderingMethod after analysis.
inline constexpr int methodMinDegree = 0;
inline constexpr int methodMinFill = 1;
inline constexpr int methodDissection = 2;
inline constexpr int methodNatural = 3;

/// Values of LdlSymbolic.state.
inline constexpr int stateIdle = -1;
inline constexpr int stateAnalysis = 0;
inline constexpr int stateNumeric = 1;
inline constexpr int stateSolve = 2;

/// Option numbers of sparseLdlSetInt and sparseLdlSetChar.
enum Option : int {
    optNumThreads = 0,
    optMatrixClass = 1,
    optOrderingPostPass = 2,
    optMatchingMode = 3,
    optBlockMatchingMode = 4,
    optFirstBlockSize = 5,
    optReservedCount = 6,
    optOrderingMethod = 7,
    optMatchingScale = 8,
    optPivotStatistics = 9,
    optReservedFlag = 13,
    optKrylovRefinement = 14,
    optMaxRefineIter = 15,
    optInitialRestart = 16,
    optMaxRestart = 17,
    optOrthogonalization = 18,
    optSchedulingMode = 21,
    optEigenMaxIter = 22,
    optEigenEnd = 23,
    optEigenCount = 24,
};
}  // namespace ldl

/// Options and statistics. The pool serves every allocation of the solver.
struct SparseLdl {
    MemoryPool* pool;
    std::uint64_t userContext;
    std::int32_t matrixClass;
    std::int32_t orderingMethod;  // after analysis: the method that ran
    std::int32_t numThreads;      // after analysis: the number decided on
    std::int32_t orderingPostPass;
    std::int32_t reservedCount;
    std::int32_t matchingMode;
    std::int32_t blockMatchingMode;
    std::int32_t firstBlockSize;
    std::int32_t matchingScale;
    std::int32_t pivotStatistics;
    std::int32_t numPositivePivots;  // out, when pivotStatistics
    std::int32_t numNegativePivots;  // out
    std::int32_t krylovRefinement;
    double pivotRatio;  // out
    std::int32_t reservedFlag;
    std::int32_t maxRefineIter;
    std::int32_t initialRestart;
    std::int32_t maxRestart;
    std::int32_t orthogonalization;
    double refineTolerance;
    double backwardError;  // out
    std::int32_t schedulingMode;
    std::int32_t eigenMaxIter;
    char eigenEnd;
    std::int32_t eigenCount;
    std::int64_t eigenProducts;  // out: products of the last eigenvalue computation
    SparseParameters parameters;
};

/// Entries behind the last one of the factor and of the row lists, which whole vectors may read.
inline constexpr std::int32_t factorReadAhead = 8;

/// The block columns of the factor: what the numeric stage and the sweeps work on, one after the
/// other. Block b has the columns firstCol[b] .. firstCol[b+1]-1 (k of them) and the rows
/// rowList[rowBegin[b] .. rowEnd[b]-1] (m of them); its m x k values, column-major with leading
/// dimension m, begin at valueBegin[b]. A view; the arrays are the analysis' own.
struct BlockColumns {
    std::int32_t count;
    const std::int32_t* firstCol;    // [count + 1]
    const std::int64_t* rowBegin;    // [count]
    const std::int64_t* rowEnd;      // [count]
    const std::int64_t* valueBegin;  // [count]
    const std::int32_t* colToBlock;  // [n]
};

/// The analysis: pattern data, immutable once made, and the factor that the numeric stage fills.
///
/// Supernode s has the columns superFirstCol[s] .. superFirstCol[s+1]-1 (k of them) and the rows
/// rowList[rowBegin[s] .. rowBegin[s+1]-1] (m of them, ascending, the k own columns first). Its
/// block in factorValues starts at valueBegin[s], column-major, m x k with leading dimension m.
/// `blocks` shows the supernodes as block columns.
///
/// The strict lower part of the block holds L (unit diagonal not stored), the diagonal D; a 2x2
/// pivot in columns c, c+1 keeps its off-diagonal entry at (c+1, c). pivotIndex[j] is local to the
/// block column: a 1x1 pivot names the row >= 0 that was swapped with its column; both columns of a
/// 2x2 pivot hold the complement ~row of the row swapped with the second one. Interchanges are
/// interleaved with the columns of L: those of column c act on the columns from c on.
///
/// Example, n = 3, dense: numSuper 1, superFirstCol {0, 3}, rowBegin {0, 3}, rowList {0, 1, 2},
/// valueBegin {0, 9}; entry (r, c) of the block is factorValues[c * 3 + r].
struct LdlSymbolic {
    std::int32_t n;  // -1 after an analysis that failed
    std::int32_t numSuper;
    std::int32_t storageForm;
    std::int32_t state;
    std::int32_t parallelMode;  // 0: sequential engine
    std::int32_t tileSize;      // 0 when parallelMode is 0
    std::int32_t numThreads;
    std::int64_t numRowEntries;
    std::int64_t numFactorEntries;
    std::int32_t maxSuperCols;
    std::int64_t updateSize;   // doubles of the update matrix
    std::int64_t updateSize2;  // doubles of the D-scaled copy, behind it in updateWork
    std::int32_t numPerturbed;
    double pivotTolerance;
    double numLowerEntries;  // strictly lower entries of L before amalgamation
    double flopEstimate;     // sum of c(c-1) over the column counts c
    double supernodeOps;     // the same after amalgamation
    std::int32_t schedulingMode;
    std::int64_t numMatrixLower;  // entries of P A P' on or below the diagonal
    BlockColumns blocks;
    TilePlan tiles;                         // empty when parallelMode is 0
    PoolArray<std::int32_t> perm;           // [n] new to old
    PoolArray<std::int32_t> inversePerm;    // [n] old to new
    PoolArray<std::int32_t> superParent;    // [numSuper], -1 at a root
    PoolArray<std::int32_t> superFirstCol;  // [numSuper + 1]
    PoolArray<std::int32_t> colToSuper;     // [n]
    PoolArray<std::int32_t> pivotIndex;     // [n]
    PoolArray<std::int64_t> rowBegin;       // [numSuper + 1]
    PoolArray<std::int32_t> rowList;        // [numRowEntries + factorReadAhead]
    PoolArray<std::int32_t> parentPlace;    // [numRowEntries] place of rows below in the parent's
                                            // list
    PoolArray<std::int64_t> valueBegin;     // [numSuper + 1]
    PoolArray<double> factorValues;         // [numFactorEntries + factorReadAhead]
    DirectUpdates direct;                   // places of small updates in a compact factor
    ThinColumns thin;                       // what the sweeps read instead of mostly empty blocks
    PoolArray<double> updateWork;           // [updateSize + updateSize2]
    PoolArray<std::int32_t> relativeIndex;  // [n]
    PoolArray<std::int32_t> touched;        // [blocks.count]
};

/// Scratch of the numeric stage and of the solves, all of it allocated by the analysis.
struct LdlNumeric {
    PoolArray<std::int64_t> lowerBegin;   // [n + 1] P A P' on or below the diagonal, by columns
    PoolArray<std::int32_t> lowerRow;     // [numMatrixLower]
    PoolArray<double> lowerValue;         // [numMatrixLower]
    PoolArray<std::int32_t> lowerSource;  // [numMatrixLower] its entry of the given matrix
    PoolArray<std::int32_t> lowerPlace;   // [numMatrixLower] its row in the block column, or its
                                          // place in the block's values where direct.isCompact()
    PoolArray<std::int32_t> keptBegin;    // [n + 1] the given pattern that these belong to
    PoolArray<std::int32_t> keptRow;      // [entries of the analysed matrix]
    bool patternKept;
    PoolArray<double> solveWork;  // [solveWorkSize]
    std::int32_t panelWidth;      // 96 in the sequential form
    TileTeam team;                // empty when parallelMode is 0
};

/// Null on failure, with outCode noMemory, or badOption for a null pool.
SparseLdl* sparseLdlCreate(MemoryPool* pool, std::uint64_t userContext, int* outCode);
/// Gives the record back to its own pool and clears the handle.
void sparseLdlFree(SparseLdl** handle);
[[nodiscard]] int sparseLdlSetInt(SparseLdl* handle, int option, std::int32_t value);
[[nodiscard]] int sparseLdlSetChar(SparseLdl* handle, int option, char value);

/// Analyses the pattern. The two records are stored as soon as they exist, also on failure: the
/// caller frees them; a slot that got none is null. matValue is read only by matching. Returns ok,
/// noMemory, mismatch, tooLarge, noMatching or stopped.
[[nodiscard]] int sparseLdlSymbolic(std::int32_t n, const std::int32_t* colBegin,
                                    const std::int32_t* rowIndex, const double* matValue,
                                    SparseLdl* handle, LdlSymbolic** outSymbolic,
                                    LdlNumeric** outNumeric);

/// Factors. reuse 0: the matrix as analysed; otherwise an already permuted lower triangle.
/// Returns ok, noMemory, mismatch or stopped.
[[nodiscard]] int sparseLdlNumeric(int reuse, std::int32_t n, const std::int32_t* colBegin,
                                   const std::int32_t* rowIndex, const double* matValue,
                                   SparseLdl* handle, LdlSymbolic* symbolic, LdlNumeric* numeric);

/// Solves A x = b and refines; `vector` [n] holds b on entry and x on return, in original order.
/// Returns ok, noMemory, refined, notRefined, overflow, or mismatch without an analysis.
[[nodiscard]] int sparseLdlSolve(int permutedFlag, const std::int32_t* colBegin,
                                 const std::int32_t* rowIndex, const double* matValue,
                                 double* vector, SparseLdl* handle, LdlSymbolic* symbolic,
                                 LdlNumeric* numeric);

/// Releases every array of both records and the records; both pointers are left for the caller to
/// clear. Null-safe in each argument but the handle.
void sparseLdlFreeFactors(SparseLdl* handle, LdlSymbolic** symbolic, LdlNumeric** numeric);

}  // namespace ovrelin
