// The row normal form: the iteration knows 'E' and 'G' rows only.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// An 'L' row becomes a 'G' row by negation; an 'R' row, which reads a'x <= rhs with a slack of at
/// most `range`, becomes a'x + t = rhs with a new column 0 <= t <= range at the end. numLcont and
/// numRange of `transform` say how many there must be (a count below 1: none); the arrays have room
/// for the new columns. failed, with a log line and the model unchanged, when a count is wrong;
/// outOfMemory.
Status normaliseRows(SolverInstance* instance, Model& model, TransformRecord& transform);

/// Undoes it. Duals of 'L' rows change sign with their rows; ineqnSlack of an 'R' row is the value
/// of its slack column. The direction record follows if there is one.
void restoreRows(Model& model, TransformRecord& transform, IpmSolution& solution);

}  // namespace ovrelin
