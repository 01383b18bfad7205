#include "sparse/symbolic/subtrees.hpp"

#include <algorithm>

#include "sparse/symbolic/make_array.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Time of a front, in operations at full speed.
double costOf(double m, double k) {
    // sum of (m - j)^2 over j < k
    const double ops = k * m * m - m * k * (k - 1) + (k - 1) * k * (2 * k - 1) / 6;
    const SparsePlanning& plan = sparsePlanning;
    return ops * (1 + plan.narrowSlowdown / k) + plan.entryCost * m * k + plan.frontCost;
}

/// The supernode tree with its costs.
struct CostTree {
    PoolArray<double> own, subtree, way;
    PoolArray<int32_t> firstDescendant, firstChild, nextSibling;

    int make(const LdlSymbolic& symbolic, MemoryPool* pool) {
        const int32_t count = symbolic.numSuper;
        LDL_TRY(makeArray(own, pool, count));
        LDL_TRY(makeArray(subtree, pool, count));
        LDL_TRY(makeArray(way, pool, count));
        LDL_TRY(makeArray(firstDescendant, pool, count));
        LDL_TRY(makeArray(firstChild, pool, count));
        LDL_TRY(makeArray(nextSibling, pool, count));
        fill(symbolic);
        return ldl::ok;
    }

private:
    void fill(const LdlSymbolic& symbolic) {
        for (int32_t s = 0; s < symbolic.numSuper; ++s) {
            const double m = static_cast<double>(symbolic.rowBegin[s + 1] - symbolic.rowBegin[s]);
            own[s] = costOf(m, symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s]);
            subtree[s] = own[s];
            firstDescendant[s] = s;
            firstChild[s] = -1;
        }
        for (int32_t s = 0; s < symbolic.numSuper; ++s) {
            const int32_t up = symbolic.superParent[s];
            if (up == -1) continue;
            subtree[up] += subtree[s];
            firstDescendant[up] = std::min(firstDescendant[up], firstDescendant[s]);
            nextSibling[s] = firstChild[up];
            firstChild[up] = s;
        }
    }
};

/// Deals items of descending cost out, each to the thread with the least so far; returns the
/// largest load.
double deal(LeafItem* items, int32_t count, int32_t numThreads) {
    double load[sparsePlanning.mostThreads] = {};
    for (int32_t i = 0; i < count; ++i) {
        double* const least = std::min_element(load, load + numThreads);
        items[i].owner = static_cast<int32_t>(least - load);
        *least += items[i].cost;
    }
    return *std::max_element(load, load + numThreads);
}

/// The subtrees in hand: a heap with the heaviest first.
struct Forest {
    const CostTree& tree;
    const LdlSymbolic& symbolic;
    LeafItem* items;
    int32_t count;
    double total;

    static bool lighter(const LeafItem& a, const LeafItem& b) {
        return a.cost != b.cost ? a.cost < b.cost : a.super > b.super;
    }

    void add(int32_t super) {
        const TilePlan& plan = symbolic.tiles;
        items[count++] = {super, plan.subtreeFirstBlock[super], plan.superFirstBlock[super + 1],
                          0,     tree.subtree[super],           -1};
        std::push_heap(items, items + count, lighter);
        total += tree.subtree[super];
    }

    /// Undivided trees.
    void start() {
        count = 0;
        total = 0;
        for (int32_t s = 0; s < symbolic.numSuper; ++s)
            if (symbolic.superParent[s] == -1) add(s);
        sortDescending();
    }

    int32_t takeHeaviest() {
        std::pop_heap(items, items + count, lighter);
        const int32_t super = items[--count].super;
        total -= tree.subtree[super];
        return super;
    }

    void sortDescending() {
        std::sort(items, items + count,
                  [](const LeafItem& a, const LeafItem& b) { return lighter(b, a); });
    }
};

