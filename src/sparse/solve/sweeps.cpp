#include "sparse/solve/sweeps.hpp"

#include <algorithm>
#include <cmath>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/sweep_block.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// What both sweeps walk over, as plain arrays.
struct Walk {
    BlockColumns blocks;
    const double* values;
    const int32_t* rowList;
    const int32_t* pivot;
    double* vector;  // [n] in the order of the factors
    double* front;   // one block column's part of it, with room for whole vectors
    double limit;
};

/// One block column.
struct Step {
    int32_t first, m, k;
    const double* factor;
    const int32_t* pivot;
    const int32_t* rowsBelow;
};

OV_INLINE Step stepOf(const Walk& walk, int32_t block) {
    const int32_t first = walk.blocks.firstCol[block];
    const int64_t begin = walk.blocks.rowBegin[block];
    const int32_t k = walk.blocks.firstCol[block + 1] - first;
    return {first,
            static_cast<int32_t>(walk.blocks.rowEnd[block] - begin),
            k,
            walk.values + walk.blocks.valueBegin[block],
            walk.pivot + first,
            walk.rowList + begin + k};
}

OV_INLINE sweep::Part gather(const Walk& walk, const Step& step) {
    double* const below = walk.front + (step.k + 7) / 4 * 4;
    for (int32_t c = 0; c < step.k; ++c) walk.front[c] = walk.vector[step.first + c];
    for (int32_t r = 0; r < step.m - step.k; ++r) below[r] = walk.vector[step.rowsBelow[r]];
    return {step.m, step.k, step.factor, step.pivot, walk.front, below};
}

/// Takes the own entries over; true when one of them is beyond the limit.
OV_INLINE bool storeOwn(const Walk& walk, const Step& step) {
    bool beyond = false;
    for (int32_t c = 0; c < step.k; ++c) {
        walk.vector[step.first + c] = walk.front[c];
        beyond |= std::fabs(walk.front[c]) >= walk.limit;
    }
    return beyond;
}

/// A block column of so few plain columns needs no gathering: its rows are taken one at a time.
template <int k>
OV_INLINE bool forwardNarrow(const Walk& walk, const Step& step) {
    double x[k];
    double* const own = walk.vector + step.first;
    const double* column[k];
    for (int c = 0; c < k; ++c) {
        column[c] = step.factor + static_cast<int64_t>(c) * step.m;
        x[c] = own[c];
        for (int p = 0; p < c; ++p) x[c] -= column[p][c] * x[p];
    }
    for (int32_t r = k; r < step.m; ++r) {
        double& entry = walk.vector[step.rowsBelow[r - k]];
        double sum = column[0][r] * x[0];
        for (int c = 1; c < k; ++c) sum += column[c][r] * x[c];
        entry -= sum;
    }
    bool beyond = false;
    for (int c = 0; c < k; ++c) {
        own[c] = x[c] / column[c][c];
        beyond |= std::fabs(own[c]) >= walk.limit;
    }
    return beyond;
}

template <int k>
OV_INLINE bool backwardNarrow(const Walk& walk, const Step& step) {
    double even[k] = {}, odd[k] = {};
    double* const own = walk.vector + step.first;
    const double* column[k];
    for (int c = 0; c < k; ++c) column[c] = step.factor + static_cast<int64_t>(c) * step.m;
    int32_t r = k;
    for (; r + 2 <= step.m; r += 2) {
        const double first = walk.vector[step.rowsBelow[r - k]];
        const double second = walk.vector[step.rowsBelow[r + 1 - k]];
        for (int c = 0; c < k; ++c) {
            even[c] += column[c][r] * first;
            odd[c] += column[c][r + 1] * second;
        }
    }
    if (r < step.m) {
        const double entry = walk.vector[step.rowsBelow[r - k]];
        for (int c = 0; c < k; ++c) even[c] += column[c][r] * entry;
    }
    bool beyond = false;
    for (int c = k - 1; c >= 0; --c) {
        double x = own[c] - (even[c] + odd[c]);
        for (int p = c + 1; p < k; ++p) x -= column[c][p] * own[p];
        own[c] = x;
        beyond |= std::fabs(x) >= walk.limit;
    }
    return beyond;
}

