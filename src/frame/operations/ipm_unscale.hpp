// Takes the scaled model and its solution back to the caller's scale.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Undoes, by what `transform` says was done:
///
///   startMode 1: row and objective division by maxima of at least 10
///   QP:          one factor on the objective function as a whole
///   LP:          row and column factors of the scaling service, objective factor, and the zeroed
///                obj and rhs entries
///
/// A status of the scaling service is passed on.
Status ipmUnscale(SolverInstance* instance, Model& model, const SolveOptions& options,
                  TransformRecord& transform, IpmSolution& solution);

}  // namespace ovrelin
