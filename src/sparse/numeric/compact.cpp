#include "sparse/numeric/compact.hpp"

#include <algorithm>

#include "sparse/kernel/direct_update.hpp"
#include "sparse/kernel/whole_vectors.hpp"
#include "sparse/ldl_try.hpp"
#include "sparse/numeric/thin_writer.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Adds the entries of the matrix, whose places here are those in the block.
void addEntries(LdlNumeric& numeric, const double* matValue, const Front& front) {
    const int64_t end = numeric.lowerBegin[front.firstCol + front.k];
    const int32_t* const place = numeric.lowerPlace.data();
    const int32_t* const source = numeric.lowerSource.data();
    double* const value = numeric.lowerValue.data();
    for (int64_t e = numeric.lowerBegin[front.firstCol]; e < end; ++e) {
        value[e] = matValue[source[e]];
        front.values[place[e]] += value[e];
    }
}

static_assert(DirectUpdates::mostRows <= vectorWidth);

void updateDirectly(const Factorisation& work, const Front& front) {
    LdlSymbolic& symbolic = work.symbolic;
    subtractDirectly(front.m - front.k, front.k, {front.values + front.k, front.m},
                     {work.scratch.scaled + front.k, wholeVectors(front.m)},
                     symbolic.direct.place.data() + symbolic.direct.begin[front.index],
                     symbolic.factorValues.data());
}

}  // namespace

int factorCompact(Factorisation& work, const double* matValue) {
    LdlSymbolic& symbolic = work.symbolic;
    const int32_t count = symbolic.blocks.count;
    std::fill_n(symbolic.factorValues.data(), symbolic.numFactorEntries, 0.0);
    std::fill_n(symbolic.touched.data(), count, 1);
    const DirectUpdates& direct = symbolic.direct;
    for (int32_t b = 0; b < count; ++b) {
        const Front front = frontOf(symbolic, b);
        addEntries(work.numeric, matValue, front);
        LDL_TRY(factorFront(work, front));
        if (direct.begin[b] != direct.begin[b + 1] && front.k <= work.rule.panelWidth)
            updateDirectly(work, front);
        else
            updateAncestors(work, front);
        work.thin->take(front);
    }
    return ldl::ok;
}

}  // namespace ovrelin
