// The sibling `ovelppre`: the scaling service of linear programs.

#include "module_frame.hpp"
#include "scaling.hpp"

namespace {

void destroyInstance(ScalingInstance* instance) {
    if (instance != nullptr) instance->pool->destroyPool(instance->pool);
}

void* createInstance() {
    ScalingInstance* instance =
        sibling::makeRecord<ScalingInstance>("OVELPPRE POOL", nullptr, &ScalingInstance::pool);
    if (instance == nullptr) return nullptr;
    instance->destroy = destroyInstance;
    instance->computeScaling = scaling::computeScaling;
    instance->applyScaling = scaling::applyScaling;
    return instance;
}

}  // namespace

OVRELIN_SIBLING_EXPORTS(ovelppre, "OVELPPRE POOL", createInstance)
