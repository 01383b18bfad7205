// Which ordering a matrix gets: a tuned table keyed on the matrix class, the order and the mean
// degree of the graph.
#pragma once

#include <cstdint>

namespace ovrelin {

struct OrderingQuestion {
    std::int32_t numNode;
    std::int64_t numEdgeEnds;     // length of all adjacency lists together
    std::int32_t matrixClass;     // 0..5
    std::int32_t orderingMethod;  // -1 automatic, 0, 1, or 2..4 for dissection
    bool useDensityRule;
};

/// Mean degree numEdgeEnds / numNode; 0 for an empty graph.
[[nodiscard]] double meanDegree(const OrderingQuestion& question);

/// ldl::methodMinDegree, methodMinFill, methodDissection or methodNatural. A graph without edges or
/// with a mean degree above trunc(numNode / 4) keeps its order whatever method is asked for: there
/// is nothing to gain.
[[nodiscard]] std::int32_t chooseOrdering(const OrderingQuestion& question);

/// How uneven the halves of a dissection may be: the denser the graph, the more even.
[[nodiscard]] double chooseBalanceFactor(double degree);

}  // namespace ovrelin
