#include "presolve/direct_solve.hpp"

#include <algorithm>
#include <cmath>
#include <functional>

#include "ipm/kkt.hpp"
#include "ipm/measure.hpp"
#include "linalg/sparse_columns.hpp"
#include "presolve/model_values.hpp"
#include "sparse/kkt_solver.hpp"

namespace ovrelin {
namespace {

/// The matrix-building routines read an iteration record; here it holds the model and the matrix
/// only.
Status bindSystem(SolverInstance* instance, const Model& model, Ipm& system) {
    MemoryPool* pool = instance->pool;
    system.instance = instance;
    system.numRow = model.numRow;
    system.numCol = model.numCol;
    system.colBegin = model.colBegin;
    system.colLength = model.colLength;
    system.rowIndex = model.rowIndex;
    system.matValue = model.matValue;
    system.numQuadCoef = model.numQuadCoef;
    system.quadColBegin = model.quadColBegin;
    system.quadColLength = model.quadColLength;
    system.quadRowIndex = model.quadRowIndex;
    system.quadMatValue = model.quadMatValue;
    system.numDim = model.numRow + model.numCol;
    system.numIpmCoef = system.numDim + 2 * (model.numCoef + model.numQuadCoef);
    const auto dim = static_cast<std::size_t>(system.numDim);
    const auto elements = static_cast<std::size_t>(system.numIpmCoef);
    OV_TRY(system.kktColBegin.make(pool, dim + 1));
    OV_TRY(system.kktRowIndex.make(pool, elements));
    OV_TRY(system.kktValue.make(pool, elements));
    OV_TRY(system.varBndDiagIndex.make(pool, static_cast<std::size_t>(model.numCol)));
    OV_TRY(system.ineqnDiagIndex.make(pool, static_cast<std::size_t>(model.numRow)));
    return system.vecRhs.make(pool, dim);
}

Status buildSystem(const Model& model, Ipm& system) {
    const bool quad = model.typeModel == modelTypeQp;
    if (quad && model.numQuadCoef > 0)
        OV_TRY(buildKktQuad(system));
    else
        buildKktLinear(model.numRow, model.numCol, model.colBegin, model.colLength, model.rowIndex,
                       model.matValue, system.kktColBegin.data(), system.kktRowIndex.data(),
                       system.kktValue.data(), system.varBndDiagIndex.data(),
                       system.ineqnDiagIndex.data());
    for (int32_t j = 0; quad && model.quadDiag != nullptr && j < model.numCol; ++j)
        system.kktValue[system.varBndDiagIndex[j]] = model.quadDiag[j];
    std::transform(model.obj, model.obj + model.numCol, system.vecRhs.data(), std::negate<>());
    std::transform(model.rhs, model.rhs + model.numRow, system.vecRhs.data() + model.numCol,
                   std::negate<>());
    return Status::ok;
}

void scatterSolution(const Model& model, const double* vector, IpmSolution& solution) {
    std::copy_n(vector, model.numCol, solution.solPrimal);
    std::copy_n(vector + model.numCol, model.numRow, solution.solDual);
    for (PoolArray<double>* array :
         {&solution.lowerSlack, &solution.upperSlack, &solution.lowerDual, &solution.upperDual,
          &solution.ineqnSlack})
        std::fill(array->begin(), array->end(), 0.0);
}

double residualNorm(int32_t count, const double* a, const double* b) {
    double sum = 0;
    for (int32_t i = 0; i < count; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(sum);
}

/// All bounds and inequalities being absent, only the two residuals and the gap are left to
/// measure.
void measureDirect(const SolveOptions& options, Model& model) {
    const double* x = model.solPrimal;
    recomputeModelValues(model);
    const double form = quadraticValue(model, x);
    const double primal = dotProduct(model.numCol, model.obj, x) + form;
    const double dual = dotProduct(model.numRow, model.rhs, model.solDual) - form;
    model.primalInfeas = residualNorm(model.numRow, model.rowActivity, model.rhs) /
                         (1 + norm2(model.numRow, model.rhs));
    model.dualInfeas =
        norm2(model.numCol, model.reducedCost) / (1 + norm2(model.numCol, model.obj));
    model.dualityGap = std::fabs(primal - dual) / (1 + std::fabs(primal));
    model.boundInfeas = model.complementarity = 0;
    model.iterations = 0;
    model.status = ipmStatus(options.primalTol, options.dualTol, options.optimalityTol,
                             options.optimalityTol, options.parameters.ipm.nearFactor,
                             {model.primalInfeas, 0, model.dualInfeas, model.dualityGap, 0});
}

}  // namespace

Status solveDirectSystem(SolverInstance* instance, Model& model, const SolveOptions& options,
                         IpmSolution& solution, bool /*useSolveToPoint*/) {
    PoolObject<Ipm> system;
    OV_TRY(system.make(instance->pool));
    OV_TRY(bindSystem(instance, model, *system));
    OV_TRY(buildSystem(model, *system));
    const KktMatrix matrix{system->numDim, system->kktColBegin.data(), system->kktRowIndex.data(),
                           system->kktValue.data()};
    OV_TRY(kktSolveOnce(instance, instance->pool, matrix, model.numCol, options.threadCount,
                        options.parameters.sparse, system->vecRhs.data(), nullptr, nullptr, nullptr,
                        nullptr));
    scatterSolution(model, system->vecRhs.data(), solution);
    measureDirect(options, model);
    return Status::ok;
}

}  // namespace ovrelin
