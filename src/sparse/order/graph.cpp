// Building the graph of a pattern. The lists come from a transposition, which sorts them; a
// symmetric pattern is its own transpose, so a comparison with the input then proves the symmetry
// on which all later stages rely.
#include "sparse/order/graph.hpp"

#include <algorithm>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

bool columnsAreOrdered(const SparsePattern& pattern) {
    if (pattern.n < 0 || pattern.colBegin[0] < 0) return false;
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        if (pattern.colBegin[j + 1] < pattern.colBegin[j]) return false;
    }
    return true;
}

// Distinct off-diagonal entries of each column, as running sums in nodeBegin.
bool countDistinct(const SparsePattern& pattern, std::int32_t* nodeBegin, std::int32_t* lastSeen) {
    std::fill_n(lastSeen, pattern.n, -1);
    std::int32_t total = 0;
    nodeBegin[0] = 0;
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
            const std::int32_t i = pattern.rowIndex[p];
            if (i < 0 || i >= pattern.n) return false;
            total += (i != j && lastSeen[i] != j) ? 1 : 0;
            lastSeen[i] = j;
        }
        nodeBegin[j + 1] = total;
    }
    return true;
}

// Appends j to the list of each row of column j. The lists have the lengths of the columns, so one
// that overflows is a row longer than its column. Columns come in ascending order, hence a repeated
// entry would repeat the last item of the list.
bool scatterColumns(const SparsePattern& pattern, NodeGraph& graph, std::int32_t* cursor) {
    std::copy_n(graph.nodeBegin, pattern.n, cursor);
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
            const std::int32_t i = pattern.rowIndex[p];
            const std::int32_t at = cursor[i];
            if (i == j || (at > graph.nodeBegin[i] && graph.nodeAdj[at - 1] == j)) continue;
            if (at == graph.nodeBegin[i + 1]) return false;
            graph.nodeAdj[at] = j;
            cursor[i] = at + 1;
        }
    }
    return true;
}

// Sorted columns, the usual case, agree with their lists item by item.
bool equalInOrder(const SparsePattern& pattern, const NodeGraph& graph, std::int32_t j) {
    const std::int32_t end = graph.nodeBegin[j + 1];
    std::int32_t q = graph.nodeBegin[j];
    for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
        const std::int32_t i = pattern.rowIndex[p];
        if (i == j) continue;
        if (q == end || graph.nodeAdj[q] != i) return false;
        ++q;
    }
    return true;
}

// Column and list have the same number of distinct items: equal when every row is in the list.
bool equalAsSets(const SparsePattern& pattern, const NodeGraph& graph, std::int32_t j,
                 std::int32_t* inList) {
    for (std::int32_t q = graph.nodeBegin[j]; q < graph.nodeBegin[j + 1]; ++q) {
        inList[graph.nodeAdj[q]] = j;
    }
    for (std::int32_t p = pattern.colBegin[j]; p < pattern.colBegin[j + 1]; ++p) {
        const std::int32_t i = pattern.rowIndex[p];
        if (i != j && inList[i] != j) return false;
    }
    return true;
}

bool isOwnTranspose(const SparsePattern& pattern, const NodeGraph& graph, std::int32_t* inList) {
    std::fill_n(inList, pattern.n, -1);
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        if (!equalInOrder(pattern, graph, j) && !equalAsSets(pattern, graph, j, inList)) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::size_t nodeGraphScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(n);
}

int buildNodeGraph(const SparsePattern& pattern, NodeGraph& graph, Scratch scratch) {
    if (!columnsAreOrdered(pattern)) return ldl::mismatch;
    std::int32_t* work = scratch.take<std::int32_t>(pattern.n);
    graph.numNode = pattern.n;
    if (!countDistinct(pattern, graph.nodeBegin, work)) return ldl::mismatch;
    if (!scatterColumns(pattern, graph, work)) return ldl::mismatch;
    if (!isOwnTranspose(pattern, graph, work)) return ldl::mismatch;
    return ldl::ok;
}

}  // namespace ovrelin
