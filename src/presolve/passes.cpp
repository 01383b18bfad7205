#include "presolve/passes.hpp"

#include "presolve/reductions.hpp"
#include "presolve/row_activity.hpp"
#include "presolve/singleton_row.hpp"

namespace ovrelin {
namespace {

bool isClosed(const SolveOptions& options, const Presolver& presolver, int32_t col) {
    const double lower = presolver.lower[col], upper = presolver.upper[col];
    return lower > -options.infinity && upper < options.infinity &&
           lower + fixedTolerance(options) >= upper;
}

Status sweepColumns(SolverInstance* instance, const Model& model, const SolveOptions& options,
                    Presolver& presolver) {
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        if (presolver.colProcessed[j] >= 1) continue;
        presolver.colProcessed[j] = 1;
        if (presolver.colMap[j] < 0) continue;
        if (isClosed(options, presolver, j)) {
            removeFixedColumn(instance, model, presolver, j);
        } else if (presolver.columns.length[j] == 0) {
            OV_TRY(removeEmptyColumn(model, options, presolver, j));
        } else if (presolver.lower[j] > options.infinity ||
                   presolver.upper[j] < -options.infinity) {
            presolver.infeasibleCol = j;
            return Status::dualInfeasible;
        }
    }
    return Status::ok;
}

Status reduceRow(SolverInstance* instance, const Model& model, const SolveOptions& options,
                 Presolver& presolver, int32_t row, const IpmSolution* solution) {
    const int32_t length = presolver.rows.length[row];
    if (length == 0) return removeEmptyRow(model, options, presolver, row, solution);
    if (length == 1 && presolver.doSingletonRow == 1)
        return removeSingletonRow(instance, model, options, presolver, row);
    if (presolver.doRowActivity == 1)
        return analyzeRowActivity(instance, model, options, presolver, row);
    return Status::ok;
}

/// newPass from a row is remembered in `sawNewPass`; the sweep goes on.
Status sweepRows(SolverInstance* instance, const Model& model, const SolveOptions& options,
                 Presolver& presolver, const IpmSolution* solution, bool& sawNewPass) {
    for (int32_t i = 0; i < presolver.numRow; ++i) {
        if (presolver.rowProcessed[i] >= 1) continue;
        presolver.rowProcessed[i] = 1;
        if (presolver.rowMap[i] < 0) continue;
        const Status status = reduceRow(instance, model, options, presolver, i, solution);
        if (status == Status::newPass)
            sawNewPass = true;
        else
            OV_TRY(status);
    }
    return Status::ok;
}

/// The passes were cut off: columns that the last one closed still stand in the counts and lists of
/// live rows. They go, and the columns and rows that they leave empty (a model without elements is
/// taken for solved); what else could be done is left.
Status tidyUp(SolverInstance* instance, const Model& model, const SolveOptions& options,
              Presolver& presolver, const IpmSolution* solution, bool& sawNewPass) {
    for (int sweep = 0; sweep < 2; ++sweep)
        OV_TRY(sweepColumns(instance, model, options, presolver));
    presolver.doRowActivity = presolver.doSingletonRow = 0;
    return sweepRows(instance, model, options, presolver, solution, sawNewPass);
}

}  // namespace

Status runPasses(SolverInstance* instance, const Model& model, const SolveOptions& options,
                 Presolver& presolver, const IpmSolution* solution) {
    Status status = Status::ok;
    bool sawNewPass = false;
    do {
        status = sweepColumns(instance, model, options, presolver);
        if (isOk(status))
            status = sweepRows(instance, model, options, presolver, solution, sawNewPass);
        if (!isOk(status) || presolver.changed == 0) break;
        presolver.changed = 0;
        ++presolver.numPass;
    } while (presolver.numPass < presolver.maxPass);
    if (isOk(status) && presolver.numPass >= presolver.maxPass)
        status = tidyUp(instance, model, options, presolver, solution, sawNewPass);
    return sawNewPass ? Status::newPass : status;
}

}  // namespace ovrelin
