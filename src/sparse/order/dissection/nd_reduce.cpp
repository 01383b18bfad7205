// After Ost, Schulz and Strash, "Engineering data reduction for nested dissection", ALENEX 2021,
// with an elimination by minimum degree, up to a small degree, in place of their single rules: it
// takes the leaves, paths, twins and almost simplicial vertices that those look for, and a band
// whole.
#include "sparse/order/dissection/nd_reduce.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sparse/ldl_try.hpp"
#include "sparse/order/elimination.hpp"

namespace ovrelin {
namespace {

// The mean counts as an integer, and not at all when that is 0.
std::int32_t denseDegree(const NdControl& control, const NdGraphView& view) {
    const std::int32_t mean = view.vertexBegin[view.numVertex] / view.numVertex;
    const double degree = std::ceil(control.denseFactor * (mean > 0 ? mean : 1));
    return static_cast<std::int32_t>(std::min<double>(degree, view.numVertex));
}

// Edge entries between kept vertices are all, less those at dense ones, with those between two
// dense ones taken off once too often. A symmetric graph cannot have more.
bool hasTooManyEdges(const NdGraphView& view, std::int32_t dense) {
    const std::int64_t all = view.vertexBegin[view.numVertex];
    std::int64_t numDense = 0;
    std::int64_t keptDegrees = 0;
    std::int64_t kept = 0;
    const auto degree = [&](std::int32_t v) {
        return view.vertexBegin[v + 1] - view.vertexBegin[v];
    };
    for (std::int32_t v = 0; v < view.numVertex; ++v) {
        if (degree(v) >= dense) ++numDense;
    }
    if (numDense == 0) return false;
    for (std::int32_t v = 0; v < view.numVertex; ++v) {
        if (degree(v) >= dense) continue;
        keptDegrees += degree(v);
        for (std::int32_t e = view.vertexBegin[v]; e < view.vertexBegin[v + 1]; ++e) {
            if (degree(view.adjacency[e]) < dense) ++kept;
        }
    }
    return kept > std::max<std::int64_t>((numDense - 1) * numDense + 2 * keptDegrees - all, 0);
}

void putDenseLast(NdControl& control, const Elimination& elimination, std::int32_t n) {
    control.numDense = elimination.numDense();
    control.numCluster = control.numDense > 0 ? 1 : 0;
    std::reverse_copy(elimination.dense(), elimination.dense() + control.numDense,
                      control.order + n - control.numDense);
}

void weighKernel(const NdGraphView& view, const std::int32_t* kernelOf, NdGraph& kernel) {
    std::fill_n(kernel.vertexWeight, kernel.numVertex, 0);
    for (std::int32_t v = 0; v < view.numVertex; ++v) {
        if (kernelOf[v] < 0) continue;
        kernel.vertexWeight[kernelOf[v]] += view.weight(v);
        kernel.totalWeight += view.weight(v);
    }
}

// A marked vertex waits on while none of its neighbours is gone; a number waits when all that it
// stands for do.
void markKernel(const NdGraphView& view, const NdReduction& reduction, std::int32_t numKernel) {
    std::fill_n(reduction.waits, numKernel, std::int8_t{1});
    for (std::int32_t v = 0; v < view.numVertex; ++v) {
        const std::int32_t c = reduction.kernelOf[v];
        if (c < 0) continue;
        bool waits = view.waits[v] != 0;
        for (std::int32_t e = view.vertexBegin[v]; e < view.vertexBegin[v + 1] && waits; ++e)
            waits = reduction.kernelOf[view.adjacency[e]] >= Elimination::noKernel;
        if (!waits) reduction.waits[c] = 0;
    }
}

class Expansion {
public:
    Expansion(NdWork& work, const NdGraphView& view, const NdReduction& reduction,
              std::int32_t numKernel)
        : control_(*work.control),
          view_(view),
          reduction_(reduction),
          numKernel_(numKernel),
          frame_(work.arena),
          position_(frame_.take(numKernel)),
          cluster_(frame_.take(numKernel)),
          runBegin_(frame_.take(numKernel)),
          bucketBegin_(frame_.take(2 * std::int64_t{numKernel} + 2)),
          bucketOf_(frame_.take(view.numVertex)) {}

    [[nodiscard]] bool failed() const { return frame_.failed(); }

    // Place p of the kernel's order stands for bucket 2 p + 2, the trees that come before it for
    // bucket 2 p + 1, and those that touch nothing for bucket 0. A tree comes ahead of a whole
    // cluster, or of everything: right before the vertex that it touches first it would stand
    // between columns of L that have the same rows, and keep them out of one supernode.
    void run() {
        if (control_.clusterOf != nullptr) {
            std::copy_n(control_.clusterOf, numKernel_, cluster_);
            std::fill_n(control_.clusterOf, view_.numVertex, 0);
        } else {
            std::fill_n(cluster_, numKernel_, 0);
        }
        for (std::int32_t p = 0; p < numKernel_; ++p) {
            const bool goesOn = p > 0 && clusterAt(p) == clusterAt(p - 1);
            runBegin_[p] = goesOn ? runBegin_[p - 1] : p;
            position_[control_.order[p]] = p;
        }
        std::fill_n(bucketBegin_, 2 * std::int64_t{numKernel_} + 2, 0);
        const std::int32_t* end = reduction_.sequence + reduction_.numSequence;
        for (const std::int32_t* item = reduction_.sequence; item != end;)
            item = fileRun(item, end);
        for (std::int32_t b = 0; b <= 2 * numKernel_; ++b) bucketBegin_[b + 1] += bucketBegin_[b];
        for (const std::int32_t* item = reduction_.sequence; item != end; ++item) {
            control_.order[bucketBegin_[bucketOf_[*item]]++] = *item;
        }
    }

private:
    // The vertices of one tree, or those that one vertex of the kernel stands for. A bucket's count
    // goes behind it, where the running sums will make a beginning of it.
    const std::int32_t* fileRun(const std::int32_t* first, const std::int32_t* end) {
        const std::int32_t name = reduction_.kernelOf[*first];
        const std::int32_t* last = first;
        while (last != end && reduction_.kernelOf[*last] == name) ++last;
        const std::int32_t place = name >= 0 ? position_[name] : firstTouched(first, last);
        const std::int32_t bucket = name >= 0            ? 2 * place + 2
                                    : place < numKernel_ ? 2 * runBegin_[place] + 1
                                                         : 0;
        for (const std::int32_t* item = first; item != last; ++item) bucketOf_[*item] = bucket;
        bucketBegin_[bucket + 1] += static_cast<std::int32_t>(last - first);
        if (control_.clusterOf != nullptr) joinCluster(first, last, place);
        return last;
    }

