#include "sparse/order/dense_rows.hpp"

#include <algorithm>
#include <cmath>

namespace ovrelin {
namespace {

// Vertices sorted by their degree among those that are left, ascending, and kept so while the last
// ones are taken out: a degree that falls by one moves its vertex to the front of its run.
class DegreeOrder {
public:
    DegreeOrder(const NodeGraph& graph, Scratch& scratch)
        : graph_(graph),
          left_(graph.numNode),
          degree_(scratch.take<std::int32_t>(graph.numNode)),
          sorted_(scratch.take<std::int32_t>(graph.numNode)),
          position_(scratch.take<std::int32_t>(graph.numNode)),
          runBegin_(scratch.take<std::int32_t>(std::int64_t{graph.numNode} + 1)) {
        const std::int32_t n = graph.numNode;
        std::fill_n(runBegin_, std::int64_t{n} + 1, 0);
        for (std::int32_t i = 0; i < n; ++i) {
            degree_[i] = graph.nodeBegin[i + 1] - graph.nodeBegin[i];
            ++runBegin_[degree_[i] + 1];
        }
        for (std::int32_t g = 0; g < n; ++g) runBegin_[g + 1] += runBegin_[g];
        for (std::int32_t i = 0; i < n; ++i) place(i, runBegin_[degree_[i]]++);
        // Each start has moved to the next run's.
        for (std::int32_t g = n; g > 0; --g) runBegin_[g] = runBegin_[g - 1];
        runBegin_[0] = 0;
        numIsolated_ = n == 0 ? 0 : runBegin_[1];
    }

    [[nodiscard]] std::int32_t numIsolated() const { return numIsolated_; }
    [[nodiscard]] std::int32_t highest() const { return sorted_[left_ - 1]; }
    [[nodiscard]] std::int32_t degree(std::int32_t i) const { return degree_[i]; }

    void takeHighest() {
        const std::int32_t i = sorted_[--left_];
        for (std::int32_t p = graph_.nodeBegin[i]; p < graph_.nodeBegin[i + 1]; ++p) {
            const std::int32_t j = graph_.nodeAdj[p];
            if (position_[j] < left_) lower(j);
        }
    }

private:
    void place(std::int32_t i, std::int32_t at) {
        sorted_[at] = i;
        position_[i] = at;
    }

    void lower(std::int32_t j) {
        const std::int32_t first = runBegin_[degree_[j]]++;
        const std::int32_t other = sorted_[first];
        place(other, position_[j]);
        place(j, first);
        --degree_[j];
    }

    const NodeGraph& graph_;
    std::int32_t left_;
    std::int32_t numIsolated_ = 0;
    std::int32_t* degree_;
    std::int32_t* sorted_;
    std::int32_t* position_;
    std::int32_t* runBegin_;  // of the vertices of each degree in sorted
};

// With mean degree avg over m vertices, taking out one of degree g leaves the sum avg m - 2g. It is
// worth it while avg - (avg m - 2g)/m >= gain ln(avg) / m. A graph with a mean below two is a
// forest or nearly so; the logarithm of it, near zero or negative, would call all of it dense.
std::int32_t takeByDensity(const NodeGraph& graph, double gain, std::int32_t* dense,
                           Scratch scratch) {
    DegreeOrder vertices(graph, scratch);
    const std::int32_t numLive = graph.numNode - vertices.numIsolated();
    double total = graph.nodeBegin[graph.numNode];
    double left = numLive;
    std::int32_t count = 0;
    while (count < numLive) {
        const std::int32_t i = vertices.highest();
        const double average = total / left;
        const double after = total - 2.0 * vertices.degree(i);
        const double limit = gain * std::log(std::max(average, 2.0)) / left;
        if (average - after / left < limit) break;
        vertices.takeHighest();
        dense[count++] = i;
        total = after;
        left -= 1.0;
    }
    return count;
}

}  // namespace

std::int32_t denseThreshold(std::int32_t n, double factor) {
    const double wanted = std::max(16.0, factor * std::sqrt(static_cast<double>(n)));
    return static_cast<std::int32_t>(std::min(wanted, static_cast<double>(n)));
}

std::size_t denseRowsScratchBytes(std::int32_t n) {
    return 3 * Scratch::bytesFor<std::int32_t>(n) +
           Scratch::bytesFor<std::int32_t>(std::int64_t{n} + 1);
}

std::int32_t findDenseRows(const NodeGraph& graph, const DenseRule& rule, std::int32_t* dense,
                           Scratch scratch) {
    if (rule.byDensity) return takeByDensity(graph, rule.densityGain, dense, scratch);
    const std::int32_t least = std::max(rule.threshold, 1);
    std::int32_t count = 0;
    for (std::int32_t i = 0; i < graph.numNode; ++i) {
        if (graph.nodeBegin[i + 1] - graph.nodeBegin[i] >= least) dense[count++] = i;
    }
    return count;
}

}  // namespace ovrelin
