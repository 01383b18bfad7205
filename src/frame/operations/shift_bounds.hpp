// A change of variables that moves finite bounds of a linear program to zero, and its reverse.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

enum class ShiftCode : int32_t {
    none = 0,
    shifted = 1,         // x' = x - shift
    mirrored = -1,       // x' = shift - x, shift being the upper bound
    mirroredAtZero = -2  // x' = -x
};

/// The change of every column; empty until the first call of shiftBounds.
struct BoundShift {
    PoolArray<double> shift;    // [numCol]
    PoolArray<ShiftCode> code;  // [numCol]
};

/// Moves each column with a finite bound:
///
///   only lower finite         x' = x - lower
///   only upper finite         x' = upper - x
///   boxed, obj > 0            x' = x - lower
///   boxed, obj < 0            x' = upper - x
///   boxed, obj = 0            x' = x - (lower + upper) / 2
///
/// so that the bound at which the optimum is to be expected becomes a lower bound of zero. rhs,
/// obj, the column and kept bounds follow; `solution` too unless it is null. Quadratic terms are
/// not followed: for linear programs only. The objective constant is not changed, as the objective
/// is computed after the way back. outOfMemory.
Status shiftBounds(SolverInstance* instance, Model& model, const SolveOptions& options,
                   TransformRecord& transform, BoundShift& record, IpmSolution* solution);

/// The reverse, for the model, `solution` and the direction record.
void unshiftBounds(Model& model, const SolveOptions& options, TransformRecord& transform,
                   const BoundShift& record, IpmSolution& solution);

}  // namespace ovrelin
