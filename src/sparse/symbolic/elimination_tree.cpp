#include "sparse/symbolic/elimination_tree.hpp"

#include <algorithm>
#include <utility>

namespace ovrelin {

namespace {

constexpr std::int32_t notMoved = -2;

// Lists the leaves by their number of entries, bucket[length] [n] and on by `sibling`, which marks
// the other nodes. A leaf right before its parent stays there, as pairs of columns do. firstChild
// comes out as -1.
void sortLeaves(const PermutedPattern& matrix, const std::int32_t* parent, std::int32_t* firstChild,
                std::int32_t* sibling, std::int32_t* bucket) {
    const std::int32_t n = matrix.pattern.n;
    std::fill_n(firstChild, std::int64_t{n} + 1, -1);
    std::fill_n(bucket, n, -1);
    for (std::int32_t j = 0; j < n; ++j) {
        if (parent[j] >= 0) firstChild[parent[j]] = j;
        sibling[j] = notMoved;
        if (firstChild[j] != -1 || parent[j] == j + 1) continue;
        std::int32_t& head = bucket[std::min(matrix.end(j) - matrix.begin(j), n - 1)];
        sibling[j] = std::exchange(head, j);
    }
    std::fill_n(firstChild, std::int64_t{n} + 1, -1);
}

// The children of each node, the roots as those of node n: first the leaves, the shortest before
// the longer ones, then the others, and in ascending order otherwise.
void buildChildLists(const PermutedPattern& matrix, const std::int32_t* parent,
                     std::int32_t* firstChild, std::int32_t* sibling, std::int32_t* bucket) {
    const std::int32_t n = matrix.pattern.n;
    const auto push = [&](std::int32_t j) {
        const std::int32_t owner = parent[j] < 0 ? n : parent[j];
        sibling[j] = std::exchange(firstChild[owner], j);
    };
    sortLeaves(matrix, parent, firstChild, sibling, bucket);
    for (std::int32_t j = n - 1; j >= 0; --j)
        if (sibling[j] == notMoved) push(j);
    for (std::int32_t length = n - 1; length >= 0; --length)
        for (std::int32_t leaf = bucket[length]; leaf != -1;) {
            const std::int32_t next = sibling[leaf];
            push(leaf);
            leaf = next;
        }
}

}  // namespace

std::size_t eliminationTreeScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(n);
}

std::size_t postorderScratchBytes(std::int32_t n) {
    return Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1) +
           2 * Scratch::bytesFor<std::int32_t>(n);
}

void eliminationTree(const PermutedPattern& matrix, std::int32_t* parent, Scratch scratch) {
    const std::int32_t n = matrix.pattern.n;
    std::int32_t* ancestor = scratch.take<std::int32_t>(n);
    for (std::int32_t j = 0; j < n; ++j) {
        parent[j] = -1;
        ancestor[j] = -1;
        for (std::int32_t p = matrix.begin(j); p < matrix.end(j); ++p) {
            std::int32_t i = matrix.row(p);
            while (i >= 0 && i < j) {
                const std::int32_t above = ancestor[i];
                ancestor[i] = j;
                if (above == -1) parent[i] = j;
                i = above;
            }
        }
    }
}

void postorderTree(const PermutedPattern& matrix, const std::int32_t* parent,
                   std::int32_t* postorder, Scratch scratch) {
    const std::int32_t n = matrix.pattern.n;
    std::int32_t* firstChild = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    std::int32_t* sibling = scratch.take<std::int32_t>(n);
    std::int32_t* stack = scratch.take<std::int32_t>(n);
    buildChildLists(matrix, parent, firstChild, sibling, stack);
    std::int32_t position = 0;
    for (std::int32_t root = firstChild[n]; root != -1; root = sibling[root]) {
        std::int32_t depth = 0;
        stack[0] = root;
        while (depth >= 0) {
            const std::int32_t j = stack[depth];
            const std::int32_t child = firstChild[j];
            if (child == -1) {
                postorder[position++] = j;
                --depth;
            } else {
                firstChild[j] = sibling[child];
                stack[++depth] = child;
            }
        }
    }
}

void applyPostorder(std::int32_t n, const std::int32_t* postorder, std::int32_t* parent,
                    std::int32_t* perm, std::int32_t* inversePerm, Scratch scratch) {
    std::int32_t* newName = scratch.take<std::int32_t>(n);
    std::int32_t* old = scratch.take<std::int32_t>(n);
    for (std::int32_t k = 0; k < n; ++k) newName[postorder[k]] = k;
    std::copy_n(parent, n, old);
    for (std::int32_t k = 0; k < n; ++k) {
        const std::int32_t up = old[postorder[k]];
        parent[k] = up < 0 ? -1 : newName[up];
    }
    std::copy_n(perm, n, old);
    for (std::int32_t k = 0; k < n; ++k) {
        perm[k] = old[postorder[k]];
        inversePerm[perm[k]] = k;
    }
}

}  // namespace ovrelin
