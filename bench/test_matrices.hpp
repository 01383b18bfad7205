// The symmetric matrices of the sparse solver's benchmark: KKT matrices of models, and grids.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "modelio/model_data.hpp"

namespace bench {

/// Both triangles by columns; the diagonal is always there.
struct Matrix {
    std::string name;
    std::int32_t n = 0;
    std::int32_t firstBlock = 0;  // size of the leading block, 0 without one
    std::vector<std::int32_t> begin, row;
    std::vector<double> value;
};

/// Collects entries of the lower triangle and mirrors them.
class MatrixBuilder {
public:
    MatrixBuilder(std::string name, std::size_t n) : columns_(n) { matrix_.name = std::move(name); }

    void diagonal(std::size_t i, double value) { add(i, i, value); }
    void offDiagonal(std::size_t i, std::size_t j, double value) {
        add(i, j, value);
        add(j, i, value);
    }

    Matrix take() {
        matrix_.n = static_cast<std::int32_t>(columns_.size());
        matrix_.begin.push_back(0);
        for (const auto& column : columns_) {
            for (const auto& [row, value] : column) {
                matrix_.row.push_back(row);
                matrix_.value.push_back(value);
            }
            matrix_.begin.push_back(static_cast<std::int32_t>(matrix_.row.size()));
        }
        return std::move(matrix_);
    }

private:
    void add(std::size_t i, std::size_t j, double value) {
        columns_[j].emplace_back(static_cast<std::int32_t>(i), value);
    }

    Matrix matrix_;
    std::vector<std::vector<std::pair<std::int32_t, double>>> columns_;
};

/// The KKT matrix of a model at a starting point, [Q + N, -A'; -A, -S]: N the number of a column's
/// finite bounds, S 1 on inequalities and 0 on equations; the diagonal at least 1e-10 in size.
inline Matrix kktMatrix(std::string name, const ov::modelio::ModelData& model) {
    constexpr double least = 1e-10, noBound = 1e20;
    const std::size_t numCol = model.obj.size(), numRow = model.rhs.size();
    MatrixBuilder builder(std::move(name), numCol + numRow);
    for (std::size_t j = 0; j < numCol; ++j) {
        const double bounds =
            (model.lower[j] > -noBound ? 1 : 0) + (model.upper[j] < noBound ? 1 : 0);
        builder.diagonal(
            j, std::max(least, (model.quadDiag.empty() ? 0 : model.quadDiag[j]) + bounds));
        if (!model.quadColBegin.empty())
            for (auto k = model.quadColBegin[j]; k < model.quadColBegin[j + 1]; ++k) {
                const auto at = static_cast<std::size_t>(k);
                builder.offDiagonal(static_cast<std::size_t>(model.quadRowIndex[at]), j,
                                    model.quadMatValue[at]);
            }
        for (auto k = model.colBegin[j]; k < model.colBegin[j + 1]; ++k) {
            const auto at = static_cast<std::size_t>(k);
            builder.offDiagonal(numCol + static_cast<std::size_t>(model.rowIndex[at]), j,
                                -model.matValue[at]);
        }
    }
    for (std::size_t i = 0; i < numRow; ++i)
        builder.diagonal(numCol + i, model.rowSense[i] == 'E' ? -least : -1.0);
    Matrix matrix = builder.take();
    matrix.firstBlock = static_cast<std::int32_t>(numCol);
    return matrix;
}

/// The second differences of a box of width x height x depth points, shifted to be definite.
inline Matrix gridMatrix(std::size_t width, std::size_t height, std::size_t depth) {
    std::string name = "grid" + std::to_string(width) + "x" + std::to_string(height);
    if (depth > 1) name += "x" + std::to_string(depth);
    MatrixBuilder builder(std::move(name), width * height * depth);
    for (std::size_t z = 0; z < depth; ++z)
        for (std::size_t y = 0; y < height; ++y)
            for (std::size_t x = 0; x < width; ++x) {
                const std::size_t at = (z * height + y) * width + x;
                builder.diagonal(at, depth > 1 ? 6.01 : 4.01);
                if (x + 1 < width) builder.offDiagonal(at + 1, at, -1);
                if (y + 1 < height) builder.offDiagonal(at + width, at, -1);
                if (z + 1 < depth) builder.offDiagonal(at + width * height, at, -1);
            }
    return builder.take();
}

}  // namespace bench
