#include "sparse/symbolic/column_counts.hpp"

#include "sparse/symbolic/disjoint_sets.hpp"

namespace ovrelin {
namespace {

// first[j]: lowest node of the subtree of j. A node that nobody reached before is a leaf of the
// tree and starts with the count of its diagonal.
void firstDescendants(std::int32_t n, const std::int32_t* parent, std::int32_t* first,
                      std::int32_t* count) {
    for (std::int32_t j = 0; j < n; ++j) first[j] = -1;
    for (std::int32_t k = 0; k < n; ++k) {
        count[k] = first[k] == -1 ? 1 : 0;
        for (std::int32_t j = k; j != -1 && first[j] == -1; j = parent[j]) first[j] = k;
    }
}

}  // namespace

std::size_t columnCountsScratchBytes(std::int32_t n) {
    return 4 * Scratch::bytesFor<std::int32_t>(n);
}

TriangleCounts columnCounts(const PermutedPattern& matrix, const std::int32_t* parent,
                            std::int32_t* count, std::int64_t* lowerBegin, Scratch scratch) {
    const std::int32_t n = matrix.pattern.n;
    std::int32_t* first = scratch.take<std::int32_t>(n);
    std::int32_t* maxFirst = scratch.take<std::int32_t>(n);
    std::int32_t* previousLeaf = scratch.take<std::int32_t>(n);
    std::int32_t* ancestor = scratch.take<std::int32_t>(n);
    firstDescendants(n, parent, first, count);
    for (std::int32_t i = 0; i < n; ++i) {
        maxFirst[i] = -1;
        previousLeaf[i] = -1;
        ancestor[i] = i;
    }
    TriangleCounts triangles{0, 0, 0};
    lowerBegin[0] = 0;
    for (std::int32_t j = 0; j < n; ++j) {
        if (parent[j] != -1) --count[parent[j]];
        for (std::int32_t p = matrix.begin(j); p < matrix.end(j); ++p) {
            const std::int32_t i = matrix.row(p);
            triangles.upper += i < j ? 1 : 0;
            triangles.diagonal += i == j ? 1 : 0;
            triangles.lower += i > j ? 1 : 0;
            // j is a leaf of row i's subtree unless an earlier leaf lies in the subtree of j.
            if (i <= j || first[j] <= maxFirst[i]) continue;
            maxFirst[i] = first[j];
            ++count[j];
            // Linked so far are the passed nodes to their parents: a root is the common ancestor.
            if (previousLeaf[i] != -1) --count[findRoot(ancestor, previousLeaf[i])];
            previousLeaf[i] = j;
        }
        lowerBegin[j + 1] = triangles.lower + triangles.diagonal;
        if (parent[j] != -1) ancestor[j] = parent[j];
    }
    for (std::int32_t j = 0; j < n; ++j) {
        if (parent[j] != -1) count[parent[j]] += count[j];
    }
    return triangles;
}

CountSums sumCounts(std::int32_t n, const std::int32_t* count) {
    CountSums sums{0.0, 0.0};
    for (std::int32_t j = 0; j < n; ++j) {
        const double c = count[j];
        sums.lowerEntries += c - 1.0;
        sums.flops += c * (c - 1.0);
    }
    return sums;
}

}  // namespace ovrelin
