// The model that the iteration works on: a packed copy of the caller's without its free rows, with
// room for the slack columns of range rows, and the way back from its solution. The iteration may
// change everything in the copy; the caller's data stay as they are.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

struct WorkingModel {
    Model model;                // over the arrays below
    Model* inModel;             // the caller's model; null while no copy is alive
    PoolArray<int32_t> rowMap;  // [caller's numRow] index in `model`, or -1 for an 'N' row
    PoolArray<int32_t> colBegin, colLength, rowIndex;
    PoolArray<int32_t> quadColBegin, quadColLength, quadRowIndex;
    PoolArray<double> matValue, quadDiag, quadMatValue;
    PoolArray<double> obj, rhs, range, lower, upper;
    PoolArray<double> solPrimal, solDual, reducedCost, rowActivity;
    PoolArray<char> rowSense;
};

/// Builds the copy of `inModel`, counts its 'L' and 'R' rows into numLcont and numRange of
/// `transform`, and makes both solutions: `inSolution` on the caller's result arrays,
/// `workSolution` on the copy's. outOfMemory leaves partial arrays to the records' destructors.
Status makeWorkingModel(MemoryPool* pool, Model* inModel, TransformRecord& transform,
                        WorkingModel& working, IpmSolution& inSolution, IpmSolution& workSolution);

/// A solution on the model's own solPrimal and solDual: numColExtended entries in each array of
/// bounds and numRow in ineqnSlack, all zero.
Status allocSolution(MemoryPool* pool, int32_t numRow, int32_t numColExtended, double* solPrimal,
                     double* solDual, IpmSolution& solution);

/// Maps `workSolution` back: x, y (0 on 'N' rows), slacks and duals into the caller's model and
/// `inSolution`; takes over status and measures and releases the copy. When the run left a point,
/// activities, reduced costs and the objective value are computed from the caller's data.
void restoreCallerModel(WorkingModel& working, const IpmSolution& workSolution,
                        IpmSolution& inSolution);

/// Hands status, objective, iterations and measures to the caller's model and releases the copy;
/// does nothing when none is alive.
void releaseWorkingModel(WorkingModel& working);

/// From solPrimal and solDual of `model`:
///
///   objValue    = (c'x + 0.5 x'Qx + objConstant) * objSense
///   rowActivity = A x
///   reducedCost = c + Q x - A'y
void recomputeModelValues(Model& model);

}  // namespace ovrelin
