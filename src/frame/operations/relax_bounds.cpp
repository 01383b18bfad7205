#include "frame/operations/relax_bounds.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ovrelin {
namespace {

// A box whose bounds both lie at least this far out is opened on both sides.
constexpr double farBound = 100.0;

std::uint8_t boundsToDrop(std::uint8_t flags, double lower, double upper) {
    if (flags != (relaxLower | relaxUpper)) return flags;
    const double lowerSize = std::fabs(lower);
    const double upperSize = std::fabs(upper);
    if (std::min(lowerSize, upperSize) >= farBound) return flags;
    return upperSize >= lowerSize ? relaxUpper : relaxLower;
}

}  // namespace

Status relaxBounds(SolverInstance* instance, Model& model, const SolveOptions& options,
                   TransformRecord& transform) {
    if (model.relaxColBound == nullptr) return Status::ok;
    if (transform.lowerKeep != nullptr || transform.upperKeep != nullptr) return Status::failed;
    const auto room = static_cast<std::size_t>(std::max(transform.numRange, 0) + model.numCol);
    OV_TRY(transform.relaxedLower.make(instance->pool, room));
    OV_TRY(transform.relaxedUpper.make(instance->pool, room));
    transform.lowerKeep = std::exchange(model.lower, transform.relaxedLower.data());
    transform.upperKeep = std::exchange(model.upper, transform.relaxedUpper.data());
    transform.keepSwapped = 1;
    for (int32_t j = 0; j < model.numCol; ++j) {
        const double lower = transform.lowerKeep[j];
        const double upper = transform.upperKeep[j];
        const bool boxed = lower > -options.infinity && upper < options.infinity;
        const std::uint8_t drop = boxed ? boundsToDrop(model.relaxColBound[j], lower, upper) : 0;
        model.lower[j] = (drop & relaxLower) != 0 ? -maxDouble : lower;
        model.upper[j] = (drop & relaxUpper) != 0 ? maxDouble : upper;
    }
    return Status::ok;
}

void swapKeptBounds(Model& model, TransformRecord& transform) {
    std::swap(model.lower, transform.lowerKeep);
    std::swap(model.upper, transform.upperKeep);
    transform.keepSwapped = 1 - transform.keepSwapped;
}

}  // namespace ovrelin
