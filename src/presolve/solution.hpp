// The working solution record: who makes it, and for which sizes.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Makes a record around the model's own solPrimal [numCol] and solDual [numRow], which are
/// adopted, not copied. The bound arrays [numColExtended: with the slack columns of range rows] and
/// ineqnSlack [numRow] are zero. outOfMemory leaves the reference null.
Status allocSolution(SolverInstance* instance, IpmSolution*& solution, int32_t numRow,
                     int32_t numColExtended, double* solPrimal, double* solDual);

/// Null-safe; clears the reference. The model's arrays stay.
void freeSolution(SolverInstance* instance, IpmSolution*& solution);

}  // namespace ovrelin
