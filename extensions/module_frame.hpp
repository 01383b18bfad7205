// What every sibling module is made of: the word for the host's services, records that live in a
// pool of their own, the factory, the version record, and the three exports.
#pragma once

#include <cstdint>
#include <cstring>

#include "ovrelin/ovrelin.h"

namespace sibling {

/// The one global word of a module, written once by `ovextent`.
inline HostServices* hostServices = nullptr;

/// A zero-filled record in a new pool, which `*poolField` of the record names; null without memory.
/// Destroying the pool destroys the record.
template <class Record>
Record* makeRecord(const char* poolName, MemoryPool* parent, MemoryPool* Record::*poolField) {
    HostDescriptor descriptor{};
    MemoryPool* pool = hostServices->createPool(hostServices, &descriptor, parent, poolName);
    if (pool == nullptr) return nullptr;
    void* block = pool->allocate(pool, sizeof(Record), OVRELIN_ALLOCATE_ZERO);
    if (block == nullptr) {
        pool->destroyPool(pool);
        return nullptr;
    }
    Record* record = static_cast<Record*>(block);
    record->*poolField = pool;
    return record;
}

inline int32_t giveVersion(uint64_t* out1, uint64_t* out2, uint64_t* out3, uint64_t major,
                           uint64_t minor, uint64_t patch) {
    *out1 = major;
    *out2 = minor;
    *out3 = patch;
    return 0;
}

inline int32_t interfaceVersion(ExtensionFactory*, uint64_t* a, uint64_t* b, uint64_t* c) {
    return giveVersion(a, b, c, 4, 1, 1);
}

inline int32_t extensionVersion(ExtensionFactory*, uint64_t* a, uint64_t* b, uint64_t* c) {
    return giveVersion(a, b, c, 1, 0, 0);
}

inline int32_t terminate(ExtensionFactory* factory) {
    if (factory != nullptr) factory->factoryPool->destroyPool(factory->factoryPool);
    return 0;
}

inline ExtensionFactory* makeFactory(const char* poolName, MemoryPool* parent,
                                     void* (*createInstance)()) {
    ExtensionFactory* factory =
        makeRecord<ExtensionFactory>(poolName, parent, &ExtensionFactory::factoryPool);
    if (factory == nullptr) return nullptr;
    std::memcpy(factory->tag, "nevo", sizeof factory->tag);
    factory->getInterfaceVersion = interfaceVersion;
    factory->getExtensionVersion = extensionVersion;
    factory->terminate = terminate;
    factory->createInstance = createInstance;
    return factory;
}

inline uint64_t word(const char* text) {
    return reinterpret_cast<std::uintptr_t>(text);
}

/// The two keyed strings keep their width: a stamping tool may write behind the '='.
inline void fillVersionRecord(uint64_t* record, const char* moduleName) {
    std::memset(record, 0, OVRELIN_VERSION_WORDS * sizeof *record);
    const char* const texts[16] = {
        "1.0M0D20260101",
        "extensions",
        "",
        nullptr,
        "ovormp",
        moduleName,
        "ovormp",
        "build",
        "",
        "version",
        "::",
        "",
        "VEL_VERSION_HOTFIX_NUMBER=                                       ",
        "",
        "VERCON_IMAGE_DESCRIPTION=                                        ",
        "wx6no"};
    for (int k = 0; k < 16; ++k) record[k] = texts[k] == nullptr ? 0 : word(texts[k]);
    record[3] = 1767225600;  // the date of word 0
}

}  // namespace sibling

// The three exports of the module NAME, whose factory hands out what `createInstance` makes.
#define OVRELIN_SIBLING_EXPORTS(NAME, POOL_NAME, createInstance)                               \
    extern "C" {                                                                               \
    __attribute__((visibility("default"))) int32_t ovextent(HostServices* services) {          \
        sibling::hostServices = services;                                                      \
        return 0;                                                                              \
    }                                                                                          \
    __attribute__((visibility("default"))) ExtensionFactory* NAME(void*, MemoryPool* parent) { \
        return sibling::makeFactory(POOL_NAME, parent, createInstance);                        \
    }                                                                                          \
    __attribute__((visibility("default"))) void ovvercn1(uint64_t* record) {                   \
        sibling::fillVersionRecord(record, #NAME);                                             \
    }                                                                                          \
    }
