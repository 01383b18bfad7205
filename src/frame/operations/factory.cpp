#include "frame/operations/factory.hpp"

#include <cstring>

#include "frame/host_services.hpp"
#include "frame/operations/instance.hpp"

namespace ovrelin {
namespace {

std::int32_t getInterfaceVersion(ExtensionFactory*, std::uint64_t* major, std::uint64_t* minor,
                                 std::uint64_t* patch) {
    *major = 4;
    *minor = 1;
    *patch = 1;
    return 0;
}

std::int32_t getExtensionVersion(ExtensionFactory*, std::uint64_t* major, std::uint64_t* minor,
                                 std::uint64_t* patch) {
    *major = 1;
    *minor = 0;
    *patch = 0;
    return 0;
}

std::int32_t terminate(ExtensionFactory* factory) {
    if (factory != nullptr) factory->factoryPool->destroyPool(factory->factoryPool);
    return 0;
}

void* createInstanceObject() {
    return createInstance();
}

}  // namespace

MemoryPool* createModulePool(MemoryPool* parentPool) {
    HostDescriptor descriptor{};
    return hostServices->createPool(hostServices, &descriptor, parentPool, "OVRELIN POOL");
}

ExtensionFactory* createFactory(MemoryPool* parentPool) {
    MemoryPool* pool = createModulePool(parentPool);
    if (pool == nullptr) return nullptr;
    auto* factory = static_cast<ExtensionFactory*>(
        pool->allocate(pool, sizeof(ExtensionFactory), OVRELIN_ALLOCATE_ZERO));
    if (factory == nullptr) {
        pool->destroyPool(pool);
        return nullptr;
    }
    std::memcpy(factory->tag, "nevo", sizeof factory->tag);
    factory->getInterfaceVersion = getInterfaceVersion;
    factory->getExtensionVersion = getExtensionVersion;
    factory->terminate = terminate;
    factory->factoryPool = pool;
    factory->createInstance = createInstanceObject;
    return factory;
}

}  // namespace ovrelin
