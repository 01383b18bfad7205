#include "sparse/symbolic/direct_plan.hpp"

#include "sparse/symbolic/make_array.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Writes the places of supernode s's update from `place` on; returns where they end.
int32_t* placeUpdate(const LdlSymbolic& symbolic, int32_t s, int32_t count, int32_t* place) {
    const int64_t end = symbolic.rowBegin[s + 1];
    const int32_t* const rows = symbolic.rowList.data() + end - count;
    // Where the rows stand in `up`, which moves towards the root.
    int32_t at[DirectUpdates::mostRows];
    for (int32_t r = 0; r < count; ++r) at[r] = symbolic.parentPlace[end - count + r];
    int32_t up = symbolic.superParent[s];
    for (int32_t c = 0; c < count; ++c) {
        for (; up != symbolic.colToSuper[rows[c]]; up = symbolic.superParent[up])
            for (int32_t r = c; r < count; ++r)
                at[r] = symbolic.parentPlace[symbolic.rowBegin[up] + at[r]];
        const int64_t m = symbolic.rowBegin[up + 1] - symbolic.rowBegin[up];
        const auto column = static_cast<int32_t>(symbolic.valueBegin[up] + at[c] * m);
        for (int32_t r = c; r < count; ++r) *place++ = column + at[r];
    }
    return place;
}

}  // namespace

int planDirectUpdates(MemoryPool* pool, LdlSymbolic& symbolic) {
    DirectUpdates& direct = symbolic.direct;
    LDL_TRY(makeArray(direct.begin, pool, int64_t{symbolic.numSuper} + 1));
    const auto rowsBelow = [&](int32_t s) {
        const int64_t count = symbolic.rowBegin[s + 1] - symbolic.rowBegin[s] -
                              (symbolic.superFirstCol[s + 1] - symbolic.superFirstCol[s]);
        return count <= DirectUpdates::mostRows ? static_cast<int32_t>(count) : 0;
    };
    direct.begin[0] = 0;
    for (int32_t s = 0; s < symbolic.numSuper; ++s) {
        const int32_t count = rowsBelow(s);
        direct.begin[s + 1] = direct.begin[s] + count * (count + 1) / 2;
    }
    LDL_TRY(makeArray(direct.place, pool, direct.begin[symbolic.numSuper]));
    int32_t* place = direct.place.data();
    for (int32_t s = 0; s < symbolic.numSuper; ++s)
        place = placeUpdate(symbolic, s, rowsBelow(s), place);
    return ldl::ok;
}

}  // namespace ovrelin
