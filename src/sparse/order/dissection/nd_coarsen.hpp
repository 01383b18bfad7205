// Coarsening: pairs of neighbouring vertices become one, level by level.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Adds coarser graphs below `start`, itself the finest one or a level below it, until one has at
/// most `goal` vertices or shrinks too little, and returns the last through `coarsest`. Each finer
/// graph holds its coarseMap; all have their work arrays. Uses control.maxVertexWeight. Returns
/// ldl::ok, ldl::noMemory, ldl::mismatch, ldl::stopped, or ndNoCoarsening when the first level
/// shrinks too little and the graph is not dense.
[[nodiscard]] int ndCoarsen(NdWork& work, NdGraph& start, std::int32_t goal, NdGraph** coarsest);

}  // namespace ovrelin
