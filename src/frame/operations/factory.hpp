// The factory object, the host's first handle on the module.
#pragma once

#include <cstdint>

#include "ovrelin/objects.h"

namespace ovrelin {

/// A factory in a pool of its own under `parentPool` (null: no parent). Null when the pool or the
/// object cannot be made; nothing is left behind then. `terminate` takes both down again.
ExtensionFactory* createFactory(MemoryPool* parentPool);

/// A new pool of the module, or null.
MemoryPool* createModulePool(MemoryPool* parentPool);

}  // namespace ovrelin
