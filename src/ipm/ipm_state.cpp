#include "ipm/ipm_state.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ovrelin {
namespace {

template <class T>
Status makeOnce(PoolArray<T>& array, MemoryPool* pool, int32_t count, Fill fill) {
    return array.isSet() ? Status::ok : array.make(pool, static_cast<std::size_t>(count), fill);
}

std::uint8_t boundType(double lower, double upper, double infinity, double zeroBound) {
    const bool hasUpper = upper < infinity, hasLower = lower > -infinity;
    if (!hasUpper && !hasLower) return bndFree;
    std::uint8_t type = hasUpper ? bndUpper : 0;
    if (hasLower)
        type = static_cast<std::uint8_t>(
            type | (std::fabs(lower) < zeroBound ? bndLowerZero : bndLowerNonzero));
    return type;
}

void classifyRows(Ipm& ipm) {
    double sum = 0;
    ipm.numIneqn = 0;
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        sum += ipm.rhs[i] * ipm.rhs[i];
        if (ipm.rowSense[i] == OVRELIN_ROW_GREATER) ipm.ineqnIndex[ipm.numIneqn++] = i;
    }
    ipm.normRhs = std::sqrt(sum);
}

void classifyColumns(Ipm& ipm) {
    const double zeroBound = ipm.options->parameters.ipm.zeroBound;
    double objSum = 0, lowerSum = 0, upperSum = 0, matSum = 0;
    ipm.numFreeVar = ipm.numVarLowerBnd = ipm.numVarUpperBnd = 0;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const double l = ipm.lower[j], u = ipm.upper[j];
        const std::uint8_t type = boundType(l, u, ipm.infinity, zeroBound);
        ipm.varBndType[j] = type;
        objSum += ipm.obj[j] * ipm.obj[j];
        if (type & bndUpper) upperSum += u * u, ++ipm.numVarUpperBnd;
        if (type & bndLower) lowerSum += l * l, ++ipm.numVarLowerBnd;
        if (type == bndFree) ++ipm.numFreeVar;
        const double* value = ipm.matValue + ipm.colBegin[j];
        for (int32_t k = 0; k < ipm.colLength[j]; ++k) matSum += value[k] * value[k];
    }
    ipm.normObj = std::sqrt(objSum);
    ipm.normLower = std::sqrt(lowerSum);
    ipm.normUpper = std::sqrt(upperSum);
    ipm.normA = std::sqrt(matSum);
}

void zeroPair(const BoundPairs& pairs, int32_t j) {
    pairs.slack[j] = pairs.dual[j] = pairs.slackDelta[j] = pairs.dualDelta[j] = 0;
}

}  // namespace

Status ipmCreate(PoolObject<Ipm>& out, SolverInstance* instance, Model* model, SolverTimer* timer,
                 int32_t startState) {
    if (model == nullptr) return Status::failed;
    const std::int64_t size = std::int64_t{model->numRow} + model->numCol +
                              2 * (std::int64_t{model->numCoef} + model->numQuadCoef);
    if (size > std::numeric_limits<int32_t>::max()) return Status::outOfMemory;
    OV_TRY(out.make(instance->pool));
    Ipm& ipm = *out;
    ipm.modelType = model->typeModel;
    ipm.numRow = model->numRow;
    ipm.numCol = model->numCol;
    ipm.numCoef = model->numCoef;
    ipm.numQuadCoef = model->numQuadCoef;
    ipm.numDim = ipm.numRow + ipm.numCol;
    ipm.numIpmCoef = ipm.numDim + 2 * (ipm.numCoef + ipm.numQuadCoef);
    ipm.instance = instance;
    ipm.timer = timer;
    ipm.iterState = startState;
    ipm.checkSolverBreak = model->checkSolverBreak;
    ipm.hostmodelDataStruct = model->hostmodelDataStruct;
    return Status::ok;
}

void ipmBindOptions(Ipm& ipm, SolveOptions* options) {
    ipm.iterationLimit = options->iterationLimit;
    ipm.tolPrimal = options->primalTol;
    ipm.tolDual = options->dualTol;
    ipm.tolGap = options->optimalityTol;
    ipm.printFrequency = options->printFrequency;
    ipm.printLevel = options->printLevel;
    ipm.debugLevel = options->debugLevel;
    ipm.handoverStage = options->handoverStage;
    ipm.startMode = options->startMode;
    ipm.infinity = options->infinity;
    ipm.threadCount = options->threadCount;
    ipm.forceReset = options->forceReset;
    ipm.options = options;
}

void ipmSetConstants(Ipm& ipm, const SolveOptions& options, TransformRecord& transform) {
    const IpmParameters& parameters = options.parameters.ipm;
    ipm.ineqnDensity = parameters.ineqnDensity;
    ipm.muFloor = parameters.muFloor;
    ipm.slackFloor = parameters.slackFloor;
    ipm.stepDamping = parameters.stepDamping;
    ipm.alphaPrimal = ipm.alphaDual = 1.0;
    ipm.mu = ipm.muAffine = ipm.sigma = ipm.infinity;
    ipm.tolComplementarity = options.optimalityTol;
    ipm.stallCount = ipm.nearCount = 0;
    transform.perturbDone = transform.numObjPerturb < 1 && transform.numRhsPerturb < 1 ? 1 : 0;
}

