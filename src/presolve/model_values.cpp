#include "presolve/model_values.hpp"

#include <algorithm>

#include "linalg/sparse_columns.hpp"

namespace ovrelin {
namespace {

/// The triangle's column starts, or null: a diagonal Q may come without any triangle.
const int32_t* triangle(const Model& model) {
    return model.numQuadCoef > 0 ? model.quadColBegin : nullptr;
}

}  // namespace

double quadraticValue(const Model& model, const double* x) {
    if (model.typeModel != modelTypeQp) return 0;
    return quadraticForm(model.numCol, model.quadDiag, triangle(model), model.quadColLength,
                         model.quadRowIndex, model.quadMatValue, x);
}

void addQuadraticProduct(const Model& model, const double* x, double* y) {
    if (model.typeModel != modelTypeQp) return;
    addSymmetricProduct(1, model.numCol, model.quadDiag, triangle(model), model.quadColLength,
                        model.quadRowIndex, model.quadMatValue, x, y);
}

void recomputeModelValues(Model& model) {
    const double* x = model.solPrimal;
    model.objValue =
        (dotProduct(model.numCol, model.obj, x) + quadraticValue(model, x) + model.objConstant) *
        model.objSense;
    std::fill_n(model.rowActivity, model.numRow, 0.0);
    addProduct(1, model.numCol, model.colBegin, model.colLength, model.rowIndex, model.matValue, x,
               model.rowActivity);
    std::copy_n(model.obj, model.numCol, model.reducedCost);
    addTransposedProduct(-1, model.numCol, model.colBegin, model.colLength, model.rowIndex,
                         model.matValue, model.solDual, model.reducedCost);
    addQuadraticProduct(model, x, model.reducedCost);
}

}  // namespace ovrelin
