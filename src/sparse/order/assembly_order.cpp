#include "sparse/order/assembly_order.hpp"

#include <algorithm>

namespace ovrelin {
namespace {

struct ChildLists {
    std::int32_t* first;  // [n + 1], the roots at n
    std::int32_t* next;   // [n]
};

// Ascending lists, by pushing from the last pivot to the first.
void buildChildLists(const AssemblyForest& forest, ChildLists& lists) {
    std::fill_n(lists.first, std::int64_t{forest.n} + 1, -1);
    for (std::int32_t e = forest.n - 1; e >= 0; --e) {
        if (forest.weight[e] == 0) continue;
        const std::int32_t parent = forest.parent[e] < 0 ? forest.n : forest.parent[e];
        lists.next[e] = lists.first[parent];
        lists.first[parent] = e;
    }
}

// Its contribution is then consumed at once, while the others' are still small.
void moveLargestFrontLast(const AssemblyForest& forest, ChildLists& lists, std::int32_t parent) {
    std::int32_t largest = -1;
    std::int32_t beforeLargest = -1;
    std::int32_t last = -1;
    for (std::int32_t e = lists.first[parent]; e != -1; e = lists.next[e]) {
        if (largest == -1 || forest.frontSize[e] >= forest.frontSize[largest]) {
            largest = e;
            beforeLargest = last;
        }
        last = e;
    }
    if (last == largest) return;
    if (beforeLargest == -1) {
        lists.first[parent] = lists.next[largest];
    } else {
        lists.next[beforeLargest] = lists.next[largest];
    }
    lists.next[last] = largest;
    lists.next[largest] = -1;
}

// start[e] is where the vertices of pivot e begin; consumes the child lists. Returns their number.
std::int32_t postorderStarts(const AssemblyForest& forest, ChildLists& lists, std::int32_t* stack,
                             std::int32_t* start) {
    std::int32_t position = 0;
    std::int32_t depth = 0;
    stack[0] = forest.n;
    while (depth >= 0) {
        const std::int32_t e = stack[depth];
        const std::int32_t child = lists.first[e];
        if (child != -1) {
            lists.first[e] = lists.next[child];
            stack[++depth] = child;
            continue;
        }
        --depth;
        if (e == forest.n) continue;
        start[e] = position;
        position += forest.weight[e];
    }
    return position;
}

// The pivot that vertex i was eliminated with, or -1; shortens the path for those that follow.
std::int32_t pivotOf(const AssemblyForest& forest, std::int32_t i) {
    std::int32_t pivot = i;
    while (pivot >= 0 && forest.weight[pivot] == 0) pivot = forest.parent[pivot];
    while (i >= 0 && forest.weight[i] == 0) {
        const std::int32_t above = forest.parent[i];
        forest.parent[i] = pivot;
        i = above;
    }
    return pivot;
}

}  // namespace

std::size_t assemblyOrderScratchBytes(std::int32_t n) {
    return 2 * Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1) +
           2 * Scratch::bytesFor<std::int32_t>(n);
}

std::int32_t assemblyOrder(const AssemblyForest& forest, std::int32_t* order, Scratch scratch) {
    const std::int32_t n = forest.n;
    ChildLists lists{};
    lists.first = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    lists.next = scratch.take<std::int32_t>(n);
    std::int32_t* stack = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    std::int32_t* start = scratch.take<std::int32_t>(n);
    buildChildLists(forest, lists);
    for (std::int32_t e = 0; e <= n; ++e) {
        if (lists.first[e] != -1) moveLargestFrontLast(forest, lists, e);
    }
    const std::int32_t count = postorderStarts(forest, lists, stack, start);
    for (std::int32_t i = 0; i < n; ++i) {
        const std::int32_t pivot = pivotOf(forest, i);
        if (pivot >= 0) order[start[pivot]++] = i;
    }
    return count;
}

}  // namespace ovrelin
