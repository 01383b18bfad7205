// Values of a model at its point: objective, activities, reduced costs.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// 0.5 x'Qx; 0 for a linear model. x [numCol].
double quadraticValue(const Model& model, const double* x);

/// y += Q x; nothing for a linear model. x and y [numCol].
void addQuadraticProduct(const Model& model, const double* x, double* y);

/// From solPrimal and solDual:
///
///   objValue    = (c'x + 0.5 x'Qx + objConstant) * objSense
///   rowActivity = A x
///   reducedCost = c + Q x - A'y
void recomputeModelValues(Model& model);

}  // namespace ovrelin
