#include "presolve/bound_map.hpp"

#include <cmath>

#include "frame/log.hpp"

namespace ovrelin {
namespace {

const char* finalStateName(int32_t state) {
    switch (state) {
        case ROWMAP_FIXED:
            return "ROWMAP_FIXED";
        case ROWMAP_EMPTY:
            return "ROWMAP_EMPTY";
        case ROWMAP_POSTDET:
            return "ROWMAP_POSTDET";
        default:
            return nullptr;
    }
}

void reportDisplaced(const SolverInstance* instance, Side side, int32_t col, int32_t row,
                     int32_t state) {
    const char* routine = side == Side::lower ? "updateMapLower" : "updateMapUpper";
    if (state == ROWMAP_FREE)
        logText(instance, "Error %s: col=%d  row=%d  ROWMAP_FREE case should not happen.", routine,
                col, row);
    else if (const char* name = finalStateName(state))
        logText(instance, "Error %s: col=%d  row=%d  %s shall never change bound again.", routine,
                col, row, name);
    else
        logText(instance, "col=%d  row=%d  rowMap=%d  unknown rowMap type.", col, row, state);
}

}  // namespace

void updateMap(const SolverInstance* instance, Presolver& presolver, Side side, int32_t col,
               int32_t row) {
    int32_t& defining = boundMapOf(presolver, side)[col];
    const int32_t old = defining;
    defining = row;
    if (old < 0 || old == row || presolver.rowMap[old] >= 0) return;
    const int32_t same = side == Side::lower ? ROWMAP_LOWER : ROWMAP_UPPER;
    const int32_t other = side == Side::lower ? ROWMAP_UPPER : ROWMAP_LOWER;
    int32_t& state = presolver.rowMap[old];
    if (state == same)
        state = ROWMAP_FREE;
    else if (state == ROWMAP_RANGE)
        state = other;
    else if (state != other)
        reportDisplaced(instance, side, col, row, state);
}

bool moveBound(const SolverInstance* instance, const SolveOptions& options, Presolver& presolver,
               Side side, int32_t col, double value, int32_t row) {
    double& bound = boundsOf(presolver, side)[col];
    const int32_t old = boundMapOf(presolver, side)[col];
    const bool keepsOrigin =
        old >= 0 && old != row && std::fabs(bound - value) <= options.primalTol;
    bound = value;
    if (keepsOrigin) return false;
    updateMap(instance, presolver, side, col, row);
    return true;
}

}  // namespace ovrelin
