// The presolver's record: working copies of the model in both orders, what was removed, and the
// maps by which a solution of the small problem finds its way back.
//
// The caller's model is never rewritten. An element that leaves the matrix moves behind the live
// part of its list (removeElement), and that is the only trace of a removal: there is no stack of
// steps to undo. The way back needs the maps, lbMap and ubMap, the working bounds and the caller's
// model.
//
//   rows 0..2, row 1 removed, row 2 defines the upper bound of column 0:
//     rowMap = { 0, ROWMAP_FREE, 1 }   colMap = { 0, 1 }   lbMap = { -1, -1 }   ubMap = { 2, -1 }
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "frame/solver_records.hpp"

namespace ovrelin {

/// Model.typeModel of a square symmetric system of equations in a model's clothes.
inline constexpr int32_t modelTypeEquations = 10;

/// SolveOptions.startMode from which a point exists already and presolve runs on it in mid-solve.
inline constexpr int32_t startModeResume = 4096;

/// How the rest of the solver is to see the result.
enum PreControl : int32_t {
    PRECONTROL_UNDECIDED = 0,
    PRECONTROL_NONE = 1,     // nothing learned: the caller's model
    PRECONTROL_BOUND = 2,    // the caller's model with lower and upper exchanged for tighter ones
    PRECONTROL_REDUCED = 3,  // a model of its own; the caller's is parked in inModel
};

enum PreRoute : int32_t {
    PREROUTE_NORMAL = 0,
    PREROUTE_SOLVED = 1,       // solved, nothing to undo
    PREROUTE_SOLVED_POST = 2,  // solved in the presolver's form; the way back is still to go
    PREROUTE_DIRECT = 3,       // free columns and equations only: one linear solve
    PREROUTE_FREECOL = 4,      // a marker: some column is free
};

/// rowMap: the index in the reduced model, or one of these.
enum RowMapState : int32_t {
    ROWMAP_FREE = -1,     // defines no bound; its dual starts from 0
    ROWMAP_FIXED = -2,    // closed the bounds of the columns that name it
    ROWMAP_LOWER = -3,    // a singleton that became one column's lower bound
    ROWMAP_UPPER = -4,    // ... upper bound
    ROWMAP_RANGE = -5,    // ... both bounds
    ROWMAP_EMPTY = -6,    // empty, or a forcing row whose columns were all closed before
    ROWMAP_POSTDET = -7,  // will compute one column after the solve
};

/// colMap: the index in the reduced model, or one of these.
enum ColMapState : int32_t {
    COLMAP_FIXED = -1,    // fixed at `lower`, moved into the right-hand side
    COLMAP_EMPTY = -2,    // stood in no row; its value is chosen on the way back
    COLMAP_POSTDET = -3,  // computed after the solve
};

/// One order of a sparse matrix with live lengths: list k holds its live elements at
/// begin[k] .. begin[k] + length[k] - 1, and behind them those removed from it, the last removed
/// first.
struct LiveLists {
    PoolArray<int32_t> begin;   // [lists + 1]
    PoolArray<int32_t> length;  // [lists]
    PoolArray<int32_t> index;   // [elements]
    PoolArray<double> value;    // [elements]

    [[nodiscard]] bool isSet() const { return begin.isSet(); }
    void reset();
};

/// A model that owns its arrays.
struct ReducedModel {
    Model model;
    PoolArray<int32_t> colBegin, colLength, rowIndex;
    PoolArray<double> matValue;
    PoolArray<int32_t> quadColBegin, quadColLength, quadRowIndex;
    PoolArray<double> quadDiag, quadMatValue;
    PoolArray<double> obj, lower, upper, solPrimal, reducedCost;
    PoolArray<double> rhs, range, solDual, rowActivity;
    PoolArray<char> rowSense;
};

/// Created zero-filled by whoever runs presolveModel. `columns`, `rows`, `quadColumns` (the strict
/// lower triangle by columns) and `quadRows` (its transpose) are the working matrix; the quadratic
/// lists exist only when the model has off-diagonal elements.
struct Presolver {
    int32_t typeModel;
    int32_t preControl;
    int32_t preRoute;
    int32_t numRemovedRow, numRemovedCol, numRemovedElement, numRemovedQuadElement;
    int32_t numChangeRange;  // range rows turned into one-sided rows
    Model* inModel;          // the caller's model while a reduced one stands in for it
    PoolObject<ReducedModel> reduced;
    LiveLists columns, rows, quadColumns, quadRows;
    PoolArray<char> rowSense;        // [numRow]
    PoolArray<double> rhs;           // [numRow]
    PoolArray<double> obj;           // [numCol]
    PoolArray<double> lower, upper;  // [numCol] absent bounds are -maxDouble and maxDouble
    double dropThreshold;            // largest magnitude dropped as noise; 0 in a model
    double quadDiagFloor;            // of the parameters, for the way back
    PoolArray<int32_t> rowMap, colMap;
    PoolArray<int32_t> lbMap, ubMap;  // [numCol] the row that defined the bound, or -1
    int32_t boundChanged;
    int32_t numPostdet;
    PoolArray<int32_t> spec;  // [numCol] post-determined columns, in the order of their removal
    PoolArray<int32_t> rowProcessed, colProcessed;  // 0: to be looked at in the next sweep
    int32_t changed;
    int32_t numPass, maxPass;
    int32_t infeasibleRow, infeasibleCol;  // the culprit of status 3 or 4, or -1
    int32_t doRowActivity, doSingletonRow;
    int32_t numRow, numCol;  // of the caller's model
    Model* boundModel;       // the caller's model while its bound arrays hold the tightened bounds
    PoolArray<std::uint8_t> relaxColBound;  // lent to the model that the solve uses,
    Model* relaxedModel;                    // which is this one
};

/// Allocates and fills the working copies from `model`; gaps in its column storage disappear.
/// outOfMemory leaves what was made in the record.
Status initPresolver(SolverInstance* instance, const Model& model, const SolveOptions& options,
                     Presolver& presolver);

/// Takes the element with index `minor` out of list `major`: it moves behind the live part, the
/// order of the live elements stays. An absent element is reported, and the last live one goes.
void removeElement(const SolverInstance* instance, int32_t minor, int32_t major, LiveLists& lists);

/// Renumbers the live rows and columns by the removals before them.
void assignReducedIndex(Presolver& presolver);

/// Drops what only the passes needed. obj, bounds, maps and spec stay for the way back, and the row
/// lists and rhs while post-determined columns need them.
void releasePresolverWork(Presolver& presolver);

/// Gives back to the caller's model what a solve that ended before the way back still holds of it
/// (its bounds, its flags), and frees the record with its reduced model. Null-safe.
void freePresolver(PoolObject<Presolver>& presolver);

/// Exchanges the bounds of `model` with the presolver's, element by element; called again, it
/// exchanges them back.
void exchangeBounds(Model& model, Presolver& presolver);

/// Callers may write senses in lower case; the working copy has them raised.
constexpr char upperCaseSense(char sense) {
    return sense >= 'a' && sense <= 'z' ? static_cast<char>(sense - 'a' + 'A') : sense;
}

/// Takes the relax flags back from the model that they were lent to.
void releaseRelaxFlags(Presolver& presolver);

}  // namespace ovrelin
