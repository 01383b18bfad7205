// The solver instance: its making, its default options and its end.
#pragma once

#include <cstdint>

#include "ovrelin/objects.h"

namespace ovrelin {

/// A solver instance in a new pool of its own, with the default options and all operations filled
/// in; null when the pool or the object cannot be made.
SolverInstance* createInstance();

/// Releases siblings that are still loaded, frees the sparse solver and destroys the pool; null
/// does nothing. The host's context of the calling thread is told before and after.
void destroyInstance(SolverInstance* instance);

/// The options that a new instance holds.
InstanceOptions defaultInstanceOptions();

}  // namespace ovrelin
