#include "frame/operations/handover.hpp"

#include <cwchar>

#include "frame/host_services.hpp"
#include "frame/log.hpp"

namespace ovrelin {

Status runHandover(SolverInstance* instance, const Model& model) {
    if (model.status != Status::optimal && model.status != Status::conditionallyOptimal)
        return model.status;
    constexpr wchar_t name[] = L"ovelpps";
    ExtensionFactory* factory =
        hostServices->loadExtension(hostServices, name, std::wcslen(name), 0);
    if (factory == nullptr) {
        sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_HANDOVER_MISSING);
        return Status::outOfMemory;
    }
    auto* receiver = static_cast<ScalingInstance*>(factory->createInstance());
    if (receiver == nullptr) {
        sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_HANDOVER_NO_INSTANCE);
        factory->releaseFactory(factory);
        return Status::outOfMemory;
    }
    logText(instance, "Error runHandover: no operation of the receiver is known.");
    receiver->destroy(receiver);
    factory->releaseFactory(factory);
    return Status::failed;
}

}  // namespace ovrelin
