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
inline constexpr int noMemory = 1;     // the pool refused an allocation
inline constexpr int mismatch = 2;     // an internal count did not match; an unsymmetric pattern
inline constexpr int tooLarge = 4;     // the factor's size estimate is beyond 64 bits
inline constexpr int noMatching = 5;   // every assignment of rows to columns meets a zero
inline constexpr int refined = 6;      // solve: the refinement reached refineTolerance
inline constexpr int notRefined = 7;   // solve: it stopped above the tolerance
inline constexpr int overflow = 8;     // solve: a sweep met a value beyond the limit, or a NaN
inline constexpr int badOption = 9;    // an option's number or value, or no pool
inline constexpr int eigenLimit = 12;  // eigenvalue: the iterations ran out
inline constexpr int stopped = 13;     // the host's stop flag was seen

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

/// Options, with their range and default, and what the stages report back. Stages write to the
/// options marked in-out: an object that serves several patterns keeps what the first one made of
/// them until they are set anew.
struct SparseLdl {
    MemoryPool* pool;                // serves every allocation of the solver
    std::uint64_t userContext;       // stored, never read
    std::int32_t matrixClass;        // 0..5 (1): the kind of matrix that the tables were tuned on
    std::int32_t orderingMethod;     // -1..4 (-1) in-out: -1 automatic, 0 minimum degree, 1 minimum
                                     // fill, 2..4 dissection; after analysis the method that ran
    std::int32_t numThreads;         // 1.. (1) in-out: wanted; after analysis the number decided on
    std::int32_t orderingPostPass;   // 0, 1 (0): order the pieces of dissection in a second pass
    std::int32_t reservedCount;      // 1.. (1), read by nothing
    std::int32_t matchingMode;       // 0, 1 (0): keep weighted pairs of columns together
    std::int32_t blockMatchingMode;  // 0, 1 (0): only in the trailing block; beats matchingMode
    std::int32_t firstBlockSize;     // 0.. (0): columns of the leading block
    std::int32_t matchingScale;      // 0, 1 (0): choose the pairs by the scaled matrix
    std::int32_t pivotStatistics;    // 0, 1 (0): have the three below filled by the factorisation
    std::int32_t numPositivePivots;  // out: eigenvalues of D above 0
    std::int32_t numNegativePivots;  // out: the others
    std::int32_t krylovRefinement;   // 0, 1 (1): refine by GMRES, not by plain corrections
    double pivotRatio;               // out: smallest over largest absolute pivot
    std::int32_t reservedFlag;       // 0, 1 (0), read by nothing
    std::int32_t maxRefineIter;      // 0.. (64) in-out: steps of refinement; after a solve the
                                     // limit that applied, at most n
    std::int32_t initialRestart;     // 1.. (4): basis vectors of the first cycle of GMRES
    std::int32_t maxRestart;         // 1.. (16): and of the longest one
    std::int32_t orthogonalization;  // 0..2 (0): Gram-Schmidt modified, the same twice, classical
                                     // twice
    double refineTolerance;          // backward error at which refinement ends; no option sets it
    double backwardError;            // out: the last one that a refinement reached
    std::int32_t schedulingMode;     // 0, 1 (1): engine on tiles, 0 dynamic, 1 static
    std::int32_t eigenMaxIter;       // not 0 (-1): above 0 a limit of iterations
    char eigenEnd;                   // 'S', 'L' ('S'): smallest or largest end of the spectrum
    std::int32_t eigenCount;         // 1.. (1): eigenvalues wanted
    std::int64_t eigenProducts;      // out: products of the last eigenvalue computation
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
    std::int32_t storageForm;  // 0 where the supernodes were merged once more, for tiles
    std::int32_t state;
    std::int32_t parallelMode;  // 0: sequential engine
    std::int32_t tileSize;      // 0 when parallelMode is 0
    std::int32_t numThreads;
    std::int64_t numRowEntries;
    std::int64_t numFactorEntries;
    std::int32_t maxSuperCols;
    std::int64_t updateSize;   // doubles of the update matrix
    std::int64_t updateSize2;  // doubles of the D-scaled copy, behind it in updateWork
    bool hasFactors;           // the last factorisation succeeded
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
    PoolArray<double> updateWork;           // [updateSize + updateSize2], on tiles [tiles.workSize]
                                            // for each thread
    PoolArray<std::int32_t> relativeIndex;  // [n], on tiles [2 n] for each thread
    PoolArray<std::int32_t> touched;        // [blocks.count]
};