    [[nodiscard]] std::int32_t clusterAt(std::int32_t place) const {
        return cluster_[control_.order[place]];
    }

    // The first place of the kernel that vertices of a tree are next to; numKernel: none.
    [[nodiscard]] std::int32_t firstTouched(const std::int32_t* first,
                                            const std::int32_t* last) const {
        if (control_.clusterOf == nullptr) return 0;
        std::int32_t place = numKernel_;
        for (; first != last; ++first) {
            for (std::int32_t e = view_.vertexBegin[*first]; e < view_.vertexBegin[*first + 1];
                 ++e) {
                const std::int32_t c = reduction_.kernelOf[view_.adjacency[e]];
                if (c >= 0) place = std::min(place, position_[c]);
            }
        }
        return place;
    }

    void joinCluster(const std::int32_t* first, const std::int32_t* last, std::int32_t place) {
        const std::int32_t cluster = place == numKernel_ ? control_.numCluster++ : clusterAt(place);
        for (; first != last; ++first) control_.clusterOf[*first] = cluster;
    }

    NdControl& control_;
    const NdGraphView& view_;
    const NdReduction& reduction_;
    std::int32_t numKernel_;
    NdFrame frame_;
    std::int32_t* position_;     // [numKernel] place in the kernel's order
    std::int32_t* cluster_;      // [numKernel] by number
    std::int32_t* runBegin_;     // [numKernel] where the cluster of each place begins
    std::int32_t* bucketBegin_;  // [2 numKernel + 2]
    std::int32_t* bucketOf_;     // [n]
};

}  // namespace

int ndReduce(NdWork& work, const NdGraphView& view, NdReduction& reduction, NdGraph& kernel) {
    const std::int32_t n = view.numVertex;
    const std::int32_t numEdge = view.vertexBegin[n];
    const std::int32_t dense = denseDegree(*work.control, view);
    work.control->denseDegree = dense;
    if (hasTooManyEdges(view, dense)) return ldl::mismatch;
    const std::int64_t capacity = minimumDegreeCapacity(n, numEdge);
    const std::size_t bytes = Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1) +
                              Scratch::bytesFor<std::int32_t>(capacity) +
                              minimumDegreeScratchBytes(n);
    PoolArray<std::byte> memory;
    if (!isOk(memory.make(work.pool, bytes))) return ldl::noMemory;
    Scratch scratch(memory.data(), bytes);
    const NodeGraph graph{n, scratch.take<std::int32_t>(std::int64_t{n} + 1),
                          scratch.take<std::int32_t>(capacity), capacity};
    std::copy_n(view.vertexBegin, std::int64_t{n} + 1, graph.nodeBegin);
    std::copy_n(view.adjacency, numEdge, graph.nodeAdj);
    MinimumDegreeOptions options{EliminationScore::degree, {false, dense, 0.0}, false};
    options.waits = view.waits;
    Elimination elimination(graph, options, scratch);
    const std::int32_t limit = std::min(work.control->reduceUpTo, n - 1);
    const std::int32_t count =
        elimination.eliminateUpTo(limit, graph, reduction.kernelOf, reduction.sequence, scratch);
    putDenseLast(*work.control, elimination, n);
    reduction.numSequence = n - work.control->numDense;
    const std::int64_t bound = elimination.kernelEdgeBound(reduction.kernelOf);
    if (bound > std::numeric_limits<std::int32_t>::max()) return ldl::noMemory;
    const auto room = static_cast<std::int32_t>(bound);
    LDL_TRY(makeNdGraph(work.pool, count, room, NdLabels::kept, kernel));
    closeEdgeList(
        kernel, elimination.writeKernel(reduction.kernelOf, kernel.vertexBegin, kernel.adjacency));
    std::fill_n(kernel.edgeWeight, kernel.numEdge, 1);
    for (std::int32_t c = 0; c < count; ++c) kernel.label[c] = c;
    weighKernel(view, reduction.kernelOf, kernel);
    if (view.waits != nullptr) markKernel(view, reduction, count);
    kernel.nextPosition = count - 1;
    return ldl::ok;
}

int ndExpand(NdWork& work, const NdGraphView& view, const NdReduction& reduction,
             std::int32_t numKernel) {
    Expansion expansion(work, view, reduction, numKernel);
    if (expansion.failed()) return ldl::mismatch;
    expansion.run();
    return ldl::ok;
}

}  // namespace ovrelin
