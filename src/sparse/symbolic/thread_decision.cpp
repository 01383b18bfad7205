#include "sparse/symbolic/thread_decision.hpp"

#include <algorithm>
#include <cstddef>

#include "frame/parameters/sparse_parameters.hpp"

namespace ovrelin {

namespace {

using std::int32_t;

/// Above `bound`, at most `cap` threads.
struct CapRow {
    double bound;
    int32_t cap;
};

/// Caps by operations, and the operations per entry above which the team is as large as it gets.
struct CapTable {
    double fullTeamRatio;  // 0: no such rule
    CapRow row[6];         // descending bounds; a cap of 0 ends the table
};

/// [class 3 or not][schedulingMode]
constexpr CapTable capTables[2][2] = {
    {{0, {{1.05e10, 32}, {2.3e9, 16}, {2.45e8, 8}, {2.3e8, 3}, {0, 0}, {0, 0}}},
     {25000, {{2e11, 16}, {1.05e10, 8}, {3e8, 4}, {0, 0}, {0, 0}, {0, 0}}}},
    {{0, {{3.6e9, 32}, {1.25e9, 16}, {4.1e8, 8}, {2.8e8, 4}, {1e8, 3}, {8e7, 2}}},
     {14000, {{9.5e9, 16}, {1.2e9, 8}, {6.6e8, 4}, {2.7e8, 3}, {0, 0}, {0, 0}}}},
};

int32_t capOf(const CapTable& table, double ops, double ratio) {
    if (table.fullTeamRatio > 0 && ratio > table.fullTeamRatio) return sparsePlanning.mostThreads;
    for (const CapRow& row : table.row)
        if (row.cap > 0 && ops > row.bound) return row.cap;
    return 0;
}

double firstBlockShare(const ThreadQuestion& question) {
    if (question.firstBlockSize < 1 || question.n < 1) return sparsePlanning.unknownFirstBlock;
    return static_cast<double>(question.firstBlockSize) / question.n;
}

constexpr double always = 1e300;

/// Below `bound`, tiles of `size`.
struct SizeRow {
    double bound;
    int32_t size;
};

/// Tile sizes of teams of up to `maxThreads`.
struct SizeTable {
    int32_t maxThreads;
    bool byDensity;  // the bounds are on operations per entry, otherwise on the widest supernode
    SizeRow row[6];  // ascending bounds
};

/// The larger the team, the more tiles it needs to keep everyone busy; the wider the supernodes,
/// the larger the tiles may be for the same number of them.
constexpr SizeTable dynamicSizes[] = {
    {1, false, {{1800, 320}, {always, 448}}},
    {2, false, {{3500, 160}, {7000, 224}, {always, 320}}},
    {3, false, {{1200, 128}, {1900, 160}, {3500, 256}, {always, 320}}},
    {4, false, {{1200, 128}, {1900, 160}, {3500, 224}, {always, 320}}},
    {8, false, {{1200, 96}, {1500, 128}, {1900, 160}, {2020, 192}, {16000, 224}, {always, 256}}},
    {16, false, {{1200, 96}, {1900, 128}, {4000, 160}, {16000, 192}, {always, 256}}},
    {32, true, {{1900, 96}, {2300, 128}, {4000, 160}, {12000, 192}, {always, 256}}},
};
constexpr SizeTable staticSizes[] = {
    {1, false, {{1800, 320}, {always, 448}}},
    {2, true, {{2900, 160}, {6500, 224}, {always, 320}}},
    {3, true, {{900, 128}, {2900, 160}, {6500, 224}, {always, 320}}},
    {4, true, {{900, 112}, {2900, 160}, {6500, 224}, {always, 320}}},
    {8, true, {{900, 96}, {2300, 128}, {4000, 160}, {6500, 192}, {12000, 224}, {always, 256}}},
    {16, true, {{900, 80}, {2300, 112}, {4000, 144}, {6500, 176}, {12000, 192}, {always, 256}}},
    {32, true, {{1900, 64}, {2300, 96}, {4000, 128}, {12000, 192}, {always, 256}}},
};

template <std::size_t count>
const SizeTable& tableFor(const SizeTable (&tables)[count], int32_t numThreads) {
    for (const SizeTable& table : tables)
        if (numThreads <= table.maxThreads) return table;
    return tables[count - 1];
}

}  // namespace

ThreadDecision decideThreads(const ThreadQuestion& question) {
    const ThreadDecision sequential{false, 1};
    const double ratio =
        question.numLowerEntries > 0 ? question.supernodeOps / question.numLowerEntries : 0.0;
    if (question.numThreads == 1)
        return ratio <= sparsePlanning.sequentialRatio ? sequential : ThreadDecision{true, 1};
    const bool grid = question.matrixClass == sparsePlanning.gridClass;
    if (!grid && firstBlockShare(question) >= sparsePlanning.widestFirstBlock) return sequential;
    const bool byStatic = question.schedulingMode != 0;
    const int32_t cap = capOf(capTables[grid][byStatic], question.supernodeOps, ratio);
    if (cap == 0) return sequential;
    return {true, std::min(question.numThreads, cap)};
}

int32_t chooseTileSize(int32_t numThreads, int32_t schedulingMode, int32_t maxSuperCols,
                       double density) {
    const SizeTable& table = schedulingMode != 0 ? tableFor(staticSizes, numThreads)
                                                 : tableFor(dynamicSizes, numThreads);
    const double key = table.byDensity ? density : maxSuperCols;
    for (const SizeRow& row : table.row)
        if (key < row.bound) return row.size;
    return table.row[0].size;
}

}  // namespace ovrelin
