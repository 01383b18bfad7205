// Descriptive numbers about a problem.
#pragma once

#include <cstdint>

#include "ovrelin/objects.h"

namespace ovrelin {

/// Fills problem->statistics; changes nothing else. Minima over nothing are 0. Returns 0, or 1 when
/// the row counters cannot be allocated from the instance's pool.
std::int32_t matrixStatistics(SolverInstance* instance, ProblemInput* problem);

}  // namespace ovrelin
