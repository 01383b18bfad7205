// Which row a column's bound comes from. Every bound that a row implies is remembered in lbMap or
// ubMap, so that the way back can hand the bound's dual to that row; when a newer bound displaces
// it, the older row loses its reason, and its state moves down:
//
//   state of the displaced row   by a new lower bound    by a new upper bound
//   ROWMAP_LOWER                 ROWMAP_FREE             -
//   ROWMAP_UPPER                 -                       ROWMAP_FREE
//   ROWMAP_RANGE                 ROWMAP_UPPER            ROWMAP_LOWER
//
// A live row loses nothing. A displaced row in any other state is reported; the new bound stands.
#pragma once

#include "presolve/presolver.hpp"

namespace ovrelin {

enum class Side { lower, upper };

constexpr Side opposite(Side side) {
    return side == Side::lower ? Side::upper : Side::lower;
}

inline PoolArray<double>& boundsOf(Presolver& presolver, Side side) {
    return side == Side::lower ? presolver.lower : presolver.upper;
}
inline PoolArray<int32_t>& boundMapOf(Presolver& presolver, Side side) {
    return side == Side::lower ? presolver.lbMap : presolver.ubMap;
}

/// The bound of `col` on `side` now comes from `row`: updateMapLower and updateMapUpper in one.
void updateMap(const SolverInstance* instance, Presolver& presolver, Side side, int32_t col,
               int32_t row);

/// Writes the bound, which comes from `row` now. Only a bound that names another row already and
/// moves by no more than primalTol, often by rounding alone, keeps its origin: a bound that `row`
/// has implied for another column may rest on it, and with `row` as the origin of both each would
/// hand its dual on to the other without end. Returns whether the bound names `row` now.
bool moveBound(const SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
               Side side, int32_t col, double value, int32_t row);

}  // namespace ovrelin
