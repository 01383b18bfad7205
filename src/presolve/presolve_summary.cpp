#include "presolve/presolve_summary.hpp"

#include "frame/log.hpp"

namespace ovrelin {
namespace {

void reportSetting(SolverInstance* instance, int32_t setting) {
    switch (setting) {
        case -1:
            break;
        case 0:
            sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_869, setting);
            break;
        case 1:
            logText(instance, "%3zThe PRESOLVER value BASIC (1) is mapped to value AUTOMATIC.");
            break;
        case 2:
            logText(instance, "%3zThe PRESOLVER value MODERATE (2) is mapped to value AUTOMATIC.");
            break;
        case 3:
            logText(instance,
                    "%3zThe PRESOLVER value AGGRESSIVE (3) is mapped to value AUTOMATIC.");
            break;
        default:
            sendMessage(instance, OVRELIN_LEVEL_ERROR, OVRELIN_MSG_PRESOLVE_86E, setting);
    }
}

}  // namespace

void printPresolveSummary(SolverInstance* instance, const Model& model, const SolveOptions& options,
                          const Presolver& presolver) {
    if (model.typeModel != modelTypeQp || options.printLevel == 0) return;
    reportSetting(instance, options.presolver);
    if (options.presolver != 0) {
        sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_86A, options.presolver);
        sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_86F, presolver.numRemovedCol,
                    presolver.numRemovedRow);
        sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_870,
                    presolver.numRemovedElement);
        sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_9B4, model.numCol,
                    model.numRow, model.numCoef);
    }
    sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_864);
    sendMessage(instance, OVRELIN_LEVEL_NOTE, OVRELIN_MSG_PRESOLVE_805);
}

}  // namespace ovrelin
