// The three functions that the module exports. The entry point has the module's own name, which is
// also the name of the namespace; inside C++ it is therefore called ovrelinEntry and only its
// symbol is `ovrelin`.
#pragma once

#include <cstdint>

#include "ovrelin/ovrelin.h"

#define OVRELIN_EXPORT __attribute__((visibility("default")))

extern "C" {

/// Stores the host's service table; nothing else of the module works before it. Returns 0.
OVRELIN_EXPORT std::int32_t ovextent(HostServices* services);

/// Makes a pool under `parentPool` and in it the factory; null when memory is out.
OVRELIN_EXPORT ExtensionFactory* ovrelinEntry(void* ignored,
                                              MemoryPool* parentPool) __asm__("ovrelin");

/// Copies the version record, 26 words.
OVRELIN_EXPORT void ovvercn1(std::uint64_t record[OVRELIN_VERSION_WORDS]);

}  // extern "C"
