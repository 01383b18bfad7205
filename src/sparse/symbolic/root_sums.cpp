#include "sparse/symbolic/root_sums.hpp"

#include <algorithm>

#include "sparse/numeric/root_sum.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Entries of a triangle.
double triangle(double rows) {
    return rows * (rows + 1) / 2;
}

/// Entries that the fronts of a subtree would send to the top one by one, the strips of a supernode
/// together.
double entriesForTop(const LdlSymbolic& symbolic, const LeafItem& leaf) {
    const TilePlan& plan = symbolic.tiles;
    const int32_t firstAbove = plan.blockFirstCol[leaf.endBlock];
    double entries = 0;
    for (int32_t b = leaf.firstBlock; b < leaf.endBlock; ++b) {
        const int32_t super = symbolic.colToSuper[plan.blockFirstCol[b]];
        if (b + 1 != plan.superFirstBlock[super + 1]) continue;
        const int32_t* const begin = symbolic.rowList.data() + plan.blockRowBegin[b];
        const int32_t* const end = symbolic.rowList.data() + plan.blockRowEnd[b];
        entries += triangle(static_cast<double>(end - std::lower_bound(begin, end, firstAbove)));
    }
    return entries;
}

}  // namespace

// A sum is cleared, takes the entries once and is read once; it pays where several fronts meet in
// it.
void chooseRootSums(LdlSymbolic& symbolic) {
    TilePlan& plan = symbolic.tiles;
    const auto most = static_cast<int64_t>(sparsePlanning.mostSums *
                                           static_cast<double>(symbolic.numFactorEntries));
    plan.sumSize = 0;
    for (int32_t i = 0; i < plan.numLeaves; ++i) {
        LeafItem& leaf = plan.leafList[i];
        const int32_t root = leaf.endBlock - 1;
        const int64_t rows = plan.blockRowEnd[root] - plan.blockRowBegin[root] -
                             (plan.blockFirstCol[root + 1] - plan.blockFirstCol[root]);
        const int64_t size = RootSum::sizeOf(rows);
        const double least = sparsePlanning.leastMeeting * triangle(static_cast<double>(rows));
        const bool pays = rows > 0 && entriesForTop(symbolic, leaf) >= least;
        const bool fits = plan.sumSize + size <= most;
        leaf.sumBegin = pays && fits ? plan.sumSize : -1;
        if (leaf.sumBegin >= 0) plan.sumSize += size;
    }
}

}  // namespace ovrelin
