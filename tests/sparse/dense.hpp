// A small matrix for tests of dense kernels, with NaN wherever they must not read.
#pragma once

#include <cmath>

#include "sparse/kernel/product.hpp"
#include "support/array.hpp"

namespace ovtest {

/// Column-major with a few unused rows at the end of each column, which hold NaN.
struct Dense {
    std::int32_t rows, cols, ld;
    Array<double> value;

    Dense(std::int32_t r, std::int32_t c) : Dense(r, c, r + 3) {}
    Dense(std::int32_t r, std::int32_t c, std::int32_t leading)
        : rows(r), cols(c), ld(leading), value(ld * c + 8, NAN) {}

    double& at(std::int32_t r, std::int32_t c) { return value[r + c * ld]; }
    [[nodiscard]] double at(std::int32_t r, std::int32_t c) const { return value[r + c * ld]; }
    ovrelin::Block block() { return {value.data(), ld}; }
    [[nodiscard]] ovrelin::ConstBlock constant() const { return {value.data(), ld}; }

    Dense& fill(std::mt19937& random, bool lowerOnly = false) {
        std::uniform_real_distribution<double> draw(-1, 1);
        for (std::int32_t c = 0; c < cols; ++c)
            for (std::int32_t r = lowerOnly ? c : 0; r < rows; ++r) at(r, c) = draw(random);
        return *this;
    }
};

}  // namespace ovtest
