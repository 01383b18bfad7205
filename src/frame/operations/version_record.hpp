// What the module says about its build.
#pragma once

#include <cstdint>

#include "ovrelin/objects.h"

namespace ovrelin {

/// Writes 26 words: pointers to static texts, the build time in word 3, zeros from word 16.
void fillVersionRecord(std::uint64_t record[OVRELIN_VERSION_WORDS]);

}  // namespace ovrelin
