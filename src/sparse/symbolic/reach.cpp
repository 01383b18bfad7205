#include "sparse/symbolic/reach.hpp"

#include <algorithm>

namespace ovrelin {

namespace {

using std::int32_t;

void findLastRows(const PermutedPattern& matrix, const int32_t* parent, int32_t* last) {
    const int32_t n = matrix.pattern.n;
    for (int32_t j = 0; j < n; ++j) {
        last[j] = j;
        for (int32_t p = matrix.begin(j); p < matrix.end(j); ++p)
            last[j] = std::max(last[j], matrix.row(p));
    }
    // Parents come behind their children.
    for (int32_t j = 0; j < n; ++j)
        if (parent[j] != -1) last[parent[j]] = std::max(last[parent[j]], last[j]);
}

}  // namespace

void findReach(const PermutedPattern& matrix, const int32_t* parent, const BlockColumns& blocks,
               const int32_t* rowList, int32_t* reach) {
    findLastRows(matrix, parent, reach);
    for (int32_t b = 0; b < blocks.count; ++b) {
        const int32_t* const rows = rowList + blocks.rowBegin[b];
        const int32_t* const end = rowList + blocks.rowEnd[b];
        const int32_t* at = rows;
        for (int32_t j = blocks.firstCol[b]; j < blocks.firstCol[b + 1]; ++j) {
            while (at < end && *at <= reach[j]) ++at;
            reach[j] = static_cast<int32_t>(at - rows);
        }
    }
}

}  // namespace ovrelin