OV_INLINE bool forwardGathered(const Walk& walk, const Step& step) {
    const sweep::Part part = gather(walk, step);
    sweep::forward(part);
    sweep::divideByPivots(part);
    for (int32_t r = 0; r < step.m - step.k; ++r) walk.vector[step.rowsBelow[r]] = part.below[r];
    return storeOwn(walk, step);
}

OV_INLINE bool backwardGathered(const Walk& walk, const Step& step) {
    sweep::backward(gather(walk, step));
    return storeOwn(walk, step);
}

/// Columns of a narrow block; other widths, and blocks with interchanges, are not narrow.
OV_INLINE int32_t narrowWidth(const Step& step) {
    if (step.k == 1) return 1;
    return step.k <= 4 && sweep::inPlace(step.pivot, step.k) ? step.k : 0;
}

/// vector = D^-1 L^-1 vector, block columns ascending; false on overflow.
OV_CLONES bool forward(const Walk& walk) {
    bool beyond = false;
    for (int32_t b = 0; b < walk.blocks.count && !beyond; ++b) {
        const Step step = stepOf(walk, b);
        switch (narrowWidth(step)) {
            case 1:
                beyond = forwardNarrow<1>(walk, step);
                break;
            case 2:
                beyond = forwardNarrow<2>(walk, step);
                break;
            case 3:
                beyond = forwardNarrow<3>(walk, step);
                break;
            case 4:
                beyond = forwardNarrow<4>(walk, step);
                break;
            default:
                beyond = forwardGathered(walk, step);
        }
    }
    return !beyond;
}

/// vector = L^-T vector, block columns descending; false on overflow.
OV_CLONES bool backward(const Walk& walk) {
    bool beyond = false;
    for (int32_t b = walk.blocks.count - 1; b >= 0 && !beyond; --b) {
        const Step step = stepOf(walk, b);
        switch (narrowWidth(step)) {
            case 1:
                beyond = backwardNarrow<1>(walk, step);
                break;
            case 2:
                beyond = backwardNarrow<2>(walk, step);
                break;
            case 3:
                beyond = backwardNarrow<3>(walk, step);
                break;
            case 4:
                beyond = backwardNarrow<4>(walk, step);
                break;
            default:
                beyond = backwardGathered(walk, step);
        }
    }
    return !beyond;
}

}  // namespace

int64_t solveWorkSize(const LdlSymbolic& symbolic) {
    int64_t longest = 0;
    for (int32_t b = 0; b < symbolic.blocks.count; ++b)
        longest = std::max(longest, symbolic.blocks.rowEnd[b] - symbolic.blocks.rowBegin[b]);
    return 3 * int64_t{symbolic.n} + longest + 2 * sweep::readAhead;
}

SweepWork sweepWork(double* solveWork, const LdlSymbolic& symbolic, double overflowLimit) {
    return {solveWork, solveWork + 3 * int64_t{symbolic.n}, overflowLimit};
}

int ldlTriangularSolve(int permutedFlag, double* input, const LdlSymbolic& symbolic, double* output,
                       SweepWork work) {
    const int32_t n = symbolic.n;
    double* const y = work.permuted;
    const int32_t* const perm = symbolic.perm.data();
    if (permutedFlag == 0)
        for (int32_t i = 0; i < n; ++i) y[i] = input[perm[i]];
    else
        std::copy_n(input, n, y);
    const Walk walk{symbolic.blocks,
                    symbolic.factorValues.data(),
                    symbolic.rowList.data(),
                    symbolic.pivotIndex.data(),
                    y,
                    work.front,
                    work.overflowLimit};
    if (!forward(walk) || !backward(walk)) return ldl::overflow;
    if (permutedFlag == 0)
        for (int32_t i = 0; i < n; ++i) output[perm[i]] = y[i];
    else
        std::copy_n(y, n, output);
    return ldl::ok;
}

}  // namespace ovrelin
