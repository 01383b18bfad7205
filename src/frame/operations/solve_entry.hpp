// The two doors of a solve.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Solves with the options inside the instance. Returns one of the return values of codes.h; the
/// result fields and arrays of `problem` are filled. The caller's arrays are as given afterwards,
/// except that `range` is 0 on rows that are not 'R', and that a problem refused for a number
/// beyond hugeInput may stay negated or with raised rhs.
std::int32_t solve(SolverInstance* instance, ProblemInput* problem);

/// The same with the options given.
std::int32_t solveWithOptions(SolverInstance* instance, ProblemInput* problem,
                              const InstanceOptions* options);

/// The routine behind both, with the constants of the method as a further argument for tests and
/// benchmarks.
std::int32_t solveEntry(SolverInstance* instance, ProblemInput* problem,
                        const InstanceOptions* options, const SolverParameters& parameters);

}  // namespace ovrelin
