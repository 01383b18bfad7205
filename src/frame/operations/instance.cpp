#include "frame/operations/instance.hpp"

#include <limits>

#include "frame/host_services.hpp"
#include "frame/operations/factory.hpp"
#include "frame/operations/matrix_statistics.hpp"
#include "frame/operations/sibling.hpp"
#include "frame/operations/single_constraint_qp.hpp"
#include "frame/operations/solve_entry.hpp"
#include "sparse/kkt_solver.hpp"

namespace ovrelin {
namespace {

void freeSparseSolver(SolverInstance* instance) {
    KktSlots slots{instance, instance->pool, static_cast<SparseLdl*>(instance->sparseSolver),
                   static_cast<LdlNumeric*>(instance->sparseFactor),
                   static_cast<LdlSymbolic*>(instance->sparseSymbolic)};
    if (slots.sparseSolver != nullptr) kktSolverFree(slots);
}

}  // namespace

InstanceOptions defaultInstanceOptions() {
    InstanceOptions options{};
    options.optimalityTol = 1e-6;
    options.primalTol = 1e-6;
    options.dualTol = 1e-6;
    options.iterationLimit = std::numeric_limits<std::int32_t>::max();
    options.unreadInfinity[0] = OVRELIN_INFINITY_BOUND;
    options.unreadInfinity[1] = OVRELIN_INFINITY_BOUND;
    options.printFrequency = 1;
    options.presolver = -1;
    options.timeLimit = OVRELIN_MAX_DOUBLE;
    options.threadCount = 1;
    options.unreadLast = 1;
    return options;
}

SolverInstance* createInstance() {
    MemoryPool* pool = createModulePool(nullptr);
    if (pool == nullptr) return nullptr;
    auto* instance = static_cast<SolverInstance*>(
        pool->allocate(pool, sizeof(SolverInstance), OVRELIN_ALLOCATE_ZERO));
    if (instance == nullptr) {
        pool->destroyPool(pool);
        return nullptr;
    }
    instance->pool = pool;
    instance->destroy = destroyInstance;
    instance->solveWithOptions = solveWithOptions;
    instance->solve = solve;
    instance->solveSingleConstraintQp = solveSingleConstraintQp;
    instance->matrixStatistics = matrixStatistics;
    instance->defaultOptions = defaultInstanceOptions();
    return instance;
}

void destroyInstance(SolverInstance* instance) {
    if (instance == nullptr) return;
    releaseScalingSibling(instance);
    HostContext* context = currentContext();
    if (context != nullptr) context->closing = 1;
    freeSparseSolver(instance);
    if (context != nullptr) context->released(context, 1, 0);
    instance->pool->destroyPool(instance->pool);
}

}  // namespace ovrelin
