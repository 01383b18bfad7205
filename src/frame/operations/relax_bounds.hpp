// Bounds that other constraints imply may be dropped for the iteration; the caller's bounds wait
// meanwhile as lowerKeep and upperKeep of the TransformRecord.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Drops bounds of boxed columns by the flags of relaxColBound (null: nothing to do): with one flag
/// that bound, with both flags the one of greater magnitude, or both bounds when neither is below
/// 100 in magnitude. The model gets new bound arrays [numCol + numRange], owned by `transform`.
/// failed when bounds are kept already; outOfMemory.
Status relaxBounds(SolverInstance* instance, Model& model, const SolveOptions& options,
                   TransformRecord& transform);

/// Exchanges the model's bounds with the kept ones and toggles keepSwapped.
void swapKeptBounds(Model& model, TransformRecord& transform);

}  // namespace ovrelin
