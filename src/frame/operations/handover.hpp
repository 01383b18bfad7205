// The hand-over of an optimal point to the sibling `ovelpps`.
#pragma once

#include "frame/solver_records.hpp"

namespace ovrelin {

/// Loads the sibling for the hand-over. outOfMemory, after a message, when it or its instance is
/// not to be had; failed, with a log line, when it is there, since nothing is handed to it yet. The
/// status of a solve without a point to hand over is returned unchanged.
Status runHandover(SolverInstance* instance, const Model& model);

}  // namespace ovrelin
