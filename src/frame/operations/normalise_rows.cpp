#include "frame/operations/normalise_rows.hpp"

#include "frame/log.hpp"

namespace ovrelin {
namespace {

int32_t countSense(const Model& model, char sense) {
    int32_t count = 0;
    for (int32_t i = 0; i < model.numRow; ++i) count += model.rowSense[i] == sense;
    return count;
}

/// The rows of `sense`, of which the record counts `expected` in its field `field`.
Status listRows(SolverInstance* instance, const Model& model, char sense, int32_t expected,
                const char* field, const char* kind, PoolArray<int32_t>& list) {
    if (expected < 1) return Status::ok;
    const int32_t count = countSense(model, sense);
    if (count != expected) {
        logText(instance, "%1zInput model with %s=%d, however real number of %s constraint is %d",
                field, expected, kind, count);
        return Status::failed;
    }
    OV_TRY(list.make(instance->pool, static_cast<std::size_t>(count)));
    int32_t at = 0;
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (model.rowSense[i] == sense) list[at++] = i;
    }
    return Status::ok;
}

void negateLElements(Model& model) {
    for (int32_t j = 0; j < model.numCol; ++j) {
        const int32_t end = model.colBegin[j] + model.colLength[j];
        for (int32_t k = model.colBegin[j]; k < end; ++k) {
            if (model.rowSense[model.rowIndex[k]] == 'L') model.matValue[k] = -model.matValue[k];
        }
    }
}

void turnLRows(Model& model, const TransformRecord& transform) {
    if (transform.numLcont < 1) return;
    negateLElements(model);
    for (const int32_t i : transform.lRowIndex) {
        model.rowSense[i] = 'G';
        model.rhs[i] = -model.rhs[i];
    }
}

void appendRangeColumn(Model& model, TransformRecord& transform, int32_t row) {
    const int32_t j = model.numCol++;
    const int32_t k = model.numCoef++;
    model.obj[j] = 0.0;
    model.lower[j] = 0.0;
    model.upper[j] = model.range[row];
    if (transform.lowerKeep != nullptr) {
        transform.lowerKeep[j] = 0.0;
        transform.upperKeep[j] = model.range[row];
    }
    model.colLength[j] = 1;
    model.rowIndex[k] = row;
    model.matValue[k] = 1.0;
    model.colBegin[j] = k;
    model.colBegin[j + 1] = k + 1;
    model.rowSense[row] = 'E';
    if (model.typeModel != modelTypeQp) return;
    model.quadDiag[j] = 0.0;
    model.quadColLength[j] = 0;
    model.quadColBegin[j] = model.numQuadCoef;
    model.quadColBegin[j + 1] = model.numQuadCoef;
}

}  // namespace

Status normaliseRows(SolverInstance* instance, Model& model, TransformRecord& transform) {
    transform.origNumRow = model.numRow;
    transform.origNumCol = model.numCol;
    transform.origNumCoef = model.numCoef;
    transform.origNumQuad = model.numQuadCoef;
    OV_TRY(listRows(instance, model, 'R', transform.numRange, "numRange", "range",
                    transform.rangeRowIndex));
    OV_TRY(
        listRows(instance, model, 'L', transform.numLcont, "numLcont", "L", transform.lRowIndex));
    turnLRows(model, transform);
    transform.rangeCoefBase = model.numCoef;
    transform.rangeColBase = model.numCol;
    if (transform.numRange < 1) return Status::ok;
    for (const int32_t row : transform.rangeRowIndex) appendRangeColumn(model, transform, row);
    return Status::ok;
}

void restoreRows(Model& model, TransformRecord& transform, IpmSolution& solution) {
    DirectionRecord* direction = transform.direction.get();
    model.numRow = transform.origNumRow;
    model.numCol = transform.origNumCol;
    model.numCoef = transform.origNumCoef;
    for (const int32_t i : transform.lRowIndex) {
        model.rowSense[i] = 'L';
        model.rhs[i] = -model.rhs[i];
        solution.solDual[i] = -solution.solDual[i];
        if (direction != nullptr) direction->solDualDelta[i] = -direction->solDualDelta[i];
    }
    if (transform.numLcont >= 1) negateLElements(model);
    int32_t column = transform.origNumCol;
    for (const int32_t row : transform.rangeRowIndex) {
        model.rowSense[row] = 'R';
        solution.ineqnSlack[row] = solution.solPrimal[column];
        if (direction != nullptr)
            direction->ineqnSlackDelta[row] = direction->solPrimalDelta[column];
        ++column;
    }
}

}  // namespace ovrelin