/// True when the subtrees in hand can be dealt out evenly.
bool isEven(const Forest& forest, const SparseParameters& parameters, int32_t numThreads) {
    const double heaviest = forest.items[0].cost;
    const double part = forest.total / numThreads;
    if (heaviest <= std::max(parameters.smallestSubtree, parameters.subtreeShare * part))
        return true;
    if (forest.count > sparsePlanning.trialItems || heaviest > sparsePlanning.evenEnough * part)
        return false;
    LeafItem trial[sparsePlanning.trialItems];
    Forest copy = forest;
    copy.items = trial;
    std::copy_n(forest.items, forest.count, trial);
    copy.sortDescending();
    return deal(trial, forest.count, numThreads) <= sparsePlanning.evenEnough * part;
}

/// Takes subtrees apart, the heaviest first, until those in hand can be dealt out evenly.
void divide(const SparseParameters& parameters, LdlSymbolic& symbolic, Forest& forest) {
    while (symbolic.numThreads > 1 && forest.count > 0 &&
           !isEven(forest, parameters, symbolic.numThreads)) {
        const int32_t super = forest.takeHeaviest();
        symbolic.tiles.inTop[super] = 1;
        for (int32_t c = forest.tree.firstChild[super]; c != -1; c = forest.tree.nextSibling[c])
            forest.add(c);
    }
    forest.sortDescending();
}

/// Time until a team that shares the top has done everything: an even part of it at the least, and
/// the longest way up a tree, on which only fronts that reach over several tiles occupy several
/// threads.
double sharedTime(CostTree& tree, const LdlSymbolic& symbolic, const Forest& forest) {
    double longest = 0, total = 0, numTop = 0;
    std::fill_n(tree.way.data(), symbolic.numSuper, 0.0);
    const auto end = [&](int32_t s, double time) {
        const int32_t up = symbolic.superParent[s];
        double& target = up == -1 ? longest : tree.way[up];
        target = std::max(target, time);
        total += up == -1 ? tree.subtree[s] : 0;
    };
    for (int32_t i = 0; i < forest.count; ++i) end(forest.items[i].super, forest.items[i].cost);
    for (int32_t s = 0; s < symbolic.numSuper; ++s) {
        if (symbolic.tiles.inTop[s] == 0) continue;
        ++numTop;
        const auto rows = static_cast<double>(symbolic.rowBegin[s + 1] - symbolic.rowBegin[s]);
        const double busy = std::clamp<double>(rows / symbolic.tileSize, 1, symbolic.numThreads);
        end(s, tree.way[s] + tree.own[s] / busy);
    }
    return std::max(longest, total / symbolic.numThreads) + numTop * sparsePlanning.updateCost;
}

}  // namespace

int chooseSubtrees(const SparseParameters& parameters, MemoryPool* pool, LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const int32_t numSuper = symbolic.numSuper;
    CostTree tree;
    LDL_TRY(tree.make(symbolic, pool));
    LDL_TRY(makeArray(plan.leafList, pool, numSuper));
    LDL_TRY(makeArray(plan.inTop, pool, numSuper));
    std::fill_n(plan.inTop.data(), numSuper, std::int8_t{0});
    LDL_TRY(makeArray(plan.subtreeFirstBlock, pool, numSuper));
    for (int32_t s = 0; s < numSuper; ++s)
        plan.subtreeFirstBlock[s] = plan.superFirstBlock[tree.firstDescendant[s]];
    Forest forest{tree, symbolic, plan.leafList.data(), 0, 0};
    forest.start();
    const double alone = deal(forest.items, forest.count, symbolic.numThreads);
    divide(parameters, symbolic, forest);
    // A tree that is a chain has nothing to share.
    const bool isWished = parameters.forcedThreads > 0;
    if (!isWished && sharedTime(tree, symbolic, forest) > sparsePlanning.leastGain * alone) {
        std::fill_n(plan.inTop.data(), numSuper, std::int8_t{0});
        forest.start();
    }
    plan.numLeaves = forest.count;
    (void)deal(plan.leafList.data(), plan.numLeaves, symbolic.numThreads);
    return ldl::ok;
}

}  // namespace ovrelin