/// Scratch of the numeric stage and of the solves, all of it allocated by the analysis.
struct LdlNumeric {
    PoolArray<std::int64_t> lowerBegin;   // [n + 1] P A P' on or below the diagonal, by columns
    PoolArray<std::int32_t> lowerRow;     // [numMatrixLower]
    PoolArray<double> lowerValue;         // [numMatrixLower] on tiles, those of the top only
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

/// An object with the default options. Null on failure, with outCode noMemory, or badOption for a
/// null pool.
SparseLdl* sparseLdlCreate(MemoryPool* pool, std::uint64_t userContext, int* outCode);
/// Gives the record back to its own pool and clears the handle. Null-safe.
void sparseLdlFree(SparseLdl** handle);
/// Sets an integer option, eigenEnd by the second. Returns ok, also for a number up to the last one
/// that has no meaning, and then stores nothing; badOption for any other number, and for a value
/// out of the option's range.
[[nodiscard]] int sparseLdlSetInt(SparseLdl* handle, int option, std::int32_t value);
[[nodiscard]] int sparseLdlSetChar(SparseLdl* handle, int option, char value);

/// Analyses the pattern of a matrix of order n: colBegin [n + 1], rowIndex and matValue
/// [colBegin[n]]. The two records are stored as soon as they exist, also on failure: the caller
/// frees them; a slot that got none is null. matValue is needed by matching and may be null
/// otherwise; dissection avoids beginning where its diagonal is empty. Returns ok, noMemory,
/// mismatch (a pattern that is not symmetric or not within bounds), tooLarge, noMatching or
/// stopped.
[[nodiscard]] int sparseLdlSymbolic(std::int32_t n, const std::int32_t* colBegin,
                                    const std::int32_t* rowIndex, const double* matValue,
                                    SparseLdl* handle, LdlSymbolic** outSymbolic,
                                    LdlNumeric** outNumeric);

/// Factors. reuse 0: the matrix as analysed, with new values; otherwise P A P', of which only the
/// lower triangle is read. Row indices must lie within bounds. Pivots that are too small are
/// replaced and counted in symbolic->numPerturbed; no values make it fail. Returns ok, noMemory (no
/// thread to be had, or no room for tasks), mismatch (another pattern, or the host's wait service
/// failed) or stopped; after a failure there are no factors.
[[nodiscard]] int sparseLdlNumeric(int reuse, std::int32_t n, const std::int32_t* colBegin,
                                   const std::int32_t* rowIndex, const double* matValue,
                                   SparseLdl* handle, LdlSymbolic* symbolic, LdlNumeric* numeric);

/// Solves A x = b and refines by the given matrix, the one that was factored; `vector` [n] holds b
/// on entry and x on return, in original order with permutedFlag 0; otherwise matrix and vector are
/// in the order of the factors. After noMemory and overflow it holds nothing of use.
/// Returns ok, noMemory, refined, notRefined, overflow, or mismatch where there are no factors:
/// before the first factorisation, and when the last one failed.
[[nodiscard]] int sparseLdlSolve(int permutedFlag, const std::int32_t* colBegin,
                                 const std::int32_t* rowIndex, const double* matValue,
                                 double* vector, SparseLdl* handle, LdlSymbolic* symbolic,
                                 LdlNumeric* numeric);

/// Releases every array of both records and the records; both pointers are left for the caller to
/// clear. Null-safe in each argument but the handle.
void sparseLdlFreeFactors(SparseLdl* handle, LdlSymbolic** symbolic, LdlNumeric** numeric);

}  // namespace ovrelin
