// What a solve does to the caller's problem before the driver sees it, and how it is undone. The
// caller's arrays are changed in place, since copying a large model only to flip a sign is dear.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Arrays that a ProblemInput lacks and a Model needs, and what the way back needs.
struct DerivedArrays {
    PoolArray<int32_t> colBegin;       // [numCol + 1] zeros, only when the caller has none
    PoolArray<int32_t> colLength;      // [numCol]
    PoolArray<int32_t> quadColLength;  // [numCol], only with off-diagonal elements
    PoolArray<double> reducedCost;     // [numCol] scratch result
    PoolArray<double> rangeRhs;        // rhs as given of the rows that stay 'R', in row order
};

/// The Model over the caller's arrays, as pointers.
void viewProblem(const ProblemInput& problem, Model& model);

/// Makes the derived arrays and lends them to the model; outOfMemory leaves the caller's data
/// alone.
Status makeDerivedArrays(MemoryPool* pool, Model& model, DerivedArrays& derived);

/// Changes the sign of obj, quadDiag and quadMatValue: the step between maximisation and
/// minimisation, and its own inverse to the bit.
void negateObjective(Model& model);

/// rhs += range on 'R' rows, which then read a'x <= rhs with a slack of at most `range`; a row
/// whose range is 0 becomes 'E' for good.
void raiseRangeRows(Model& model);

/// Gives rows that are still 'R' their rhs as it was given.
void lowerRangeRows(Model& model, const DerivedArrays& derived);

/// failed when a number exceeds hugeInput in magnitude (NaN passes: every test is a comparison).
/// Zeroes `range` of all rows that are not 'R'.
Status checkNumbers(Model& model);

/// Fills solPrimal, solDual and rowActivity with zeros.
void zeroResults(Model& model);

}  // namespace ovrelin