Status ipmAllocEnv(Ipm& ipm) {
    MemoryPool* pool = ipm.instance->pool;
    const int32_t larger = std::max(ipm.numRow, ipm.numCol);
    OV_TRY(makeOnce(ipm.kktColBegin, pool, ipm.numDim + 1, Fill::raw));
    OV_TRY(makeOnce(ipm.kktRowIndex, pool, ipm.numIpmCoef, Fill::raw));
    OV_TRY(makeOnce(ipm.kktValue, pool, ipm.numIpmCoef, Fill::zero));
    OV_TRY(makeOnce(ipm.ineqnDiagIndex, pool, ipm.numRow, Fill::raw));
    OV_TRY(makeOnce(ipm.varBndDiagIndex, pool, ipm.numCol, Fill::zero));
    OV_TRY(makeOnce(ipm.vecRhs, pool, ipm.numDim, Fill::zero));
    OV_TRY(makeOnce(ipm.vecCorrector, pool, ipm.numDim, Fill::zero));
    OV_TRY(makeOnce(ipm.vecWork, pool, ipm.numDim, Fill::raw));
    OV_TRY(makeOnce(ipm.ineqnIndex, pool, ipm.numRow, Fill::raw));
    OV_TRY(makeOnce(ipm.ineqnSlackDelta, pool, ipm.numRow, Fill::zero));
    OV_TRY(makeOnce(ipm.varBndType, pool, ipm.numCol, Fill::raw));
    OV_TRY(makeOnce(ipm.lowerSlackDelta, pool, ipm.numCol, Fill::zero));
    OV_TRY(makeOnce(ipm.upperSlackDelta, pool, ipm.numCol, Fill::zero));
    OV_TRY(makeOnce(ipm.lowerDualDelta, pool, ipm.numCol, Fill::zero));
    OV_TRY(makeOnce(ipm.upperDualDelta, pool, ipm.numCol, Fill::zero));
    if (ipm.kkt.sparseSolver == nullptr) {
        ipm.kkt.instance = ipm.instance;
        ipm.analyzeTime = ipm.factorTime = ipm.kktSolveTime = 0;
        OV_TRY(kktSolverCreate(ipm.kkt, pool, ipm.numCol, ipm.threadCount,
                               ipm.options->parameters.sparse));
    }
    OV_TRY(makeOnce(ipm.rowWorkF, pool, larger, Fill::zero));
    OV_TRY(makeOnce(ipm.colWorkF, pool, larger, Fill::zero));
    return makeOnce(ipm.rowWorkI, pool, larger, Fill::zero);
}

void ipmBindModel(Ipm& ipm, Model* model, IpmSolution* solution) {
    ipm.model = model;
    ipm.solution = solution;
    ipm.colBegin = model->colBegin;
    ipm.colLength = model->colLength;
    ipm.rowIndex = model->rowIndex;
    ipm.matValue = model->matValue;
    ipm.obj = model->obj;
    ipm.lower = model->lower;
    ipm.upper = model->upper;
    ipm.rowSense = model->rowSense;
    ipm.rhs = model->rhs;
    ipm.solPrimal = model->solPrimal;
    ipm.solDual = model->solDual;
    ipm.quadDiag = model->quadDiag;
    ipm.quadColBegin = model->quadColBegin;
    ipm.quadColLength = model->quadColLength;
    ipm.quadRowIndex = model->quadRowIndex;
    ipm.quadMatValue = model->quadMatValue;
    ipm.lowerSlack = solution->lowerSlack.data();
    ipm.upperSlack = solution->upperSlack.data();
    ipm.lowerDual = solution->lowerDual.data();
    ipm.upperDual = solution->upperDual.data();
    ipm.ineqnSlack = solution->ineqnSlack.data();
}

void ipmClassify(Ipm& ipm) {
    classifyRows(ipm);
    classifyColumns(ipm);
    ipm.numComplement = ipm.numIneqn + ipm.numVarLowerBnd + ipm.numVarUpperBnd;
    ipm.freeVarLimit = ipm.options->parameters.ipm.freeVarLimit;
}

void ipmCleanIterate(Ipm& ipm) {
    const BoundPairs up = upperPairs(ipm), low = lowerPairs(ipm);
    ipm.minSlack = ipm.infinity;
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.kktValue[ipm.ineqnDiagIndex[i]] = 0;
        if (ipm.rowSense[i] != OVRELIN_ROW_GREATER) ipm.ineqnSlackDelta[i] = 0;
        if (ipm.rowSense[i] != OVRELIN_ROW_EQUAL)
            ipm.minSlack = std::min(ipm.minSlack, ipm.solDual[i]);
    }
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        ipm.kktValue[ipm.varBndDiagIndex[j]] = 0;
        for (const BoundPairs& pairs : {low, up}) {
            if (ipm.varBndType[j] & pairs.mask)
                ipm.minSlack = std::min(ipm.minSlack, pairs.slack[j]);
            else
                zeroPair(pairs, j);
        }
    }
}

void ipmFloorIterate(Ipm& ipm) {
    const double floorPrimal = std::max(1e-4, 100 * ipm.tolPrimal);
    const double floorDual = std::max(1e-4, 100 * ipm.tolDual);
    const auto lift = [](double& value, double floor) {
        if (value <= 0) value = floor;
    };
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        if (ipm.rowSense[i] == OVRELIN_ROW_EQUAL) continue;
        lift(ipm.ineqnSlack[i], floorPrimal);
        lift(ipm.solDual[i], floorDual);
    }
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        lift(pairs.slack[j], floorPrimal);
        lift(pairs.dual[j], floorDual);
    });
}

KktMatrix kktMatrix(const Ipm& ipm) {
    return {ipm.numDim, ipm.kktColBegin.data(), ipm.kktRowIndex.data(), ipm.kktValue.data()};
}

}  // namespace ovrelin
