#include "presolve/reductions.hpp"

#include <cmath>

#include "frame/log.hpp"

namespace ovrelin {
namespace {

/// Takes list `major` out of all lists of the other order.
void removeFromOthers(const SolverInstance* instance, int32_t major, const LiveLists& lists,
                      LiveLists& others) {
    const int32_t first = lists.begin[major];
    for (int32_t k = first; k < first + lists.length[major]; ++k)
        removeElement(instance, major, lists.index[k], others);
}

/// Moves the share of column `col`, fixed at `value`, in one triangle of Q to its neighbours' obj.
void moveQuadShare(const SolverInstance* instance, Presolver& presolver, int32_t col, double value,
                   LiveLists& lists, LiveLists& others) {
    const int32_t first = lists.begin[col];
    for (int32_t k = first; k < first + lists.length[col]; ++k) {
        presolver.obj[lists.index[k]] += lists.value[k] * value;
        presolver.colProcessed[lists.index[k]] = 0;
    }
    removeFromOthers(instance, col, lists, others);
    presolver.numRemovedQuadElement += lists.length[col];
    lists.length[col] = 0;
}

bool isUnbounded(const Model& model, double infinity, const Presolver& presolver, int32_t col) {
    if (model.typeModel == modelTypeEquations) return false;
    const bool noLower = presolver.lower[col] < -infinity;
    const bool noUpper = presolver.upper[col] > infinity;
    const double diag =
        model.typeModel == modelTypeQp && model.quadDiag != nullptr ? model.quadDiag[col] : 0;
    if (diag > 0) return false;
    if (diag < 0) return noLower || noUpper;
    const double cost = presolver.obj[col];
    return (cost > 0 && noLower) || (cost < 0 && noUpper);
}

/// `rhs` is what the fixed columns have left of the right-hand side.
bool emptyRowFails(char sense, double rhs, double range, double tolerance) {
    switch (sense) {
        case OVRELIN_ROW_EQUAL:
            return std::fabs(rhs) > tolerance;
        case OVRELIN_ROW_LESS:
            return rhs < -tolerance;
        case OVRELIN_ROW_GREATER:
            return rhs > tolerance;
        case OVRELIN_ROW_RANGE:
            return rhs < -tolerance || rhs - range > tolerance;
        default:
            return false;
    }
}

bool hasBigDual(char sense, double dual, double limit) {
    switch (sense) {
        case OVRELIN_ROW_GREATER:
            return dual > limit;
        case OVRELIN_ROW_LESS:
            return dual < -limit;
        case OVRELIN_ROW_EQUAL:
        case OVRELIN_ROW_RANGE:
            return std::fabs(dual) > limit;
        default:
            return false;
    }
}

}  // namespace

Status removeFreeRows(SolverInstance* instance, const Model& model, Presolver& presolver) {
    int32_t rows = 0, elements = 0;
    for (int32_t i = 0; i < model.numRow; ++i) {
        const char given = presolver.rowSense[i];
        presolver.rowSense[i] = upperCaseSense(given);
        switch (presolver.rowSense[i]) {
            case OVRELIN_ROW_EQUAL:
            case OVRELIN_ROW_LESS:
            case OVRELIN_ROW_GREATER:
            case OVRELIN_ROW_RANGE:
                continue;
            case OVRELIN_ROW_FREE:
                break;
            default:
                logText(instance, "unknown row type %c.", given);
                return Status::failed;
        }
        if (presolver.rowMap[i] < 0) continue;
        presolver.rowMap[i] = ROWMAP_FREE;
        ++rows;
        elements += presolver.rows.length[i];
        removeFromOthers(instance, i, presolver.rows, presolver.columns);
        presolver.rows.length[i] = 0;
    }
    presolver.numRemovedRow += rows;
    presolver.numRemovedElement += elements;
    return Status::ok;
}

void removeZeroElements(SolverInstance* instance, Presolver& presolver) {
    LiveLists& columns = presolver.columns;
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        for (int32_t k = columns.begin[j]; k < columns.begin[j] + columns.length[j];) {
            if (columns.value[k] != 0) {
                ++k;
                continue;
            }
            const int32_t row = columns.index[k];
            removeElement(instance, row, j, columns);
            removeElement(instance, j, row, presolver.rows);
            ++presolver.numRemovedElement;
        }
    }
}

