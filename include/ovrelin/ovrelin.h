/* The binary interface of the module `ovrelin`, whole. A module exports exactly three functions:
 *
 *   ovextent   hands it the table of host services; call it first
 *   ovrelin    makes the factory (a sibling exports the function under its own name)
 *   ovvercn1   copies the version record, 26 words
 */
#ifndef OVRELIN_OVRELIN_H
#define OVRELIN_OVRELIN_H

#include "ovrelin/codes.h"
#include "ovrelin/host.h"
#include "ovrelin/objects.h"
#include "ovrelin/problem.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t (*ModuleExtent)(HostServices* services);
typedef ExtensionFactory* (*ModuleEntry)(void* ignored, MemoryPool* parentPool);
typedef void (*ModuleVersion)(uint64_t record[OVRELIN_VERSION_WORDS]);

#ifdef __cplusplus
}
#endif

#endif
