#include "sparse/symbolic/order_columns.hpp"

#include <algorithm>
#include <cmath>

#include "sparse/order/ldl_order.hpp"
#include "sparse/order/matching/column_nodes.hpp"
#include "sparse/symbolic/make_array.hpp"

namespace ovrelin {
namespace {

OrderControl controlOf(const SparseLdl& handle) {
    OrderControl control;
    control.matrixClass = handle.matrixClass;
    control.densityGain = handle.parameters.densityGain;
    control.postPass = handle.orderingPostPass != 0;
    return control;
}

NodeGraph takeGraph(std::int32_t n, std::int64_t capacity, Scratch& scratch) {
    NodeGraph graph{};
    graph.nodeBegin = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    graph.capacity = capacity;
    graph.nodeAdj = scratch.take<std::int32_t>(capacity);
    return graph;
}

// Marks the columns whose diagonal entry is missing or no larger than what the pivot step replaces.
// Returns whether to heed the marks: values without any diagonal tell nothing.
bool markEmptyDiagonals(const SparsePattern& pattern, const double* matValue, double tolerance,
                        std::int8_t* mark) {
    std::int32_t numMarked = 0;
    for (std::int32_t j = 0; j < pattern.n; ++j) {
        mark[j] = 1;
        for (std::int32_t k = pattern.colBegin[j]; k < pattern.colBegin[j + 1]; ++k)
            if (pattern.rowIndex[k] == j && std::fabs(matValue[k]) > tolerance) mark[j] = 0;
        numMarked += mark[j];
    }
    return numMarked > 0 && numMarked < pattern.n;
}

// Each column is a node of its own.
int orderSingly(const SparsePattern& pattern, const double* matValue, SparseLdl& handle,
                const ColumnOrder& order, Scratch scratch) {
    auto* const mark = scratch.take<std::int8_t>(pattern.n);
    const std::int64_t capacity = orderCapacity(pattern.n, pattern.colBegin[pattern.n]);
    NodeGraph graph = takeGraph(pattern.n, capacity, scratch);
    LDL_TRY(buildNodeGraph(pattern, graph, scratch));
    OrderControl control = controlOf(handle);
    if (matValue != nullptr &&
        markEmptyDiagonals(pattern, matValue, handle.parameters.pivotTolerance, mark))
        control.waits = mark;
    OrderResult result{order.perm, order.inversePerm, 0};
    return ldlOrder(handle.pool, graph, control, handle.orderingMethod, result, scratch);
}

// The arrays that pairing needs beside those of the ordering; it is rare, so they are asked for
// apart.
struct PairMemory {
    PoolArray<std::int32_t> columnBegin, columnAdj;  // the graph of the columns
    PoolArray<std::int32_t> nodeBegin, column;       // the nodes
    PoolArray<std::int32_t> rowOf, nodeOrder, weight, work;
    PoolArray<double> dual;

    int make(MemoryPool* pool, std::int32_t n, std::int32_t numEntries) {
        LDL_TRY(makeArray(columnBegin, pool, std::int64_t{n} + 1));
        LDL_TRY(makeArray(columnAdj, pool, numEntries));
        LDL_TRY(makeArray(nodeBegin, pool, std::int64_t{n} + 1));
        LDL_TRY(makeArray(column, pool, n));
        LDL_TRY(makeArray(rowOf, pool, n));
        LDL_TRY(makeArray(nodeOrder, pool, 2 * std::int64_t{n}));
        LDL_TRY(makeArray(weight, pool, n));
        LDL_TRY(makeArray(work, pool, 2 * std::int64_t{n}));
        return makeArray(dual, pool, 2 * std::int64_t{n});
    }
};

void expandNodes(const ColumnNodes& nodes, const std::int32_t* nodeOrder,
                 const ColumnOrder& order) {
    std::int32_t position = 0;
    for (std::int32_t k = 0; k < nodes.numNode; ++k) {
        const std::int32_t node = nodeOrder[k];
        for (std::int32_t c = nodes.begin[node]; c < nodes.begin[node + 1]; ++c) {
            order.perm[position] = nodes.column[c];
            order.inversePerm[nodes.column[c]] = position++;
        }
    }
}

int orderInPairs(const MatchingProblem& problem, SparseLdl& handle, const ColumnOrder& order,
                 Scratch scratch) {
    const SparsePattern& pattern = problem.pattern;
    const std::int32_t n = pattern.n;
    const std::int32_t numEntries = pattern.colBegin[n];
    PairMemory memory;
    LDL_TRY(memory.make(handle.pool, n, numEntries));
    NodeGraph columns{n, memory.columnBegin.data(), memory.columnAdj.data(), numEntries};
    LDL_TRY(buildNodeGraph(pattern, columns, scratch));
    Matching matching{memory.rowOf.data(), memory.dual.data(), memory.dual.data() + n};
    LDL_TRY(findWeightedMatching(handle.pool, problem, matching));
    ColumnNodes nodes{0, memory.nodeBegin.data(), memory.column.data()};
    pairColumns(problem, matching, handle.matchingScale != 0, nodes, memory.work.data());
    NodeGraph graph = takeGraph(n, orderCapacity(n, numEntries), scratch);
    mergeColumnNodes(columns, nodes, graph, memory.work.data(), memory.work.data() + n);
    for (std::int32_t k = 0; k < nodes.numNode; ++k) {
        memory.weight[k] = nodes.begin[k + 1] - nodes.begin[k];
    }
    OrderControl control = controlOf(handle);
    control.nodeWeight = memory.weight.data();
    OrderResult result{memory.nodeOrder.data(), memory.nodeOrder.data() + n, 0};
    LDL_TRY(ldlOrder(handle.pool, graph, control, handle.orderingMethod, result, scratch));
    expandNodes(nodes, result.order, order);
    return ldl::ok;
}

}  // namespace

std::size_t orderColumnsScratchBytes(std::int32_t n, std::int64_t numEntries) {
    return Scratch::bytesFor<std::int8_t>(n) +
           Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1) +
           Scratch::bytesFor<std::int32_t>(orderCapacity(n, numEntries)) +
           std::max(nodeGraphScratchBytes(n), orderScratchBytes(n));
}

int orderColumns(const SparsePattern& pattern, const double* matValue, SparseLdl& handle,
                 const ColumnOrder& order, Scratch scratch) {
    const bool inBlock = handle.blockMatchingMode != 0;
    if (!inBlock && handle.matchingMode == 0)
        return orderSingly(pattern, matValue, handle, order, scratch);
    const std::int32_t first = inBlock ? std::min(handle.firstBlockSize, pattern.n) : 0;
    return orderInPairs({pattern, matValue, first}, handle, order, scratch);
}

}  // namespace ovrelin
