// Models whose quadratic term bends the wrong way where d < 2.
#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/ov.hpp"

namespace ovtest {

/// min x'Qx / 2 with [d 2; 2 d] on the first two columns: eigenvalues d - 2 and d + 2.
inline ov::Problem coupled(double d, std::size_t numCol) {
    ov::Problem p;
    p.obj.assign(numCol, 1.0);
    p.quadDiag.assign(numCol, 3.0);
    p.quadDiag[0] = p.quadDiag[1] = d;
    p.quad.begin.assign(numCol + 1, 1);
    p.quad.begin[0] = 0;
    p.quad.index = {1};
    p.quad.value = {2};
    p.lower.assign(numCol, -1e20);
    p.upper.assign(numCol, 1e20);
    p.matrix.begin.assign(numCol + 1, 0);
    return p;
}

inline void addRow(ov::Problem& p, char sense, double rhs) {
    const std::size_t n = p.numCol(), row = p.rowSense.size();
    ov::SparseMatrix wider;
    wider.begin.push_back(0);
    for (std::size_t j = 0; j < n; ++j) {
        const auto end = static_cast<std::size_t>(p.matrix.begin[j + 1]);
        for (auto k = static_cast<std::size_t>(p.matrix.begin[j]); k < end; ++k) {
            wider.index.push_back(p.matrix.index[k]);
            wider.value.push_back(p.matrix.value[k]);
        }
        wider.index.push_back(static_cast<std::int32_t>(row));
        wider.value.push_back(1.0 + static_cast<double>((row + j) % 3));
        wider.begin.push_back(static_cast<std::int32_t>(wider.index.size()));
    }
    p.matrix = wider;
    p.rowSense.push_back(sense);
    p.rhs.push_back(rhs);
}

inline ov::Problem withInequality(double d) {
    ov::Problem p = coupled(d, 3);
    addRow(p, 'G', -4);
    addRow(p, 'L', 9);
    std::fill(p.lower.begin(), p.lower.end(), -5.0);
    return p;
}

/// Free columns and equations only: one linear system gives the point where the gradient vanishes.
inline ov::Problem freeEquations(double d) {
    ov::Problem p = coupled(d, 4);
    addRow(p, 'E', 2);
    return p;
}

/// A chain of many columns, so that the eigenvalue solver iterates: the smallest eigenvalue is d
/// - 2.
inline ov::Problem longChain(double d) {
    ov::Problem p;
    const std::size_t n = 120;
    for (std::size_t j = 0; j < n; ++j) {
        p.quadDiag.push_back(d - 2 + 2 * std::cos(std::numbers::pi / (n + 1.0)));
        p.quad.begin.push_back(static_cast<std::int32_t>(j));
        if (j + 1 < n) p.quad.index.push_back(static_cast<std::int32_t>(j) + 1);
        if (j + 1 < n) p.quad.value.push_back(-1);
    }
    p.quad.begin.push_back(static_cast<std::int32_t>(n) - 1);
    p.obj.assign(n, 1.0);
    p.lower.assign(n, -3.0);
    p.upper.assign(n, 1e20);
    p.matrix.begin.assign(n + 1, 0);
    addRow(p, 'G', 1);
    return p;
}

}  // namespace ovtest
