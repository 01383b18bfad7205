// The reduced model against the caller's, at random points.
#include <algorithm>
#include <cmath>

#include "linalg/sparse_columns.hpp"
#include "presolve/model_values.hpp"
#include "verify/check.hpp"
#include "verify/debug_random.hpp"
#include "verify/verify_presolve.hpp"

namespace ovrelin {
namespace {

constexpr double valueTolerance = 1e-6;
constexpr std::int32_t firstSeed = 20201;

bool agrees(double value, double reference) {
    return std::fabs(value - reference) <= valueTolerance * std::max(1.0, std::fabs(reference));
}

/// A point with its activities; `size` holds the sums of the terms' magnitudes, which are the scale
/// of the rounding in a row whose large terms cancel.
struct Evaluation {
    PoolArray<double> x, activity, size;
    double objective;
};

Status evaluate(SolverInstance* instance, const Model& model, Evaluation& out) {
    OV_TRY(out.activity.make(instance->pool, static_cast<std::size_t>(model.numRow), Fill::zero));
    addProduct(1, model.numCol, model.colBegin, model.colLength, model.rowIndex, model.matValue,
               out.x.data(), out.activity.data());
    OV_TRY(out.size.make(instance->pool, static_cast<std::size_t>(model.numRow), Fill::zero));
    for (int32_t j = 0; j < model.numCol; ++j)
        for (int32_t k = model.colBegin[j]; k < model.colBegin[j] + model.colLength[j]; ++k)
            out.size[model.rowIndex[k]] += std::fabs(model.matValue[k] * out.x[j]);
    out.objective =
        dotProduct(model.numCol, model.obj, out.x.data()) + quadraticValue(model, out.x.data());
    return Status::ok;
}

/// A random value within the column's bounds, near the finite ones: residuals of a point far
/// outside would hide a fault under their own rounding.
double randomValue(double lower, double upper, double infinity, std::int32_t& seed) {
    const double u = debugRandom(seed);
    if (lower > -infinity && upper < infinity) return lower + u * (upper - lower);
    if (lower > -infinity) return lower + u;
    return upper < infinity ? upper - u : u;
}

/// A point of the reduced model and the same point in the caller's. Empty columns stay at 0.
Status makePoint(SolverInstance* instance, const SolveOptions& options, const Model& reducedModel,
                 const Presolver& presolver, std::int32_t& seed, Evaluation& reduced,
                 Evaluation& full) {
    OV_TRY(reduced.x.make(instance->pool, static_cast<std::size_t>(reducedModel.numCol)));
    OV_TRY(full.x.make(instance->pool, static_cast<std::size_t>(presolver.numCol), Fill::zero));
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const int32_t at = presolver.colMap[j];
        if (at >= 0)
            full.x[j] = reduced.x[at] =
                randomValue(presolver.lower[j], presolver.upper[j], options.infinity, seed);
        else if (at == COLMAP_FIXED)
            full.x[j] = presolver.lower[j];
    }
    OV_TRY(evaluate(instance, reducedModel, reduced));
    return evaluate(instance, *presolver.inModel, full);
}

/// The limit of the caller's row that the reduced row's rhs stands for: a range row that has lost
/// its upper limit stands on its lower one.
double callerLimit(const Presolver& presolver, const Model& reducedModel, int32_t i) {
    const Model& model = *presolver.inModel;
    const bool lowerLimit = upperCaseSense(model.rowSense[i]) == OVRELIN_ROW_RANGE &&
                            reducedModel.rowSense[presolver.rowMap[i]] == OVRELIN_ROW_GREATER;
    return lowerLimit ? model.rhs[i] - model.range[i] : model.rhs[i];
}

void compareRows(Check& check, const Presolver& presolver, const Model& reducedModel,
                 const Evaluation& reduced, const Evaluation& full) {
    for (int32_t i = 0; i < presolver.numRow; ++i) {
        const int32_t at = presolver.rowMap[i];
        if (at < 0) continue;
        const double value = reduced.activity[at] - reducedModel.rhs[at];
        const double reference = full.activity[i] - callerLimit(presolver, reducedModel, i);
        const double scale = std::max({1.0, std::fabs(reference), full.size[i]});
        check.require(std::fabs(value - reference) <= valueTolerance * scale,
                      "Error VerifyPresolveValue: residual of row %d = %15.7g should be %15.7g", i,
                      value, reference);
    }
}

void compareBounds(Check& check, const Presolver& presolver, const Model& reducedModel) {
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        const int32_t at = presolver.colMap[j];
        if (at < 0) continue;
        check.require(reducedModel.lower[at] == presolver.lower[j],
                      "Error VerifyPresolveValue: lower(%d) = %15.7g should be %15.7g", at,
                      reducedModel.lower[at], presolver.lower[j]);
        check.require(reducedModel.upper[at] == presolver.upper[j],
                      "Error VerifyPresolveValue: upper(%d) = %15.7g should be %15.7g", at,
                      reducedModel.upper[at], presolver.upper[j]);
    }
}

}  // namespace

