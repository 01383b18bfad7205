#include "presolve/reduced_model.hpp"

#include <algorithm>

#include "frame/log.hpp"

namespace ovrelin {
namespace {

struct ReducedSizes {
    std::size_t rows, cols, elements, quadElements, ranges;
};

ReducedSizes reducedSizes(const Model& model, const TransformRecord& transform,
                          const Presolver& presolver) {
    return {static_cast<std::size_t>(model.numRow - presolver.numRemovedRow),
            static_cast<std::size_t>(model.numCol - presolver.numRemovedCol),
            static_cast<std::size_t>(model.numCoef - presolver.numRemovedElement),
            static_cast<std::size_t>(model.numQuadCoef - presolver.numRemovedQuadElement),
            static_cast<std::size_t>(std::max(transform.numRange, 0))};
}

Status makeQuad(MemoryPool* pool, const ReducedSizes& n, ReducedModel& reduced) {
    OV_TRY(reduced.quadDiag.make(pool, n.cols + n.ranges, Fill::zero));
    OV_TRY(reduced.quadColBegin.make(pool, n.cols + n.ranges + 1, Fill::zero));
    OV_TRY(reduced.quadColLength.make(pool, n.cols + n.ranges, Fill::zero));
    OV_TRY(reduced.quadRowIndex.make(pool, n.quadElements));
    return reduced.quadMatValue.make(pool, n.quadElements);
}

Status makeArrays(MemoryPool* pool, const ReducedSizes& n, bool quad, bool range,
                  ReducedModel& reduced) {
    const std::size_t columns = n.cols + n.ranges;
    const std::size_t elements = n.elements + n.rows + n.cols + 2 * n.ranges;
    OV_TRY(reduced.colBegin.make(pool, columns + 2));
    OV_TRY(reduced.colLength.make(pool, columns + 1));
    OV_TRY(reduced.rowIndex.make(pool, elements));
    OV_TRY(reduced.matValue.make(pool, elements));
    for (PoolArray<double>* array :
         {&reduced.obj, &reduced.lower, &reduced.upper, &reduced.solPrimal, &reduced.reducedCost})
        OV_TRY(array->make(pool, columns, Fill::zero));
    for (PoolArray<double>* array : {&reduced.rhs, &reduced.solDual, &reduced.rowActivity})
        OV_TRY(array->make(pool, n.rows, Fill::zero));
    OV_TRY(reduced.rowSense.make(pool, n.rows));
    if (range) OV_TRY(reduced.range.make(pool, n.rows, Fill::zero));
    return quad ? makeQuad(pool, n, reduced) : Status::ok;
}

/// The record's plain pointers onto its arrays.
void bindArrays(ReducedModel& reduced) {
    Model& model = reduced.model;
    model.colBegin = reduced.colBegin.data();
    model.colLength = reduced.colLength.data();
    model.rowIndex = reduced.rowIndex.data();
    model.matValue = reduced.matValue.data();
    model.quadDiag = reduced.quadDiag.data();
    model.quadColBegin = reduced.quadColBegin.data();
    model.quadColLength = reduced.quadColLength.data();
    model.quadRowIndex = reduced.quadRowIndex.data();
    model.quadMatValue = reduced.quadMatValue.data();
    model.obj = reduced.obj.data();
    model.lower = reduced.lower.data();
    model.upper = reduced.upper.data();
    model.solPrimal = reduced.solPrimal.data();
    model.reducedCost = reduced.reducedCost.data();
    model.rhs = reduced.rhs.data();
    model.range = reduced.range.data();
    model.solDual = reduced.solDual.data();
    model.rowActivity = reduced.rowActivity.data();
    model.rowSense = reduced.rowSense.data();
}

void fillRows(const Presolver& presolver, Model& reduced) {
    for (int32_t i = 0; i < presolver.numRow; ++i) {
        const int32_t at = presolver.rowMap[i];
        if (at < 0) continue;
        reduced.rhs[at] = presolver.rhs[i];
        reduced.rowSense[at] = presolver.rowSense[i];
        if (reduced.range != nullptr) reduced.range[at] = presolver.inModel->range[i];
    }
}

void fillColumns(const Presolver& presolver, Model& reduced) {
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const int32_t at = presolver.colMap[j];
        if (at < 0) continue;
        reduced.obj[at] = presolver.obj[j];
        reduced.lower[at] = presolver.lower[j];
        reduced.upper[at] = presolver.upper[j];
    }
}

/// Copies the elements with a live minor index out of the live columns; returns their number.
int32_t compressLists(const LiveLists& lists, const PoolArray<int32_t>& colMap,
                      const PoolArray<int32_t>& minorMap, int32_t numLive, int32_t* begin,
                      int32_t* length, int32_t* index, double* value) {
    int32_t at = 0;
    for (std::size_t j = 0; j < colMap.size(); ++j) {
        const int32_t col = colMap[j];
        if (col < 0) continue;
        begin[col] = at;
        for (int32_t k = lists.begin[j]; k < lists.begin[j] + lists.length[j]; ++k) {
            const int32_t minor = minorMap[lists.index[k]];
            if (minor < 0) continue;
            index[at] = minor;
            value[at++] = lists.value[k];
        }
        length[col] = at - begin[col];
    }
    begin[numLive] = at;
    return at;
}

void fillQuad(SolverInstance* instance, const Presolver& presolver, Model& reduced) {
    const double* diag = presolver.inModel->quadDiag;
    for (int32_t j = 0; diag != nullptr && j < presolver.numCol; ++j)
        if (presolver.colMap[j] >= 0) reduced.quadDiag[presolver.colMap[j]] = diag[j];
    if (!presolver.quadColumns.isSet()) return;  // begins and lengths are zero
    const int32_t quadElements = compressLists(
        presolver.quadColumns, presolver.colMap, presolver.colMap, reduced.numCol,
        reduced.quadColBegin, reduced.quadColLength, reduced.quadRowIndex, reduced.quadMatValue);
    if (quadElements != reduced.numQuadCoef)
        logText(instance, "Error reduceModel: quadratic nonzeros=%d should be %d", quadElements,
                reduced.numQuadCoef);
}

/// A bound that the caller's model does not have, on one side of one column: a slack at or above
/// the floor that fits the point, and a dual to go with it.
void openPair(double distance, const SolveOptions& options, double& slack, double& dual) {
    if (slack >= options.primalTol) return;
    slack = std::max(distance, options.primalTol);
    dual = std::max(options.dualTol, dual);
}

void movePoint(const Presolver& presolver, const Model& reduced, const SolveOptions& options,
               const IpmSolution& from, IpmSolution& to) {
    for (int32_t i = 0; i < presolver.numRow; ++i) {
        const int32_t at = presolver.rowMap[i];
        if (at < 0) continue;
        to.solDual[at] = from.solDual[i];
        to.ineqnSlack[at] = from.ineqnSlack[i];
    }
    const double infinity = options.infinity;
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const int32_t at = presolver.colMap[j];
        if (at < 0) continue;
        const double x = to.solPrimal[at] = from.solPrimal[j];
        to.lowerSlack[at] = from.lowerSlack[j];
        to.lowerDual[at] = from.lowerDual[j];
        to.upperSlack[at] = from.upperSlack[j];
        to.upperDual[at] = from.upperDual[j];
        if (reduced.lower[at] > -infinity && presolver.inModel->lower[j] <= -infinity)
            openPair(x - reduced.lower[at], options, to.lowerSlack[at], to.lowerDual[at]);
        if (reduced.upper[at] < infinity && presolver.inModel->upper[j] >= infinity)
            openPair(reduced.upper[at] - x, options, to.upperSlack[at], to.upperDual[at]);
    }
}

}  // namespace

