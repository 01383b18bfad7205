// Elimination that stops early. The vertices of low degree are gone; the others, with the cliques
// that elimination left among them written out as edges, are the kernel: a smaller graph that has
// still to be ordered, with the same fill as in the whole.
#include <algorithm>

#include "sparse/order/assembly_order.hpp"
#include "sparse/order/elimination.hpp"

namespace ovrelin {

std::int32_t Elimination::eliminateUpTo(std::int32_t limit, const NodeGraph& graph,
                                        std::int32_t* kernelOf, std::int32_t* order,
                                        Scratch scratch) {
    setAsideDense(graph, scratch);
    listVertices();
    while (lists_.anyUpTo(limit)) eliminate(lists_.takeLowest());
    std::fill_n(kernelOf, n_, noKernel);
    lists_.forEach([kernelOf](std::int32_t i) { kernelOf[i] = 0; });
    std::int32_t count = 0;
    for (std::int32_t i = 0; i < n_; ++i) {
        if (kernelOf[i] == 0) kernelOf[i] = count++;
    }
    const AssemblyForest forest{n_, parent_, weight_, elementLength_};
    nameTrees(kernelOf, order, assemblyOrder(forest, order, scratch));
    return count;
}

// The order has led every path of merged vertices to the one that stands for them; from the last
// vertex to the first it comes to every pivot before it comes to those below.
void Elimination::nameTrees(std::int32_t* kernelOf, const std::int32_t* order,
                            std::int32_t count) const {
    for (std::int32_t k = count - 1; k >= 0; --k) {
        const std::int32_t v = order[k];
        const std::int32_t pivot = weight_[v] > 0 ? v : parent_[v];
        if (kernelOf[pivot] == noKernel) {
            const std::int32_t above = parent_[pivot];
            kernelOf[pivot] = above != none ? kernelOf[above] : noKernel - 1 - pivot;
        }
        kernelOf[v] = kernelOf[pivot];
    }
}

std::int64_t Elimination::kernelEdgeBound(const std::int32_t* kernelOf) const {
    std::int64_t bound = 0;
    for (std::int32_t i = 0; i < n_; ++i) {
        if (kernelOf[i] < 0 || weight_[i] == 0) continue;
        bound += length_[i] - elementLength_[i];
        for (std::int32_t k = 0; k < elementLength_[i]; ++k) {
            bound += length_[adj_[begin_[i] + k]] - 1;
        }
    }
    return bound;
}

std::int32_t Elimination::writeKernel(const std::int32_t* kernelOf, std::int32_t* vertexBegin,
                                      std::int32_t* adjacency) {
    std::int32_t* lastOwner = hashHead_;
    std::fill_n(lastOwner, n_, none);
    std::int32_t length = 0;
    std::int32_t c = 0;
    for (std::int32_t i = 0; i < n_; ++i) {
        if (kernelOf[i] < 0 || weight_[i] == 0) continue;
        vertexBegin[c++] = length;
        lastOwner[i] = i;
        const auto take = [&](std::int32_t j) {
            if (weight_[j] == 0 || lastOwner[j] == i) return;
            lastOwner[j] = i;
            adjacency[length++] = kernelOf[j];
        };
        const std::int32_t* list = adj_ + begin_[i];
        for (std::int32_t k = 0; k < elementLength_[i]; ++k) {
            const std::int32_t e = list[k];
            for (std::int32_t q = begin_[e]; q < begin_[e] + length_[e]; ++q) take(adj_[q]);
        }
        for (std::int32_t k = elementLength_[i]; k < length_[i]; ++k) take(list[k]);
    }
    vertexBegin[c] = length;
    return length;
}

}  // namespace ovrelin