Status VerifyPresolveValue(SolverInstance* instance, const SolveOptions& options,
                           const Model& reducedModel, const Presolver& presolver) {
    if (options.debugLevel < 3 || presolver.inModel == nullptr) return Status::ok;
    Check check(instance);
    std::int32_t seed = firstSeed;
    Evaluation reduced[2], full[2];
    for (int p = 0; p < 2; ++p) {
        OV_TRY(makePoint(instance, options, reducedModel, presolver, seed, reduced[p], full[p]));
        compareRows(check, presolver, reducedModel, reduced[p], full[p]);
    }
    compareBounds(check, presolver, reducedModel);
    // The fixed columns' share of the objective is a constant: only differences can be compared.
    const double value = reduced[1].objective - reduced[0].objective;
    const double reference = full[1].objective - full[0].objective;
    const double scale = std::max(std::fabs(full[0].objective), std::fabs(full[1].objective));
    check.require(
        agrees(value, reference) || std::fabs(value - reference) <= valueTolerance * scale,
        "Error VerifyPresolveValue: objective difference = %15.7g should be %15.7g", value,
        reference);
    return check.status();
}

Status VerifyPresolveDisabled(SolverInstance* instance, int32_t debugLevel,
                              const Presolver& presolver) {
    if (debugLevel < 1) return Status::ok;
    Check check(instance);
    const Presolver& p = presolver;
    const bool lists =
        p.columns.isSet() || p.rows.isSet() || p.quadColumns.isSet() || p.quadRows.isSet();
    const bool arrays = p.rowSense.isSet() || p.rhs.isSet() || p.obj.isSet() || p.lower.isSet() ||
                        p.upper.isSet() || p.spec.isSet() || p.rowProcessed.isSet() ||
                        p.colProcessed.isSet();
    const bool maps = p.rowMap.isSet() || p.colMap.isSet() || p.lbMap.isSet() || p.ubMap.isSet();
    check.require(!lists, "Error VerifyPresolveDisabled: matrix lists should be NULL");
    check.require(!arrays, "Error VerifyPresolveDisabled: working arrays should be NULL");
    check.require(!maps, "Error VerifyPresolveDisabled: maps should be NULL");
    check.require(p.inModel == nullptr && !p.reduced,
                  "Error VerifyPresolveDisabled: inModel should be NULL");
    check.require(p.numRemovedRow == 0 && p.numRemovedCol == 0 && p.numRemovedElement == 0 &&
                      p.numRemovedQuadElement == 0 && p.numChangeRange == 0,
                  "Error VerifyPresolveDisabled: numRemovedRow=%d numRemovedCol=%d "
                  "numRemovedElement=%d should be 0",
                  p.numRemovedRow, p.numRemovedCol, p.numRemovedElement);
    return check.status();
}

}  // namespace ovrelin
