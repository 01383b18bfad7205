#include "frame/operations/working_model.hpp"

#include <algorithm>

#include "linalg/sparse_columns.hpp"

namespace ovrelin {
namespace {

struct CopySizes {
    int32_t numRow, numCoef, numRange, numLcont;
};

CopySizes mapRows(const Model& in, PoolArray<int32_t>& rowMap) {
    CopySizes sizes{};
    for (int32_t i = 0; i < in.numRow; ++i) {
        const bool isFree = in.rowSense[i] == 'N';
        rowMap[i] = isFree ? -1 : sizes.numRow++;
        sizes.numRange += in.rowSense[i] == 'R';
        sizes.numLcont += in.rowSense[i] == 'L';
    }
    for (int32_t j = 0; j < in.numCol; ++j) {
        for (int32_t k = in.colBegin[j]; k < in.colBegin[j] + in.colLength[j]; ++k)
            sizes.numCoef += rowMap[in.rowIndex[k]] >= 0;
    }
    return sizes;
}

template <class T>
Status makeArray(MemoryPool* pool, PoolArray<T>& array, int32_t count, T*& view) {
    OV_TRY(array.make(pool, static_cast<std::size_t>(count), Fill::zero));
    view = array.data();
    return Status::ok;
}

Status allocLinearArrays(MemoryPool* pool, const Model& in, const CopySizes& sizes,
                         WorkingModel& w) {
    Model& out = w.model;
    const int32_t room = in.numCol + sizes.numRange;
    const int32_t elements = sizes.numCoef + sizes.numRange;
    OV_TRY(makeArray(pool, w.colBegin, room + 1, out.colBegin));
    OV_TRY(makeArray(pool, w.colLength, room, out.colLength));
    OV_TRY(makeArray(pool, w.rowIndex, elements, out.rowIndex));
    OV_TRY(makeArray(pool, w.matValue, elements, out.matValue));
    OV_TRY(makeArray(pool, w.obj, room, out.obj));
    OV_TRY(makeArray(pool, w.lower, room, out.lower));
    OV_TRY(makeArray(pool, w.upper, room, out.upper));
    OV_TRY(makeArray(pool, w.rowSense, sizes.numRow, out.rowSense));
    OV_TRY(makeArray(pool, w.rhs, sizes.numRow, out.rhs));
    if (in.range != nullptr) OV_TRY(makeArray(pool, w.range, sizes.numRow, out.range));
    OV_TRY(makeArray(pool, w.solPrimal, room, out.solPrimal));
    OV_TRY(makeArray(pool, w.solDual, sizes.numRow, out.solDual));
    OV_TRY(makeArray(pool, w.reducedCost, room, out.reducedCost));
    return makeArray(pool, w.rowActivity, sizes.numRow, out.rowActivity);
}

Status allocQuadArrays(MemoryPool* pool, const Model& in, int32_t numRange, WorkingModel& w) {
    Model& out = w.model;
    const int32_t room = in.numCol + numRange;
    OV_TRY(makeArray(pool, w.quadDiag, room, out.quadDiag));
    OV_TRY(makeArray(pool, w.quadColBegin, room + 1, out.quadColBegin));
    OV_TRY(makeArray(pool, w.quadColLength, room, out.quadColLength));
    OV_TRY(makeArray(pool, w.quadRowIndex, in.numQuadCoef, out.quadRowIndex));
    return makeArray(pool, w.quadMatValue, in.numQuadCoef, out.quadMatValue);
}

void copyRows(const Model& in, const PoolArray<int32_t>& rowMap, Model& out) {
    for (int32_t i = 0; i < in.numRow; ++i) {
        const int32_t row = rowMap[i];
        if (row < 0) continue;
        out.rowSense[row] = in.rowSense[i];
        out.rhs[row] = in.rhs[i];
        if (in.range != nullptr) out.range[row] = in.range[i];
    }
}

void copyColumns(const Model& in, const PoolArray<int32_t>& rowMap, Model& out) {
    std::copy_n(in.obj, in.numCol, out.obj);
    std::copy_n(in.lower, in.numCol, out.lower);
    std::copy_n(in.upper, in.numCol, out.upper);
    int32_t at = 0;
    for (int32_t j = 0; j < in.numCol; ++j) {
        out.colBegin[j] = at;
        for (int32_t k = in.colBegin[j]; k < in.colBegin[j] + in.colLength[j]; ++k) {
            const int32_t row = rowMap[in.rowIndex[k]];
            if (row < 0) continue;
            out.rowIndex[at] = row;
            out.matValue[at++] = in.matValue[k];
        }
        out.colLength[j] = at - out.colBegin[j];
    }
    out.colBegin[in.numCol] = at;
}

void copyQuadratic(const Model& in, Model& out) {
    if (in.quadDiag != nullptr) std::copy_n(in.quadDiag, in.numCol, out.quadDiag);
    if (in.numQuadCoef < 1) return;
    int32_t at = 0;
    for (int32_t j = 0; j < in.numCol; ++j) {
        const int32_t begin = in.quadColBegin[j];
        const int32_t length = in.quadColLength[j];
        out.quadColBegin[j] = at;
        out.quadColLength[j] = length;
        std::copy_n(in.quadRowIndex + begin, length, out.quadRowIndex + at);
        std::copy_n(in.quadMatValue + begin, length, out.quadMatValue + at);
        at += length;
    }
    out.quadColBegin[in.numCol] = at;
}

void startCopy(const Model& in, const CopySizes& sizes, Model& out) {
    out = Model{};
    out.typeModel = in.typeModel;
    out.numRow = sizes.numRow;
    out.numCol = in.numCol;
    out.numCoef = sizes.numCoef;
    out.numQuadCoef = in.numQuadCoef;
    out.objSense = in.objSense;
    out.objConstant = in.objConstant;
    out.checkSolverBreak = in.checkSolverBreak;
    out.hostmodelDataStruct = in.hostmodelDataStruct;
}

void restoreColumns(int32_t numCol, const IpmSolution& from, IpmSolution& to) {
    std::copy_n(from.solPrimal, numCol, to.solPrimal);
    std::copy_n(from.lowerSlack.data(), numCol, to.lowerSlack.data());
    std::copy_n(from.upperSlack.data(), numCol, to.upperSlack.data());
    std::copy_n(from.lowerDual.data(), numCol, to.lowerDual.data());
    std::copy_n(from.upperDual.data(), numCol, to.upperDual.data());
}

void restoreRowResults(int32_t numRow, const PoolArray<int32_t>& rowMap, const IpmSolution& from,
                       IpmSolution& to) {
    for (int32_t i = 0; i < numRow; ++i) {
        const int32_t row = rowMap[i];
        to.solDual[i] = row < 0 ? 0.0 : from.solDual[row];
        to.ineqnSlack[i] = row < 0 ? 0.0 : from.ineqnSlack[row];
    }
}

// The run ended without a point from which values could be computed.
bool hasNoPoint(Status status) {
    return status == Status::newPass || status == Status::outOfMemory ||
           status == Status::interrupted || status == Status::failed;
}

}  // namespace

Status makeWorkingModel(MemoryPool* pool, Model* inModel, TransformRecord& transform,
                        WorkingModel& working, IpmSolution& inSolution, IpmSolution& workSolution) {
    const Model& in = *inModel;
    OV_TRY(allocSolution(pool, in.numRow, in.numCol, in.solPrimal, in.solDual, inSolution));
    OV_TRY(working.rowMap.make(pool, static_cast<std::size_t>(in.numRow)));
    const CopySizes sizes = mapRows(in, working.rowMap);
    transform.numRange = sizes.numRange;
    transform.numLcont = sizes.numLcont;
    startCopy(in, sizes, working.model);
    OV_TRY(allocLinearArrays(pool, in, sizes, working));
    if (in.typeModel == modelTypeQp) OV_TRY(allocQuadArrays(pool, in, sizes.numRange, working));
    const Model& out = working.model;
    OV_TRY(allocSolution(pool, sizes.numRow, in.numCol + sizes.numRange, out.solPrimal, out.solDual,
                         workSolution));
    copyRows(in, working.rowMap, working.model);
    copyColumns(in, working.rowMap, working.model);
    if (in.typeModel == modelTypeQp) copyQuadratic(in, working.model);
    working.inModel = inModel;
    return Status::ok;
}

Status allocSolution(MemoryPool* pool, int32_t numRow, int32_t numColExtended, double* solPrimal,
                     double* solDual, IpmSolution& solution) {
    const auto columns = static_cast<std::size_t>(numColExtended);
    solution.solPrimal = solPrimal;
    solution.solDual = solDual;
    OV_TRY(solution.lowerSlack.make(pool, columns, Fill::zero));
    OV_TRY(solution.upperSlack.make(pool, columns, Fill::zero));
    OV_TRY(solution.lowerDual.make(pool, columns, Fill::zero));
    OV_TRY(solution.upperDual.make(pool, columns, Fill::zero));
    return solution.ineqnSlack.make(pool, static_cast<std::size_t>(numRow), Fill::zero);
}

void restoreCallerModel(WorkingModel& working, const IpmSolution& workSolution,
                        IpmSolution& inSolution) {
    Model& in = *working.inModel;
    restoreColumns(in.numCol, workSolution, inSolution);
    restoreRowResults(in.numRow, working.rowMap, workSolution, inSolution);
    releaseWorkingModel(working);
    if (!hasNoPoint(in.status)) recomputeModelValues(in);
}

void releaseWorkingModel(WorkingModel& working) {
    if (working.inModel == nullptr) return;
    const Model& out = working.model;
    Model& in = *working.inModel;
    in.status = out.status;
    in.objValue = out.objValue;
    in.iterations = out.iterations;
    in.primalInfeas = out.primalInfeas;
    in.dualInfeas = out.dualInfeas;
    in.boundInfeas = out.boundInfeas;
    in.dualityGap = out.dualityGap;
    in.complementarity = out.complementarity;
    working = WorkingModel{};
}

void recomputeModelValues(Model& model) {
    const double linear = dotProduct(model.numCol, model.obj, model.solPrimal);
    const bool isQp = model.typeModel == modelTypeQp;
    const double* diagonal = isQp ? model.quadDiag : nullptr;
    const int32_t* triangle = isQp && model.numQuadCoef > 0 ? model.quadColBegin : nullptr;
    const double quadratic = quadraticForm(model.numCol, diagonal, triangle, model.quadColLength,
                                           model.quadRowIndex, model.quadMatValue, model.solPrimal);
    model.objValue = (linear + quadratic + model.objConstant) * model.objSense;

    std::fill_n(model.rowActivity, model.numRow, 0.0);
    addProduct(1.0, model.numCol, model.colBegin, model.colLength, model.rowIndex, model.matValue,
               model.solPrimal, model.rowActivity);

    std::copy_n(model.obj, model.numCol, model.reducedCost);
    addTransposedProduct(-1.0, model.numCol, model.colBegin, model.colLength, model.rowIndex,
                         model.matValue, model.solDual, model.reducedCost);
    addSymmetricProduct(1.0, model.numCol, diagonal, triangle, model.quadColLength,
                        model.quadRowIndex, model.quadMatValue, model.solPrimal, model.reducedCost);
}

}  // namespace ovrelin
