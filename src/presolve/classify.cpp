#include "presolve/classify.hpp"

#include <algorithm>

#include "frame/log.hpp"

namespace ovrelin {
namespace {

bool namesLiveRow(const Presolver& presolver, int32_t row) {
    return row >= 0 && presolver.rowMap[row] >= 0;
}

bool isFreeBefore(const Model& model, double infinity, int32_t j) {
    const int flags = model.relaxColBound != nullptr ? model.relaxColBound[j] : 0;
    return (model.lower[j] < -infinity || (flags & relaxLower) != 0) &&
           (model.upper[j] > infinity || (flags & relaxUpper) != 0);
}

bool isFreeAfter(const Model& model, const SolveOptions& options, const Presolver& presolver,
                 int32_t j) {
    const double lower = presolver.lower[j], upper = presolver.upper[j];
    const double tolerance = options.primalTol;
    const bool noLower =
        lower < -options.infinity ||
        (namesLiveRow(presolver, presolver.lbMap[j]) && model.lower[j] <= lower - tolerance);
    const bool noUpper = upper > options.infinity || (namesLiveRow(presolver, presolver.ubMap[j]) &&
                                                      model.upper[j] >= upper + tolerance);
    return noLower && noUpper;
}

/// Bounds before and after tightening, wherever they lie now.
struct BoundViews {
    const double *lower, *upper, *callerLower, *callerUpper;
};

BoundViews boundViews(const Model& model, const Presolver& presolver) {
    if (presolver.preControl == PRECONTROL_BOUND)
        return {model.lower, model.upper, presolver.lower.data(), presolver.upper.data()};
    return {presolver.lower.data(), presolver.upper.data(), presolver.inModel->lower,
            presolver.inModel->upper};
}

std::uint8_t impliedBounds(const Presolver& presolver, const SolveOptions& options,
                           const BoundViews& bounds, int32_t j) {
    const double tolerance = options.primalTol;
    std::uint8_t flags = 0;
    if (bounds.lower[j] > -options.infinity && namesLiveRow(presolver, presolver.lbMap[j]) &&
        bounds.lower[j] - tolerance >= bounds.callerLower[j])
        flags = relaxLower;
    if (bounds.upper[j] < options.infinity && namesLiveRow(presolver, presolver.ubMap[j]) &&
        bounds.callerUpper[j] >= bounds.upper[j] + tolerance)
        flags = static_cast<std::uint8_t>(flags | relaxUpper);
    return flags;
}

}  // namespace

int32_t classifyRouteBefore(const Model& model, const SolveOptions& options, Presolver& presolver) {
    int32_t numFree = 0;
    for (int32_t j = 0; j < model.numCol; ++j)
        if (isFreeBefore(model, options.infinity, j)) ++numFree;
    if (numFree > 0) presolver.preRoute = PREROUTE_FREECOL;
    if (numFree != model.numCol) return numFree;
    const bool direct = model.numCoef != 0
                            ? std::count(model.rowSense, model.rowSense + model.numRow,
                                         OVRELIN_ROW_EQUAL) == model.numRow
                            : model.typeModel == modelTypeQp && model.numQuadCoef > 0;
    if (direct) presolver.preRoute = PREROUTE_DIRECT;
    return numFree;
}

int32_t classifyRouteAfter(const Model& model, const SolveOptions& options, Presolver& presolver) {
    int32_t numFree = 0;
    for (int32_t j = 0; j < model.numCol; ++j)
        if (presolver.colMap[j] >= 0 && isFreeAfter(model, options, presolver, j)) ++numFree;
    if (numFree > 0) presolver.preRoute = PREROUTE_FREECOL;
    if (numFree != model.numCol - presolver.numRemovedCol) return numFree;
    bool direct = false;
    if (presolver.numRemovedElement != model.numCoef) {
        int32_t numEquation = 0;
        for (int32_t i = 0; i < model.numRow; ++i)
            if (presolver.rowMap[i] >= 0 && presolver.rowSense[i] == OVRELIN_ROW_EQUAL)
                ++numEquation;
        direct = numEquation == model.numRow - presolver.numRemovedRow;
    } else {
        direct =
            model.typeModel == modelTypeQp && model.numQuadCoef > presolver.numRemovedQuadElement;
    }
    if (direct) presolver.preRoute = PREROUTE_DIRECT;
    return numFree;
}

void detectBoundChange(const Model& model, const SolveOptions& options, Presolver& presolver) {
    const double tolerance = options.primalTol;
    presolver.boundChanged = 0;
    for (int32_t j = 0; j < model.numCol; ++j)
        if (presolver.colMap[j] >= 0 && (presolver.lower[j] > model.lower[j] + tolerance ||
                                         model.upper[j] - tolerance > presolver.upper[j]))
            presolver.boundChanged = 1;
}

Status markRelaxColBound(SolverInstance* instance, Model& model, const SolveOptions& options,
                         const TransformRecord& transform, Presolver& presolver) {
    if (model.relaxColBound != nullptr) {
        logText(instance, "relaxColBound should not be set if control comes here.");
        return Status::failed;
    }
    if (presolver.preControl != PRECONTROL_BOUND && presolver.preControl != PRECONTROL_REDUCED)
        return Status::ok;
    const auto size = static_cast<std::size_t>(model.numCol + transform.numRange);
    OV_TRY(presolver.relaxColBound.make(instance->pool, size, Fill::zero));
    const BoundViews bounds = boundViews(model, presolver);
    bool any = false;
    for (int32_t j = 0; j < presolver.numCol; ++j) {
        if (presolver.colMap[j] < 0) continue;
        const std::uint8_t flags = impliedBounds(presolver, options, bounds, j);
        presolver.relaxColBound[presolver.colMap[j]] = flags;
        any = any || flags != 0;
    }
    if (!any) {
        presolver.relaxColBound.reset();
        return Status::ok;
    }
    model.relaxColBound = presolver.relaxColBound.data();
    presolver.relaxedModel = &model;
    return Status::ok;
}

}  // namespace ovrelin
