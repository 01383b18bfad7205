// Models whose quadratic term bends the wrong way where d < 2.
#pragma once

#include <cmath>
#include <numbers>

#include "support/ov_problem.hpp"

namespace ovtest {

/// min x'Qx / 2 + sum x_j with [d 2; 2 d] on the first two columns: eigenvalues d - 2 and d + 2.
inline SmallProblem coupled(double d, std::size_t n) {
    SmallProblem p = box(std::vector(n, -absent), std::vector(n, absent));
    for (std::size_t j = 0; j < n; ++j) p.q[j * n + j] = j < 2 ? d : 3;
    p.q[1] = p.q[n] = 2;
    return p;
}

/// Elements of 1, 2 and 3 in turn.
inline void addTurningRow(SmallProblem& p, char sense, double rhs) {
    std::vector<double> row;
    for (int j = 0; j < p.numCol; ++j) row.push_back(1 + (p.numRow + j) % 3);
    addRow(p, sense, sense == 'L' || sense == 'N' ? -absent : rhs,
           sense == 'G' || sense == 'N' ? absent : rhs, row);
}

inline ov::Problem withInequality(double d) {
    SmallProblem p = coupled(d, 3);
    addTurningRow(p, 'G', -4);
    addTurningRow(p, 'L', 9);
    p.lower.assign(3, -5);
    return toProblem(p);
}

/// Free columns and equations only: one linear system gives the point where the gradient vanishes.
inline ov::Problem freeEquations(double d) {
    SmallProblem p = coupled(d, 4);
    addTurningRow(p, 'E', 2);
    return toProblem(p);
}

/// A chain of many columns, so that the eigenvalue solver iterates: the smallest eigenvalue is d
/// - 2.
inline ov::Problem longChain(double d) {
    constexpr std::size_t n = 120;
    SmallProblem p = box(std::vector(n, -3.0), std::vector(n, absent));
    for (std::size_t j = 0; j < n; ++j) {
        p.q[j * n + j] = d - 2 + 2 * std::cos(std::numbers::pi / (n + 1.0));
        if (j + 1 < n) p.q[j * n + j + 1] = p.q[(j + 1) * n + j] = -1;
    }
    addTurningRow(p, 'G', 1);
    return toProblem(p);
}

}  // namespace ovtest
