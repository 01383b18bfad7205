#include "presolve/solution.hpp"

namespace ovrelin {

Status allocSolution(SolverInstance* instance, IpmSolution*& solution, int32_t numRow,
                     int32_t numColExtended, double* solPrimal, double* solDual) {
    MemoryPool* pool = instance->pool;
    const auto columns = static_cast<std::size_t>(numColExtended);
    PoolObject<IpmSolution> made;
    OV_TRY(made.make(pool));
    for (PoolArray<double>* array :
         {&made->lowerSlack, &made->upperSlack, &made->lowerDual, &made->upperDual})
        OV_TRY(array->make(pool, columns, Fill::zero));
    OV_TRY(made->ineqnSlack.make(pool, static_cast<std::size_t>(numRow), Fill::zero));
    made->solPrimal = solPrimal;
    made->solDual = solDual;
    solution = made.release();
    return Status::ok;
}

void freeSolution(SolverInstance* instance, IpmSolution*& solution) {
    PoolObject<IpmSolution> owner;
    owner.adopt(instance->pool, solution);
    solution = nullptr;
}

}  // namespace ovrelin
