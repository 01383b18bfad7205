// Columns that stay together in an order: each node is a single column or a pair that the weighted
// matching found, so that a pivot of order two with a large entry off the diagonal is at hand.
#pragma once

#include <cstdint>

#include "sparse/order/matching/weighted_matching.hpp"

namespace ovrelin {

/// Node k has the columns column[begin[k] .. begin[k+1]-1], one or two. Nodes ascend by their first
/// column.
struct ColumnNodes {
    std::int32_t numNode;
    std::int32_t* begin;   // [n + 1]
    std::int32_t* column;  // [n]
};

/// Breaks the cycles of the matching, taken as a permutation, into pairs of neighbours; the columns
/// before the block stay single, and so does one column of each odd cycle. Of the ways to break a
/// cycle the one with the largest product of absolute values is taken; with `scaled` the values are
/// those of the matrix scaled by the duals, where all matched entries are equal and a cycle's
/// single column is the one with the largest diagonal. `mate` [n] is scratch.
void pairColumns(const MatchingProblem& problem, const Matching& matching, bool scaled,
                 ColumnNodes& nodes, std::int32_t* mate);

/// The graph of the nodes from the graph of the columns: two nodes are neighbours where any of
/// their columns are. `nodeOf` [n] and `seen` [n] are scratch. Needs as much room as the columns'
/// graph.
void mergeColumnNodes(const NodeGraph& columns, const ColumnNodes& nodes, NodeGraph& graph,
                      std::int32_t* nodeOf, std::int32_t* seen);

}  // namespace ovrelin
