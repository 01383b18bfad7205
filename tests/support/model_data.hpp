// A problem together with the module's own record on its arrays, for tests below the entry of a
// solve.
#pragma once

#include "frame/operations/caller_arrays.hpp"
#include "host/ov.hpp"

namespace ovtest {

struct ModelData : ov::Problem {
    ModelData() = default;
    ModelData(const ModelData&) = delete;
    ModelData& operator=(const ModelData&) = delete;

    std::vector<std::int32_t> colLength, quadColLength;
    std::vector<double> solPrimal, solDual, reducedCost, rowActivity;
    ovrelin::Model model{};

    /// Makes the arrays that the record adds and points it at all of them.
    void bind(std::int32_t typeModel = ovrelin::modelTypeQp) {
        colLength = lengths(matrix);
        quadColLength = lengths(quad);
        solPrimal.resize(numCol());
        reducedCost.resize(numCol());
        solDual.resize(numRow());
        rowActivity.resize(numRow());
        ProblemInput input = ov::inputRecord(*this);
        input.solPrimal = solPrimal.data();
        input.solDual = solDual.data();
        input.rowActivity = rowActivity.data();
        ovrelin::viewProblem(input, model);
        model.typeModel = typeModel;
        model.colLength = colLength.data();
        model.quadColLength = quadColLength.data();
        model.reducedCost = reducedCost.data();
    }

private:
    static std::vector<std::int32_t> lengths(const ov::SparseMatrix& matrix) {
        std::vector<std::int32_t> out;
        for (std::size_t j = 0; j + 1 < matrix.begin.size(); ++j)
            out.push_back(matrix.begin[j + 1] - matrix.begin[j]);
        return out;
    }
};

}  // namespace ovtest
