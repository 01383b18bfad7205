// The elimination ahead of a dissection, against the theorem on paths: two vertices are joined in
// the graph that elimination leaves when a path through eliminated vertices joins them.
#include <set>

#include "sparse/order/dissection/nd_reduce.hpp"
#include "support/dense_symbolic.hpp"
#include "support/order_fixture.hpp"
#include "support/test_pool.hpp"

namespace {

using namespace ovrelin;
using namespace ovtest;

using Names = std::set<std::int32_t>;

struct Reduced {
    /// `marks` of the vertices that wait.
    Reduced(const TestGraph& graph, std::int32_t upTo, const Indices& nodeWeight,
            const Array<std::int8_t>& marks)
        : kernelOf(graph.n()),
          sequence(kernelOf),
          order(kernelOf),
          inverse(kernelOf),
          waits(graph.n()),
          view{graph.n(), graph.begin.data(), graph.adj.data(), nodeWeight.data(), marks.data()},
          reduction{kernelOf.data(), sequence.data(), waits.data()} {
        control.reduceUpTo = upTo;
        control.order = order.data();
        control.inverseOrder = inverse.data();
        EXPECT_TRUE(isOk(work.arena.make(pool.get(), ndArenaWords(graph.n()))));
        EXPECT_EQ(ndReduce(work, view, reduction, kernel), ldl::ok);
    }

    [[nodiscard]] bool isEliminated(std::int32_t v) const { return kernelOf[v] < -1; }

    TestPool pool;
    NdControl control;
    NdWork work{pool.get(), &control, NdRandom(1), NdArena{}};
    Indices kernelOf, sequence, order, inverse;
    Array<std::int8_t> waits;
    NdGraphView view;
    NdReduction reduction;
    NdGraph kernel;
};

/// The vertices of the kernel that paths through eliminated ones lead to from v.
Names reach(const TestGraph& graph, const Reduced& reduced, std::int32_t v) {
    Names found, passed;
    Indices stack{v};
    while (!stack.empty()) {
        const std::int32_t from = stack.back();
        stack.pop_back();
        graph.forNeighbours(from, [&](std::int32_t u) {
            if (reduced.kernelOf[u] >= 0) found.insert(u);
            if (reduced.isEliminated(u) && passed.insert(u).second) stack.push_back(u);
        });
    }
    found.erase(v);
    return found;
}

/// Vertices under one number are joined to each other and to the same others.
void expectJoined(const TestGraph& graph, const Reduced& reduced, const Indices& weight) {
    const NdGraph& kernel = reduced.kernel;
    Indices kernelWeight(kernel.numVertex);
    for (std::int32_t v = 0; v < graph.n(); ++v) {
        const std::int32_t c = reduced.kernelOf[v];
        if (c < 0) continue;
        kernelWeight[c] += weight[v];
        const Names found = reach(graph, reduced, v);
        Names expected;
        for (const std::int32_t u : found) expected.insert(reduced.kernelOf[u]);
        expected.erase(c);
        for (std::int32_t u = 0; u < graph.n(); ++u)
            ASSERT_TRUE(u == v || reduced.kernelOf[u] != c || found.count(u) > 0) << v << ' ' << u;
        Indices listed(kernel.adjacency + kernel.vertexBegin[c],
                       kernel.adjacency + kernel.vertexBegin[c + 1]);
        std::sort(listed.begin(), listed.end());
        ASSERT_EQ(listed, Indices(expected.begin(), expected.end())) << "vertex " << v;
    }
    EXPECT_TRUE(std::equal(kernelWeight.begin(), kernelWeight.end(), kernel.vertexWeight));
}

/// A number of the kernel waits when all of its vertices are marked and have lost no neighbour; and
/// no marked vertex has been eliminated that has not lost one.
void expectMarks(const TestGraph& graph, const Reduced& reduced, const Array<std::int8_t>& marks) {
    Array<std::int8_t> expected(reduced.kernel.numVertex, 1);
    for (std::int32_t v = 0; v < graph.n(); ++v) {
        bool waits = marks[v] != 0, isAlone = true;
        graph.forNeighbours(v, [&](std::int32_t u) {
            isAlone = false;
            if (reduced.isEliminated(u)) waits = false;
        });
        EXPECT_TRUE(!reduced.isEliminated(v) || isAlone || !waits) << "vertex " << v;
        if (reduced.kernelOf[v] >= 0 && !waits) expected[reduced.kernelOf[v]] = 0;
    }
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), reduced.waits.begin()));
}

/// Whatever order the kernel gets, the whole is as good as eliminating first what was eliminated
/// first.
void expectFill(const TestPattern& pattern, Reduced& reduced, const Indices& kernelOrder) {
    Indices twoSteps;
    const auto appendAll = [&](auto wanted) {
        for (std::int32_t k = 0; k < reduced.reduction.numSequence; ++k)
            if (wanted(reduced.sequence[k])) twoSteps.push_back(reduced.sequence[k]);
    };
    appendAll([&](std::int32_t v) { return reduced.isEliminated(v); });
    for (const std::int32_t c : kernelOrder)
        appendAll([&](std::int32_t v) { return reduced.kernelOf[v] == c; });
    twoSteps.insert(twoSteps.end(), reduced.order.begin() + reduced.reduction.numSequence,
                    reduced.order.end());
    std::copy(kernelOrder.begin(), kernelOrder.end(), reduced.order.begin());
    ASSERT_EQ(ndExpand(reduced.work, reduced.view, reduced.reduction, reduced.kernel.numVertex),
              ldl::ok);
    ASSERT_TRUE(isPermutation(reduced.order));
    EXPECT_EQ(fillOf(pattern, reduced.order), fillOf(pattern, twoSteps));
}

TEST(Reduction, KernelJoinsWhatPathsJoinAndExpansionHasTheFillOfTheElimination) {
    std::mt19937 random(5);
    std::int32_t numLeft = 0;
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE(trial);
        const TestPattern pattern =
            trial % 3 == 0 ? randomGraph(random, 250, 1 + trial % 4) : randomPattern(random, 120);
        if (pattern.n == 0) continue;
        const TestGraph graph(pattern);
        Indices weight;
        for (std::int32_t v = 0; v < graph.n(); ++v) weight.push_back(1 + (v + trial) % 2);
        // Every third vertex waits, some, or none at all.
        Array<std::int8_t> marks;
        for (std::int32_t v = 0; v < graph.n(); ++v)
            marks.push_back((v + trial) % (1 + trial % 5) == 2 ? 1 : 0);
        Reduced reduced(graph, std::min(trial % 8 - 1, graph.n() - 2), weight, marks);
        expectJoined(graph, reduced, weight);
        expectMarks(graph, reduced, marks);
        numLeft += reduced.kernel.numVertex;
        expectFill(pattern, reduced, shuffled(random, reduced.kernel.numVertex));
        if (HasFailure()) return;
    }
    EXPECT_GT(numLeft, 1000);
}

}  // namespace
