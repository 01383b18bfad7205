#include "sparse/numeric/front.hpp"

#include <algorithm>

#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Up to this many columns the triangle above the diagonal is cleared too: one fill is cheaper.
constexpr int32_t fillWholeColumns = 16;

}  // namespace

void touchFront(LdlSymbolic& symbolic, const Front& front) {
    if (front.isOfSum() || symbolic.touched[front.index] != 0) return;
    symbolic.touched[front.index] = 1;
    const int64_t m = front.m;
    if (front.k <= fillWholeColumns) {
        std::fill_n(front.values, m * front.k, 0.0);
        return;
    }
    for (int64_t c = 0; c < front.k; ++c) std::fill_n(front.values + c * m + c, m - c, 0.0);
}

void assembleFront(Factorisation& work, const Front& front) {
    const LdlNumeric& numeric = work.numeric;
    const int64_t* const begin = numeric.lowerBegin.data() + front.firstCol;
    const int32_t* const place = numeric.lowerPlace.data();
    const auto add = [&](auto valueOf) {
        for (int32_t c = 0; c < front.k; ++c) {
            double* const column = front.values + static_cast<int64_t>(c) * front.m;
            for (int64_t e = begin[c]; e < begin[c + 1]; ++e) column[place[e]] += valueOf(e);
        }
    };
    if (work.matValue != nullptr)
        add([from = work.matValue, source = numeric.lowerSource.data()](int64_t e) {
            return from[source[e]];
        });
    else
        add([value = numeric.lowerValue.data()](int64_t e) { return value[e]; });
}

int factorFront(Factorisation& work, const Front& front) {
    int32_t* const pivot = work.symbolic.pivotIndex.data() + front.firstCol;
    const ThinColumns& thin = work.symbolic.thin;
    const int32_t* const reach =
        thin.isCandidate(front.index) ? thin.reach.data() + front.firstCol : nullptr;
    const bool done = factorPivotBlock(front.m, front.k, front.block(),
                                       {work.scratch.scaled, wholeVectors(front.m)}, work.rule,
                                       work.context, pivot, &work.numPerturbed, reach);
    return done ? ldl::ok : ldl::stopped;
}

}  // namespace ovrelin