Model* allocReducedModel(SolverInstance* instance, const Model& model,
                         const TransformRecord& transform, Presolver& presolver) {
    const ReducedSizes sizes = reducedSizes(model, transform, presolver);
    const bool quad = model.typeModel == modelTypeQp;
    if (!isOk(presolver.reduced.make(instance->pool))) return nullptr;
    ReducedModel& reduced = *presolver.reduced;
    if (!isOk(makeArrays(instance->pool, sizes, quad, model.range != nullptr, reduced))) {
        presolver.reduced.reset();
        return nullptr;
    }
    bindArrays(reduced);
    reduced.model.typeModel = model.typeModel;
    reduced.model.numRow = static_cast<int32_t>(sizes.rows);
    reduced.model.numCol = static_cast<int32_t>(sizes.cols);
    reduced.model.numCoef = static_cast<int32_t>(sizes.elements);
    reduced.model.numQuadCoef = static_cast<int32_t>(sizes.quadElements);
    reduced.model.objSense = model.objSense;
    reduced.model.objConstant = model.objConstant;
    reduced.model.checkSolverBreak = model.checkSolverBreak;
    reduced.model.hostmodelDataStruct = model.hostmodelDataStruct;
    return &reduced.model;
}

void reduceModel(SolverInstance* instance, Model& reducedModel, const SolveOptions& options,
                 const Presolver& presolver, const IpmSolution* inSolution,
                 IpmSolution* reducedSolution) {
    fillRows(presolver, reducedModel);
    fillColumns(presolver, reducedModel);
    const int32_t elements =
        compressLists(presolver.columns, presolver.colMap, presolver.rowMap, reducedModel.numCol,
                      reducedModel.colBegin, reducedModel.colLength, reducedModel.rowIndex,
                      reducedModel.matValue);
    if (elements != reducedModel.numCoef)
        logText(instance, "Error reduceModel: nonzeros=%d should be %d", elements,
                reducedModel.numCoef);
    if (reducedModel.typeModel == modelTypeQp) fillQuad(instance, presolver, reducedModel);
    if (options.startMode >= startModeResume && inSolution != nullptr && reducedSolution != nullptr)
        movePoint(presolver, reducedModel, options, *inSolution, *reducedSolution);
}

void freeReducedModel(Presolver& presolver, Model* inModel) {
    if (!presolver.reduced) return;
    releaseRelaxFlags(presolver);
    const Model& model = presolver.reduced->model;
    if (inModel != nullptr) {
        inModel->status = model.status;
        inModel->objValue = model.objValue;
        inModel->iterations = model.iterations;
        inModel->primalInfeas = model.primalInfeas;
        inModel->dualInfeas = model.dualInfeas;
        inModel->boundInfeas = model.boundInfeas;
        inModel->dualityGap = model.dualityGap;
        inModel->complementarity = model.complementarity;
    }
    presolver.reduced.reset();
}

}  // namespace ovrelin
