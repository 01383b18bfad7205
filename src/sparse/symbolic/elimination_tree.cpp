#include "sparse/symbolic/elimination_tree.hpp"

#include <algorithm>

namespace ovrelin {

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

void postorderTree(std::int32_t n, const std::int32_t* parent, std::int32_t* postorder,
                   Scratch scratch) {
    std::int32_t* firstChild = scratch.take<std::int32_t>(std::int64_t{n} + 1);
    std::int32_t* sibling = scratch.take<std::int32_t>(n);
    std::int32_t* stack = scratch.take<std::int32_t>(n);
    std::fill_n(firstChild, std::int64_t{n} + 1, -1);
    for (std::int32_t j = n - 1; j >= 0; --j) {
        const std::int32_t owner = parent[j] < 0 ? n : parent[j];
        sibling[j] = firstChild[owner];
        firstChild[owner] = j;
    }
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
