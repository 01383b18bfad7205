#include "frame/operations/sibling.hpp"

#include <cwchar>

#include "frame/host_services.hpp"
#include "frame/log.hpp"

namespace ovrelin {

Status loadScalingSibling(SolverInstance* instance) {
    constexpr wchar_t name[] = L"ovelppre";
    instance->presolverExtension =
        hostServices->loadExtension(hostServices, name, std::wcslen(name), 0);
    if (instance->presolverExtension == nullptr) {
        sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_PRESOLVER_MISSING);
        return Status::outOfMemory;
    }
    auto* sibling = static_cast<ScalingInstance*>(instance->presolverExtension->createInstance());
    if (sibling == nullptr) {
        sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_PRESOLVER_NO_INSTANCE);
        releaseScalingSibling(instance);
        return Status::outOfMemory;
    }
    sibling->logSink = instance->logSink;
    sibling->messageSink = instance->messageSink;
    instance->presolverInstance = sibling;
    return Status::ok;
}

void releaseScalingSibling(SolverInstance* instance) {
    if (instance->presolverInstance != nullptr)
        instance->presolverInstance->destroy(instance->presolverInstance);
    instance->presolverInstance = nullptr;
    if (instance->presolverExtension != nullptr)
        instance->presolverExtension->releaseFactory(instance->presolverExtension);
    instance->presolverExtension = nullptr;
}

}  // namespace ovrelin
