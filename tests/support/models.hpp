// Models that several tests solve.
#pragma once

#include <random>

#include "host/ov.hpp"

namespace ovtest {

/// min (x1 - 1)^2 + (x2 - 2.5)^2 + x1 x2 / 2 with rows of every constraining sense; optimum inside
/// the box for x1, so that every part of the method works on it.
inline ov::Problem smallQuadratic() {
    ov::Problem p;
    p.obj = {-2, -5, 1};
    p.objConstant = 7.25;
    p.quadDiag = {2, 2, 0.5};
    p.quad = {{0, 1, 1, 1}, {1}, {0.5}};
    p.matrix = {{0, 3, 6, 8}, {0, 1, 2, 0, 1, 2, 0, 3}, {1, -1, 1, 2, 1, -1, 1, 1}};
    p.rowSense = {'G', 'L', 'R', 'E'};
    p.rhs = {-2, 6, -3, 1};
    p.range = {0, 0, 4, 0};
    p.lower = {0, 0, -1e20};
    p.upper = {1e20, 3, 1e20};
    return p;
}

/// min 0.5 sum q_i x_i^2 + c_i x_i, sum x_i = 4, 0 <= x <= 3: separable, one equation.
inline ov::Problem smallSeparable() {
    ov::Problem p;
    p.obj = {1, -1, 0.5, 0};
    p.quadDiag = {1, 2, 0.5, 4};
    p.matrix = {{0, 1, 2, 3, 4}, {0, 0, 0, 0}, {1, 1, 1, 1}};
    p.rowSense = {'E'};
    p.rhs = {4};
    p.lower = {0, 0, 0, 0};
    p.upper = {3, 3, 3, 3};
    return p;
}

/// A quadratic model of which the presolver takes most: x0 is fixed by a singleton, the second row
/// then forces x1 and x2, the third is redundant and leaves x3 alone, the fourth becomes a bound of
/// x4. Left are x4 and x5 with three rows and bounds that rows imply. The duals of the removed rows
/// have to be found on the way back.
inline ov::Problem reducibleQuadratic() {
    ov::Problem p;
    p.obj = {1, -2, 3, -1, -4, 1};
    p.quadDiag = {1, 1, 0, 2, 2, 1};
    p.quad = {{0, 1, 1, 1, 1, 2, 2}, {4, 5}, {0.25, 0.5}};
    p.matrix = {{0, 2, 5, 6, 7, 11, 14},
                {0, 1, 1, 2, 3, 1, 2, 3, 4, 5, 6, 4, 5, 6},
                {2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, -1}};
    p.rowSense = {'E', 'L', 'L', 'R', 'G', 'R', 'L'};
    p.rhs = {4, 2, 50, -3, 1, 2, 3};
    p.range = {0, 0, 0, 40, 0, 3, 0};
    p.lower = {-1e20, 0, 0, -1, 0, 0};
    p.upper = {1e20, 5, 5, 1, 1e20, 1e20};
    return p;
}

/// An obstacle problem on an n x n grid: min 0.5 x'Lx - f'x over x >= 0 and n coupling rows, with L
/// the five-point Laplacian. Its factor grows with n^2 log n, so that a factorisation takes long
/// enough to be interrupted.
inline ov::Problem gridObstacle(std::int32_t n, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> load(-1, 1);
    ov::Problem p;
    p.quad.begin.push_back(0);
    p.matrix.begin.push_back(0);
    for (std::int32_t i = 0; i < n; ++i)
        for (std::int32_t j = 0; j < n; ++j) {
            p.obj.push_back(load(random));
            p.quadDiag.push_back(4.01);
            const std::int32_t at = i * n + j;
            if (j + 1 < n) p.quad.index.push_back(at + 1), p.quad.value.push_back(-1);
            if (i + 1 < n) p.quad.index.push_back(at + n), p.quad.value.push_back(-1);
            p.quad.begin.push_back(static_cast<std::int32_t>(p.quad.index.size()));
            p.matrix.index.push_back(j);
            p.matrix.value.push_back(1);
            p.matrix.begin.push_back(static_cast<std::int32_t>(p.matrix.index.size()));
            p.lower.push_back(-0.25);
            p.upper.push_back(1e20);
        }
    p.rowSense.assign(static_cast<std::size_t>(n), 'G');
    p.rhs.assign(static_cast<std::size_t>(n), -1.0);
    return p;
}

}  // namespace ovtest
