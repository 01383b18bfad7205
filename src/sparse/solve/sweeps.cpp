#include "sparse/solve/sweeps.hpp"

#include <algorithm>
#include <cmath>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/sweep_block.hpp"
#include "sparse/solve/thin_sweep.hpp"

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
    double* front;   // the rows below one block column, with room for whole vectors
    ThinSweep thin;
    int32_t numRuns;
    const int32_t* runEnd;
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

/// The rows below from the ninth on go to the buffer.
OV_INLINE sweep::Part gather(const Walk& walk, const Step& step) {
    for (int32_t r = vectorWidth; r < step.m - step.k; ++r)
        walk.front[r] = walk.vector[step.rowsBelow[r]];
    return {step.m, step.k, step.factor, step.pivot, walk.vector + step.first, walk.front};
}

/// A block column of so few plain columns needs no gathering: its rows are taken one at a time.
template <int k>
OV_INLINE void forwardNarrow(const Walk& walk, const Step& step) {
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
    for (int c = 0; c < k; ++c) {
        own[c] = x[c] / column[c][c];
    }
}

template <int k>
OV_INLINE void backwardNarrow(const Walk& walk, const Step& step) {
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
    for (int c = k - 1; c >= 0; --c) {
        double x = own[c] - (even[c] + odd[c]);
        for (int p = c + 1; p < k; ++p) x -= column[c][p] * own[p];
        own[c] = x;
    }
}

template <class V>
OV_INLINE void forwardGathered(const Walk& walk, const Step& step) {
    // The first eight of the rows below; beyond the last one stands anything.
    V top = sweep::gathered<V>(walk.vector, step.rowsBelow);
    sweep::forward(gather(walk, step), top);
    vectorAt<V>(walk.front) = top;
    for (int32_t r = 0; r < step.m - step.k; ++r) walk.vector[step.rowsBelow[r]] = walk.front[r];
}

template <class V>
OV_INLINE void backwardGathered(const Walk& walk, const Step& step) {
    // The first eight of the rows below; beyond the last one stands anything.
    V top = sweep::gathered<V>(walk.vector, step.rowsBelow);
    sweep::backward(gather(walk, step), top);
}

/// Columns of a narrow block; other widths, and blocks with interchanges, are not narrow.
OV_INLINE int32_t narrowWidth(const Step& step) {
    if (step.k == 1) return 1;
    return step.k <= 4 && sweep::inPlace(step.pivot, step.k) ? step.k : 0;
}

/// vector = D^-1 L^-1 vector, block columns ascending.
template <class V>
OV_INLINE void forwardBlocksBy(const Walk& walk, int32_t begin, int32_t end) {
    for (int32_t b = begin; b < end; ++b) {
        const Step step = stepOf(walk, b);
        switch (narrowWidth(step)) {
            case 1:
                forwardNarrow<1>(walk, step);
                break;
            case 2:
                forwardNarrow<2>(walk, step);
                break;
            case 3:
                forwardNarrow<3>(walk, step);
                break;
            case 4:
                forwardNarrow<4>(walk, step);
                break;
            default:
                forwardGathered<V>(walk, step);
        }
    }
}

OV_CLONES void forwardBlocks(const Walk& walk, int32_t begin, int32_t end) {
    if (tile::hasWideRegisters())
        forwardBlocksBy<Whole>(walk, begin, end);
    else
        forwardBlocksBy<Halves>(walk, begin, end);
}

/// vector = L^-T vector, block columns descending.
template <class V>
OV_INLINE void backwardBlocksBy(const Walk& walk, int32_t begin, int32_t end) {
    for (int32_t b = end - 1; b >= begin; --b) {
        const Step step = stepOf(walk, b);
        switch (narrowWidth(step)) {
            case 1:
                backwardNarrow<1>(walk, step);
                break;
            case 2:
                backwardNarrow<2>(walk, step);
                break;
            case 3:
                backwardNarrow<3>(walk, step);
                break;
            case 4:
                backwardNarrow<4>(walk, step);
                break;
            default:
                backwardGathered<V>(walk, step);
        }
    }
}

OV_CLONES void backwardBlocks(const Walk& walk, int32_t begin, int32_t end) {
    if (tile::hasWideRegisters())
        backwardBlocksBy<Whole>(walk, begin, end);
    else
        backwardBlocksBy<Halves>(walk, begin, end);
}

/// The block columns of run `i`, in turns thin and not; without runs, all of them are one.
struct RunOfBlocks {
    bool thin;
    int32_t begin, end;
};

OV_INLINE RunOfBlocks runOf(const Walk& walk, int32_t i) {
    if (walk.numRuns == 0) return {false, 0, walk.blocks.count};
    return {i % 2 == 0, i == 0 ? 0 : walk.runEnd[i - 1], walk.runEnd[i]};
}

void forward(const Walk& walk) {
    for (int32_t i = 0; i < std::max(walk.numRuns, 1); ++i) {
        const RunOfBlocks run = runOf(walk, i);
        if (run.thin)
            forwardThin(walk.thin, walk.blocks.firstCol[run.begin], walk.blocks.firstCol[run.end]);
        else
            forwardBlocks(walk, run.begin, run.end);
    }
}

void backward(const Walk& walk) {
    for (int32_t i = std::max(walk.numRuns, 1) - 1; i >= 0; --i) {
        const RunOfBlocks run = runOf(walk, i);
        if (run.thin)
            backwardThin(walk.thin, walk.blocks.firstCol[run.begin], walk.blocks.firstCol[run.end]);
        else
            backwardBlocks(walk, run.begin, run.end);
    }
}

/// Whether any entry is too large to go on with, or what an infinite one has left. A sweep writes
/// each of its results once, so that looking when it is through misses none.
OV_CLONES bool overflows(int32_t n, const double* x, double limit) {
    int64_t beyond = 0;
    for (int32_t i = 0; i < n; ++i) beyond |= std::fabs(x[i]) < limit ? 0 : 1;
    return beyond != 0;
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
    const ThinColumns& thin = symbolic.thin;
    const Walk walk{symbolic.blocks,
                    symbolic.factorValues.data(),
                    symbolic.rowList.data(),
                    symbolic.pivotIndex.data(),
                    y,
                    work.front,
                    {thin.column.data(), thin.row.data(), thin.value.data(), y, n},
                    thin.numRuns,
                    thin.runEnd.data()};
    forward(walk);
    if (overflows(n, y, work.overflowLimit)) return ldl::overflow;
    backward(walk);
    if (overflows(n, y, work.overflowLimit)) return ldl::overflow;
    if (permutedFlag == 0)
        for (int32_t i = 0; i < n; ++i) output[perm[i]] = y[i];
    else
        std::copy_n(y, n, output);
    return ldl::ok;
}

}  // namespace ovrelin
