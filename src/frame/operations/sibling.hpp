// The sibling `ovelppre`, which lives for the length of one solve.
#pragma once

#include "frame/status.hpp"
#include "ovrelin/objects.h"

namespace ovrelin {

/// Loads the sibling, makes its instance and lends it the solver's sinks; both handles are kept in
/// `instance`. outOfMemory, after a message, when either is not to be had; nothing is held then.
Status loadScalingSibling(SolverInstance* instance);

/// Destroys the sibling's instance and releases its factory, each if held.
void releaseScalingSibling(SolverInstance* instance);

}  // namespace ovrelin
