// What happens to the vertices that are too dense to take part: they stay out of the elimination
// until all others are gone, and then are ordered among themselves.
#include <algorithm>

#include "sparse/order/elimination.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t unknown = -2;

}  // namespace

// Weight 0 hides a vertex from every list that it is in; its own list stays as it is.
void Elimination::setAsideDense(const NodeGraph& graph, Scratch scratch) {
    numDense_ = findDenseRows(graph, options_.dense, dense_, scratch);
    for (std::int32_t k = 0; k < numDense_; ++k) weight_[dense_[k]] = 0;
    numEliminated_ = numDense_;
}

// With all others eliminated, each connected part of them is a single element. What is left
// joins the dense vertices that touch the same part, or each other, and is eliminated like any
// graph.
void Elimination::bringBackDense() {
    findParts();
    compact();
    for (std::int32_t k = 0; k < numDense_; ++k) listTouchedParts(dense_[k]);
    openParts();
    ++stamp_;
    freshStamp();
    numEliminated_ -= numDense_;
    largestElement_ = std::max(largestElement_, numDense_);
    for (std::int32_t k = 0; k < numDense_; ++k) {
        const std::int32_t i = dense_[k];
        weight_[i] = 1;
        degree_[i] = boundDegree(i);
        lists_.add(i, firstScore(degree_[i]));
    }
}

// part[i]: root of the tree that i was eliminated in, its own name at a root; -1 when dense.
void Elimination::findParts() {
    std::fill_n(part_, n_, unknown);
    for (std::int32_t k = 0; k < numDense_; ++k) part_[dense_[k]] = none;
    for (std::int32_t i = 0; i < n_; ++i) {
        std::int32_t root = i;
        while (part_[root] == unknown && parent_[root] != none) root = parent_[root];
        const std::int32_t part = part_[root] == unknown ? root : part_[root];
        for (std::int32_t v = i; v != none && part_[v] == unknown; v = parent_[v]) {
            part_[v] = part;
        }
    }
}

// Rewrites the list of dense vertex i: the parts that it touches, then its dense neighbours.
// The degree of a part counts the dense vertices that touch it.
void Elimination::listTouchedParts(std::int32_t i) {
    ++stamp_;
    freshStamp();
    std::int32_t* list = adj_ + begin_[i];
    std::int32_t* sparseEnd = std::partition(list, list + length_[i],
                                             [this](std::int32_t j) { return part_[j] != none; });
    std::int32_t* listEnd = list + length_[i];
    std::int32_t* to = list;
    for (const std::int32_t* item = list; item != sparseEnd; ++item) {
        const std::int32_t part = part_[*item];
        if (mark_[part] == stamp_) continue;
        if (mark_[part] == 0) degree_[part] = 0;
        mark_[part] = stamp_;
        ++degree_[part];
        *to++ = part;
    }
    elementLength_[i] = static_cast<std::int32_t>(to - list);
    length_[i] = static_cast<std::int32_t>(std::copy(sparseEnd, listEnd, to) - list);
}

// Gives the touched parts their lists, which have room: an edge to a dense vertex used to stand
// in the list of its other end as well.
void Elimination::openParts() {
    for (std::int32_t i = 0; i < n_; ++i) {
        if (part_[i] != i || mark_[i] == 0) continue;
        begin_[i] = free_;
        length_[i] = 0;
        free_ += degree_[i];
    }
    for (std::int32_t k = 0; k < numDense_; ++k) {
        const std::int32_t* list = adj_ + begin_[dense_[k]];
        for (std::int32_t p = 0; p < elementLength_[dense_[k]]; ++p) {
            adj_[begin_[list[p]] + length_[list[p]]++] = dense_[k];
        }
    }
}

std::int32_t Elimination::boundDegree(std::int32_t i) const {
    std::int64_t bound = length_[i] - elementLength_[i];
    for (std::int32_t k = 0; k < elementLength_[i]; ++k) {
        bound += degree_[adj_[begin_[i] + k]] - 1;
    }
    return static_cast<std::int32_t>(std::min<std::int64_t>(bound, numDense_ - 1));
}

void Elimination::moveDenseLast(std::int32_t* order) {
    std::int32_t numSparse = 0;
    std::int32_t found = 0;
    for (std::int32_t k = 0; k < n_; ++k) {
        const std::int32_t i = order[k];
        if (part_[i] == none) {
            dense_[found++] = i;
        } else {
            order[numSparse++] = i;
        }
    }
    std::copy_n(dense_, numDense_, order + numSparse);
}

}  // namespace ovrelin
