// A model as it was read, as the engine's C++ face takes it.
#pragma once

#include "host/problem.hpp"
#include "modelio/model_data.hpp"

namespace ov::cli {

inline Problem toProblem(const modelio::ModelData& model) {
    Problem p;
    p.name = model.name;
    p.objSense = model.objSense;
    p.objConstant = model.objConstant;
    p.obj = model.obj;
    p.quadDiag = model.quadDiag;
    p.quad = {model.quadColBegin, model.quadRowIndex, model.quadMatValue};
    p.matrix = {model.colBegin, model.rowIndex, model.matValue};
    p.rowSense = model.rowSense;
    p.rhs = model.rhs;
    p.range = model.range;
    p.lower = model.lower;
    p.upper = model.upper;
    return p;
}

}  // namespace ov::cli
