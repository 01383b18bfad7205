// What happens before the first bisection: vertices that no separator is needed for are eliminated,
// and the dissection is left with a smaller graph.
#pragma once

#include <cstdint>

#include "sparse/order/dissection/nd_graph.hpp"

namespace ovrelin {

/// How the vertices of the whole graph relate to the reduced one; the caller provides the arrays.
struct NdReduction {
    std::int32_t* kernelOf;  // [n] as Elimination::eliminateUpTo leaves it
    std::int32_t* sequence;  // [n] all but the dense vertices, in postorder of the elimination
    /// [n] or null: the marks of the kernel's vertices, by their numbers. Null without marks.
    std::int8_t* waits = nullptr;
    std::int32_t numSequence = 0;
};

/// Puts dense vertices last in control.order, eliminates vertices of low degree from the rest and
/// makes `kernel` the graph of what is left: labels are its own vertex numbers, weights those of
/// the vertices that each stands for. Returns ldl::ok, ldl::noMemory or ldl::mismatch.
[[nodiscard]] int ndReduce(NdWork& work, const NdGraphView& view, NdReduction& reduction,
                           NdGraph& kernel);

/// Turns the order of the kernel in control.order, and its clusters, into those of the whole.
/// Eliminated trees come first; with clusters, a tree belongs to that of the first vertex of the
/// kernel that it touches, and comes first in it.
[[nodiscard]] int ndExpand(NdWork& work, const NdGraphView& view, const NdReduction& reduction,
                           std::int32_t numKernel);

}  // namespace ovrelin
