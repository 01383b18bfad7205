// Residuals of a returned point, recomputed from the model as read: nothing that the solver
// measured.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/ov.hpp"

namespace bench {

/// Row violation, bound violation, and the worst sign or complementarity fault of duals and reduced
/// costs; each relative.
struct Residuals {
    double rows = 0, bounds = 0, duals = 0;
};

inline double violation(double value, double low, double high) {
    return std::max({0.0, low - value, value - high}) / (1 + std::fabs(value));
}

/// A dual of magnitude d may only stand at distance 0 from the side that its sign names.
inline double dualFault(double dual, double value, double low, double high, double scale) {
    if (low == high) return 0;
    const double side = dual > 0 ? low : high;
    const double distance = std::fabs(side) >= 1e20
                                ? 1.0
                                : std::min(1.0, std::fabs(value - side) / (1 + std::fabs(value)));
    return std::fabs(dual) * distance / scale;
}

inline void rowSides(const ov::Problem& p, std::size_t i, double& low, double& high) {
    const char sense = p.rowSense[i];
    low = sense == 'L' || sense == 'N' ? -1e20 : p.rhs[i];
    high = sense == 'G' || sense == 'N' ? 1e20 : sense == 'R' ? p.rhs[i] + p.range[i] : p.rhs[i];
}

inline Residuals residuals(const ov::Problem& p, const ov::Result& r) {
    std::vector<double> activity(p.numRow(), 0.0);
    for (std::size_t j = 0; j < p.numCol(); ++j)
        for (auto k = p.matrix.begin[j]; k < p.matrix.begin[j + 1]; ++k)
            activity[static_cast<std::size_t>(p.matrix.index[static_cast<std::size_t>(k)])] +=
                p.matrix.value[static_cast<std::size_t>(k)] * r.x[j];
    double scale = 1;
    for (const double c : p.obj) scale = std::max(scale, std::fabs(c));
    Residuals out;
    for (std::size_t i = 0; i < p.numRow(); ++i) {
        double low = 0, high = 0;
        rowSides(p, i, low, high);
        out.rows = std::max(out.rows, violation(activity[i], low, high));
        out.duals =
            std::max(out.duals, dualFault(p.objSense * r.dual[i], activity[i], low, high, scale));
    }
    for (std::size_t j = 0; j < p.numCol(); ++j) {
        out.bounds = std::max(out.bounds, violation(r.x[j], p.lower[j], p.upper[j]));
        out.duals = std::max(out.duals, dualFault(p.objSense * r.reducedCost[j], r.x[j], p.lower[j],
                                                  p.upper[j], scale));
    }
    return out;
}

}  // namespace bench
