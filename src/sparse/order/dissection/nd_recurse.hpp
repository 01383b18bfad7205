// The recursion: bisect, number the separator, go on with the components.
#pragma once

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// Orders the vertices of `top`, by their labels, into the positions of control.order up to
/// top.nextPosition. Clusters are numbered from control.numCluster on, as they come
/// up. Returns ldl::ok, ldl::noMemory, ldl::mismatch, ldl::stopped or ndNoCoarsening.
[[nodiscard]] int ndRecurse(NdWork& work, NdGraph& top);

}  // namespace ovrelin
