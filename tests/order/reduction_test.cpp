// The elimination ahead of a dissection, against the theorem on paths: two vertices are joined in
// the graph that elimination leaves when a path through eliminated vertices joins them.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <set>

#include "sparse/order/dissection/nd_reduce.hpp"
#include "support/dense_symbolic.hpp"
#include "support/order_fixture.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

using Indices = std::vector<std::int32_t>;

struct Reduced {
    Reduced(const TestGraph& graph, std::int32_t upTo, const Indices& nodeWeight = {})
        : kernelOf(static_cast<std::size_t>(graph.n())),
          sequence(kernelOf),
          order(kernelOf),
          inverse(kernelOf),
          view{graph.n(), graph.begin.data(), graph.adj.data(),
               nodeWeight.empty() ? nullptr : nodeWeight.data()},
          reduction{kernelOf.data(), sequence.data()} {
        control.reduceUpTo = upTo;
        control.order = order.data();
        control.inverseOrder = inverse.data();
        EXPECT_TRUE(isOk(work.arena.make(pool.get(), ndArenaWords(graph.n()))));
        EXPECT_EQ(ndReduce(work, view, reduction, kernel), ldl::ok);
    }

    [[nodiscard]] std::int32_t at(std::int32_t v) const {
        return kernelOf[static_cast<std::size_t>(v)];
    }

    TestPool pool;
    NdControl control;
    NdWork work{pool.get(), &control, NdRandom(1), NdArena{}};
    Indices kernelOf, sequence, order, inverse;
    NdGraphView view;
    NdReduction reduction;
    NdGraph kernel;
};

bool isEliminated(std::int32_t name) {
    return name < -1;
}

// The vertices of the kernel that paths through eliminated ones lead to from v.
std::set<std::int32_t> reach(const TestGraph& graph, const Reduced& reduced, std::int32_t v) {
    std::set<std::int32_t> found, passed;
    Indices stack{v};
    while (!stack.empty()) {
        const std::int32_t from = stack.back();
        stack.pop_back();
        graph.forNeighbours(from, [&](std::int32_t u) {
            if (reduced.at(u) >= 0) found.insert(u);
            if (isEliminated(reduced.at(u)) && passed.insert(u).second) stack.push_back(u);
        });
    }
    found.erase(v);
    return found;
}

TestPattern someGraph(std::mt19937& random, int trial) {
    if (trial % 3 == 0) return randomGraph(random, 250, 1 + trial % 4);
    TestPattern pattern = randomPattern(random, 120);
    while (pattern.n == 0) pattern = randomPattern(random, 120);
    return pattern;
}

TEST(Reduction, KernelJoinsWhatPathsJoin) {
    std::mt19937 random(5);
    int numLeft = 0;
    for (int trial = 0; trial < 200; ++trial) {
        const TestGraph graph(someGraph(random, trial));
        Indices weight;
        for (std::int32_t v = 0; v < graph.n(); ++v) weight.push_back(1 + (v + trial) % 2);
        const Reduced reduced(graph, trial % 8 - 1, weight);
        const NdGraph& kernel = reduced.kernel;
        Indices kernelWeight(static_cast<std::size_t>(kernel.numVertex));
        for (std::int32_t v = 0; v < graph.n(); ++v) {
            const std::int32_t c = reduced.at(v);
            if (c < 0) continue;
            ++numLeft;
            kernelWeight[static_cast<std::size_t>(c)] += weight[static_cast<std::size_t>(v)];
            std::multiset<std::int32_t> expected, listed;
            std::set<std::int32_t> closed{c};
            for (const std::int32_t u : reach(graph, reduced, v)) closed.insert(reduced.at(u));
            // Vertices under one number are joined to each other and to the same others.
            for (std::int32_t u = 0; u < graph.n(); ++u)
                if (u != v && reduced.at(u) == c) {
                    ASSERT_TRUE(reach(graph, reduced, v).count(u) > 0) << trial;
                }
            closed.erase(c);
            expected.insert(closed.begin(), closed.end());
            listed.insert(kernel.adjacency + kernel.vertexBegin[c],
                          kernel.adjacency + kernel.vertexBegin[c + 1]);
            ASSERT_EQ(listed, expected) << "trial " << trial << " vertex " << v;
        }
        EXPECT_TRUE(std::equal(kernelWeight.begin(), kernelWeight.end(), kernel.vertexWeight));
    }
    EXPECT_GT(numLeft, 1000);
}

// Whatever order the kernel gets, the whole is as good as eliminating first what was eliminated
// first.
TEST(Reduction, ExpansionHasTheFillOfTheElimination) {
    std::mt19937 random(6);
    for (int trial = 0; trial < 100; ++trial) {
        const TestPattern pattern = someGraph(random, trial);
        const TestGraph graph(pattern);
        Reduced reduced(graph, trial % 8 - 1);
        const std::int32_t n = graph.n();
        const std::int32_t numKernel = reduced.kernel.numVertex;
        Indices kernelOrder(static_cast<std::size_t>(numKernel));
        std::iota(kernelOrder.begin(), kernelOrder.end(), 0);
        std::shuffle(kernelOrder.begin(), kernelOrder.end(), random);
        Indices twoSteps;
        const auto appendAll = [&](auto wanted) {
            for (std::int32_t k = 0; k < reduced.reduction.numSequence; ++k) {
                const std::int32_t v = reduced.sequence[static_cast<std::size_t>(k)];
                if (wanted(reduced.at(v))) twoSteps.push_back(v);
            }
        };
        appendAll(isEliminated);
        for (const std::int32_t c : kernelOrder)
            appendAll([c](std::int32_t name) { return name == c; });
        for (std::int32_t k = reduced.reduction.numSequence; k < n; ++k)
            twoSteps.push_back(reduced.order[static_cast<std::size_t>(k)]);
        std::copy(kernelOrder.begin(), kernelOrder.end(), reduced.order.begin());
        ASSERT_EQ(ndExpand(reduced.work, reduced.view, reduced.reduction, numKernel), ldl::ok);
        for (std::int32_t k = 0; k < n; ++k)
            reduced.inverse[static_cast<std::size_t>(reduced.order[static_cast<std::size_t>(k)])] =
                k;
        ASSERT_EQ(checkPermutation(n, reduced.order.data(), reduced.inverse.data()), "");
        EXPECT_EQ(DenseFactorPattern(pattern, reduced.order.data()).numEntries(),
                  DenseFactorPattern(pattern, twoSteps.data()).numEntries())
            << "trial " << trial;
    }
}

}  // namespace
