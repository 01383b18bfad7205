#include "frame/operations/caller_arrays.hpp"

#include <algorithm>

namespace ovrelin {
namespace {

void negate(double* values, int32_t count) {
    for (int32_t k = 0; k < count; ++k) values[k] = -values[k];
}

bool isHuge(double value) {
    return value < -hugeInput || value > hugeInput;
}

bool anyHuge(const double* values, int32_t begin, int32_t end) {
    for (int32_t k = begin; k < end; ++k) {
        if (isHuge(values[k])) return true;
    }
    return false;
}

Status makeLengths(MemoryPool* pool, int32_t numCol, const int32_t* begin,
                   PoolArray<int32_t>& length) {
    OV_TRY(length.make(pool, static_cast<std::size_t>(numCol)));
    for (int32_t j = 0; j < numCol; ++j) length[j] = begin[j + 1] - begin[j];
    return Status::ok;
}

bool isProperRange(const Model& model, int32_t i) {
    return model.rowSense[i] == 'R' && model.range != nullptr && model.range[i] != 0.0;
}

Status keepRangeRhs(MemoryPool* pool, const Model& model, PoolArray<double>& rangeRhs) {
    std::size_t numRange = 0;
    for (int32_t i = 0; i < model.numRow; ++i) numRange += isProperRange(model, i);
    if (numRange == 0) return Status::ok;
    OV_TRY(rangeRhs.make(pool, numRange));
    std::size_t at = 0;
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (isProperRange(model, i)) rangeRhs[at++] = model.rhs[i];
    }
    return Status::ok;
}

bool columnsHuge(const Model& model) {
    if (anyHuge(model.obj, 0, model.numCol)) return true;
    if (model.numCoef > 0 &&
        anyHuge(model.matValue, model.colBegin[0], model.colBegin[model.numCol]))
        return true;
    if (model.quadDiag != nullptr && anyHuge(model.quadDiag, 0, model.numCol)) return true;
    return model.numQuadCoef > 0 &&
           anyHuge(model.quadMatValue, model.quadColBegin[0], model.quadColBegin[model.numCol]);
}

}  // namespace

void viewProblem(const ProblemInput& problem, Model& model) {
    model.typeModel = modelTypeQp;
    model.numRow = problem.numRow;
    model.numCol = problem.numCol;
    model.numCoef = problem.numCoef;
    model.numQuadCoef = problem.numQuadCoef;
    model.colBegin = problem.colBegin;
    model.rowIndex = problem.rowIndex;
    model.matValue = problem.matValue;
    model.quadDiag = problem.quadDiag;
    model.quadColBegin = problem.quadColBegin;
    model.quadRowIndex = problem.quadRowIndex;
    model.quadMatValue = problem.quadMatValue;
    model.objSense = problem.objSense;
    model.objConstant = problem.objConstant;
    model.obj = problem.obj;
    model.rowSense = problem.rowSense;
    model.rhs = problem.rhs;
    model.range = problem.range;
    model.lower = problem.lower;
    model.upper = problem.upper;
    model.solPrimal = problem.solPrimal;
    model.solDual = problem.solDual;
    model.rowActivity = problem.rowActivity;
    model.checkSolverBreak = problem.checkSolverBreak;
    model.hostmodelDataStruct = problem.hostmodelDataStruct;
}

Status makeDerivedArrays(MemoryPool* pool, Model& model, DerivedArrays& derived) {
    const auto numCol = static_cast<std::size_t>(model.numCol);
    if (model.colBegin == nullptr) {
        OV_TRY(derived.colBegin.make(pool, numCol + 1, Fill::zero));
        model.colBegin = derived.colBegin.data();
    }
    OV_TRY(makeLengths(pool, model.numCol, model.colBegin, derived.colLength));
    model.colLength = derived.colLength.data();
    if (model.numQuadCoef >= 1) {
        OV_TRY(makeLengths(pool, model.numCol, model.quadColBegin, derived.quadColLength));
        model.quadColLength = derived.quadColLength.data();
    }
    OV_TRY(derived.reducedCost.make(pool, numCol, Fill::zero));
    model.reducedCost = derived.reducedCost.data();
    return keepRangeRhs(pool, model, derived.rangeRhs);
}

void negateObjective(Model& model) {
    negate(model.obj, model.numCol);
    if (model.quadDiag != nullptr) negate(model.quadDiag, model.numCol);
    if (model.numQuadCoef < 1) return;
    const int32_t first = model.quadColBegin[0];
    negate(model.quadMatValue + first, model.quadColBegin[model.numCol] - first);
}

void raiseRangeRows(Model& model) {
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (model.rowSense[i] != 'R') continue;
        if (isProperRange(model, i)) {
            model.rhs[i] += model.range[i];
        } else {
            model.rowSense[i] = 'E';
        }
    }
}

void lowerRangeRows(Model& model, const DerivedArrays& derived) {
    // (rhs + range) - range rounds; the kept value does not
    std::size_t at = 0;
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (model.rowSense[i] == 'R') model.rhs[i] = derived.rangeRhs[at++];
    }
}

Status checkNumbers(Model& model) {
    if (columnsHuge(model)) return Status::failed;
    for (int32_t i = 0; i < model.numRow; ++i) {
        if (isHuge(model.rhs[i])) return Status::failed;
        if (model.range == nullptr) continue;
        if (model.rowSense[i] != 'R') {
            model.range[i] = 0.0;
        } else if (isHuge(model.range[i])) {
            return Status::failed;
        }
    }
    return Status::ok;
}

void zeroResults(Model& model) {
    std::fill_n(model.solPrimal, model.numCol, 0.0);
    std::fill_n(model.solDual, model.numRow, 0.0);
    std::fill_n(model.rowActivity, model.numRow, 0.0);
}

}  // namespace ovrelin