Status checkColumnBounds(const SolveOptions& options, Presolver& presolver) {
    const double infinity = options.infinity;
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const double lower = presolver.lower[j], upper = presolver.upper[j];
        const bool crossing =
            lower > -infinity && upper < infinity && lower > upper + options.primalTol;
        if (!crossing && lower <= infinity && upper >= -infinity) continue;
        presolver.infeasibleCol = j;
        return crossing ? Status::primalInfeasible : Status::dualInfeasible;
    }
    return Status::ok;
}

void removeFixedColumn(SolverInstance* instance, const Model& model, Presolver& presolver,
                       int32_t col) {
    const LiveLists& columns = presolver.columns;
    const double value = presolver.lower[col];
    const int32_t first = columns.begin[col];
    presolver.colMap[col] = COLMAP_FIXED;
    ++presolver.numRemovedCol;
    presolver.numRemovedElement += columns.length[col];
    presolver.changed = 1;
    for (int32_t k = first; k < first + columns.length[col]; ++k) {
        const int32_t row = columns.index[k];
        presolver.rhs[row] -= columns.value[k] * value;
        presolver.rowProcessed[row] = 0;
    }
    removeFromOthers(instance, col, columns, presolver.rows);
    if (model.typeModel == modelTypeQp && model.numQuadCoef > 0) {
        moveQuadShare(instance, presolver, col, value, presolver.quadColumns, presolver.quadRows);
        moveQuadShare(instance, presolver, col, value, presolver.quadRows, presolver.quadColumns);
    }
}

Status removeEmptyColumn(const Model& model, const SolveOptions& options, Presolver& presolver,
                         int32_t col) {
    if (model.typeModel == modelTypeQp && model.numQuadCoef > 0 &&
        (presolver.quadColumns.length[col] > 0 || presolver.quadRows.length[col] > 0))
        return Status::ok;
    presolver.colMap[col] = COLMAP_EMPTY;
    ++presolver.numRemovedCol;
    if (!isUnbounded(model, options.infinity, presolver, col)) return Status::ok;
    presolver.infeasibleCol = col;
    return Status::dualInfeasible;
}

Status removeEmptyRow(const Model& model, const SolveOptions& options, Presolver& presolver,
                      int32_t row, const IpmSolution* solution) {
    ++presolver.numRemovedRow;
    presolver.rowMap[row] = ROWMAP_EMPTY;
    if (presolver.typeModel == modelTypeEquations) return Status::ok;
    const char sense = presolver.rowSense[row];
    const double range = model.range != nullptr ? model.range[row] : 0;
    Status status = Status::ok;
    if (emptyRowFails(sense, presolver.rhs[row], range, options.primalTol)) {
        presolver.infeasibleRow = row;
        status = Status::primalInfeasible;
    }
    if (options.startMode >= startModeResume && solution != nullptr &&
        hasBigDual(sense, solution->solDual[row], options.parameters.presolve.bigDual))
        status = Status::newPass;
    return status;
}

void touchRowsOf(Presolver& presolver, int32_t col) {
    const int32_t first = presolver.columns.begin[col];
    for (int32_t k = first; k < first + presolver.columns.length[col]; ++k)
        presolver.rowProcessed[presolver.columns.index[k]] = 0;
}

void touchColumn(Presolver& presolver, int32_t col) {
    presolver.colProcessed[col] = 0;
    touchRowsOf(presolver, col);
}

}  // namespace ovrelin
