#include "sparse/solve/sweeps.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/blas.hpp"
#include "sparse/kernel/pivot_block.hpp"
#include "sparse/kernel/product.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Blocks below the diagonal block of at least this many entries go to DGEMV.
constexpr int64_t blasEntries = 1024;

/// One block column's factor, and its part of the vector in hand: w[0..k) its own columns.
struct Step {
    int32_t m, k;
    const double* factor;
    const int32_t* pivot;
    const int32_t* rowsBelow;
    double* own;    // the k entries of the vector itself
    double* below;  // [m - k] gathered
    double limit;

    [[nodiscard]] const double* column(int32_t c) const {
        return factor + static_cast<int64_t>(c) * m;
    }
};

bool overflows(double value, double limit) {
    return std::fabs(value) >= limit;
}

/// w_below -= L2 x.
void subtractBelow(const Step& step, const double* x) {
    const int32_t count = step.m - step.k;
    const double* lower = step.factor + step.k;
    if (static_cast<int64_t>(count) * step.k < blasEntries) {
        subtractColumns(count, step.k, {lower, step.m}, x, 1, step.below);
        return;
    }
    const double minusOne = -1, plusOne = 1;
    const int32_t unit = 1;
    dgemv_("N", &count, &step.k, &minusOne, lower, &step.m, x, &unit, &plusOne, step.below, &unit);
}

/// w_own -= L2' w_below.
void subtractFromBelow(const Step& step) {
    const int32_t count = step.m - step.k;
    const double* lower = step.factor + step.k;
    if (static_cast<int64_t>(count) * step.k < blasEntries) {
        for (int32_t c = 0; c < step.k; ++c)
            step.own[c] -= dotColumns(count, lower + static_cast<int64_t>(c) * step.m, step.below);
        return;
    }
    const double minusOne = -1, plusOne = 1;
    const int32_t unit = 1;
    dgemv_("T", &count, &step.k, &minusOne, lower, &step.m, step.below, &unit, &plusOne, step.own,
           &unit);
}

/// w_own = L1^-1 w_own, the interchanges replayed between the columns.
void solveUnitLower(const Step& step) {
    double* const w = step.own;
    for (int32_t c = 0; c < step.k; ++c) {
        const int32_t row = pivotRow(step.pivot[c]);
        if (!isPair(step.pivot[c])) {
            std::swap(w[c], w[row]);
            subtractColumns(step.k - c - 1, 1, {step.column(c) + c + 1, step.m}, w + c, 1,
                            w + c + 1);
            continue;
        }
        std::swap(w[c + 1], w[row]);
        subtractColumns(step.k - c - 2, 2, {step.column(c) + c + 2, step.m}, w + c, 1, w + c + 2);
        ++c;
    }
}

/// w_own = D^-1 w_own; false on overflow.
bool divideByPivots(const Step& step) {
    double* const w = step.own;
    for (int32_t c = 0; c < step.k; ++c) {
        const double* d = step.column(c) + c;
        if (!isPair(step.pivot[c])) {
            w[c] /= d[0];
            if (overflows(w[c], step.limit)) return false;
            continue;
        }
        const double t = d[1];
        const double a = d[0] / t, b = d[step.m + 1] / t;
        const double e0 = w[c] / t, e1 = w[c + 1] / t;
        const double denominator = a * b - 1;
        w[c + 1] = (a * e1 - e0) / denominator;
        w[c] = (b * e0 - e1) / denominator;
        if (overflows(std::max(std::fabs(w[c]), std::fabs(w[c + 1])), step.limit)) return false;
        ++c;
    }
    return true;
}

/// w_own = L1^-T w_own, from the last column to the first; false on overflow.
bool solveUnitUpper(const Step& step) {
    double* const w = step.own;
    for (int32_t c = step.k - 1; c >= 0; --c) {
        const int32_t row = pivotRow(step.pivot[c]);
        const int32_t last = c;
        if (isPair(step.pivot[c])) --c;
        for (int32_t col = c; col <= last; ++col) {
            w[col] -= dotColumns(step.k - last - 1, step.column(col) + last + 1, w + last + 1);
            if (overflows(w[col], step.limit)) return false;
        }
        std::swap(w[last], w[row]);
    }
    return true;
}

Step stepOf(const LdlSymbolic& symbolic, int32_t block, double* vector, double* gathered,
            double limit) {
    const BlockColumns& blocks = symbolic.blocks;
    const int32_t first = blocks.firstCol[block];
    const int64_t begin = blocks.rowBegin[block];
    const int32_t k = blocks.firstCol[block + 1] - first;
    return {static_cast<int32_t>(blocks.rowEnd[block] - begin),
            k,
            symbolic.factorValues.data() + blocks.valueBegin[block],
            symbolic.pivotIndex.data() + first,
            symbolic.rowList.data() + begin + k,
            vector + first,
            gathered,
            limit};
}

void gatherBelow(const Step& step, const double* vector) {
    for (int32_t r = 0; r < step.m - step.k; ++r) step.below[r] = vector[step.rowsBelow[r]];
}

/// vector = D^-1 L^-1 vector, block columns ascending.
bool forward(const LdlSymbolic& symbolic, double* vector, double* gathered, double limit) {
    for (int32_t b = 0; b < symbolic.blocks.count; ++b) {
        const Step step = stepOf(symbolic, b, vector, gathered, limit);
        solveUnitLower(step);
        if (step.m > step.k) {
            gatherBelow(step, vector);
            subtractBelow(step, step.own);
            for (int32_t r = 0; r < step.m - step.k; ++r) vector[step.rowsBelow[r]] = step.below[r];
        }
        if (!divideByPivots(step)) return false;
    }
    return true;
}

/// vector = L^-T vector, block columns descending.
bool backward(const LdlSymbolic& symbolic, double* vector, double* gathered, double limit) {
    for (int32_t b = symbolic.blocks.count - 1; b >= 0; --b) {
        const Step step = stepOf(symbolic, b, vector, gathered, limit);
        if (step.m > step.k) {
            gatherBelow(step, vector);
            subtractFromBelow(step);
        }
        if (!solveUnitUpper(step)) return false;
    }
    return true;
}

}  // namespace

int ldlTriangularSolve(int permutedFlag, double* input, const LdlSymbolic& symbolic, double* output,
                       SweepWork work) {
    const int32_t n = symbolic.n;
    double* const y = work.permuted;
    const int32_t* const perm = symbolic.perm.data();
    if (permutedFlag == 0)
        for (int32_t i = 0; i < n; ++i) y[i] = input[perm[i]];
    else
        std::copy_n(input, n, y);
    if (!forward(symbolic, y, input, work.overflowLimit) ||
        !backward(symbolic, y, input, work.overflowLimit))
        return ldl::overflow;
    if (permutedFlag == 0)
        for (int32_t i = 0; i < n; ++i) output[perm[i]] = y[i];
    else
        std::copy_n(y, n, output);
    return ldl::ok;
}

}  // namespace ovrelin
