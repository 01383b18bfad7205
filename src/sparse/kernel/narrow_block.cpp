#include "sparse/kernel/narrow_block.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// A front in work. Columns done stand in `scaled`, L D with the interchanges so far; L is stored
/// when all are done.
struct Narrow {
    int32_t m, k;
    Block front, scaled;
    const PivotRule& rule;
    int32_t* pivot;
    double inverse[narrowColumns];  // of single pivots

    [[nodiscard]] double* given(int32_t c) const { return front.data + c * front.ld; }
    [[nodiscard]] double* column(int32_t c) const { return scaled.data + c * scaled.ld; }
    [[nodiscard]] PairInverse pairInverse(int32_t c) const {
        return {column(c)[c], column(c)[c + 1], column(c + 1)[c + 1]};
    }
    /// Whether `following` columns of the front take what a whole vector holds beyond one's end.
    [[nodiscard]] bool hasRoom(int32_t following) const {
        return following * front.ld >= vectorWidth - 1;
    }
};

/// Row `row` of L in the columns done.
OV_INLINE void rowOfL(const Narrow& work, int32_t done, int32_t row, double* coef) {
    for (int32_t c = 0; c < done; ++c) {
        if (!isPair(work.pivot[c])) {
            coef[c] = work.column(c)[row] * work.inverse[c];
            continue;
        }
        work.pairInverse(c).apply(work.column(c)[row], work.column(c + 1)[row], coef[c],
                                  coef[c + 1]);
        ++c;
    }
}

/// out = in - scaled(:, 0:done) coef from row `done` on, in whole vectors; `in` may be `out`.
OV_INLINE void reduceColumn(const Narrow& work, int32_t done, const double* coef, const double* in,
                            double* out) {
    for (int32_t r = vectorBegin(done); r < work.m; r += vectorWidth) {
        Eight even = eight(in + r);
        Eight odd = {};
        int32_t c = 0;
        for (; c + 2 <= done; c += 2) {
            even -= eight(work.column(c) + r) * coef[c];
            odd -= eight(work.column(c + 1) + r) * coef[c + 1];
        }
        if (c < done) even -= eight(work.column(c) + r) * coef[c];
        eight(out + r) = even + odd;
    }
}

/// Brings column j up to date.
OV_INLINE void takeColumn(const Narrow& work, int32_t j) {
    double coef[narrowColumns];
    double* const out = work.column(j);
    const double* in = work.given(j);
    if (!work.hasRoom(work.k - 1 - j)) {
        for (int32_t r = j; r < work.m; ++r) out[r] = in[r];
        in = out;
    }
    rowOfL(work, j, j, coef);
    reduceColumn(work, j, coef, in, out);
}

enum class Verdict { inPlace, replaced, other };

/// Bunch and Kaufman's first test for the pivot at j.
OV_INLINE Verdict judge(const Narrow& work, int32_t j) {
    const double* const column = work.column(j);
    const double size = std::fabs(column[j]);
    bool larger = false, usable = false;
    for (int32_t r = j + 1; r < work.k; ++r) {
        const double rival = std::fabs(column[r]);
        larger |= work.rule.alpha * rival > size;
        usable |= rival > work.rule.tolerance;
    }
    if (size <= work.rule.tolerance && !usable) return Verdict::replaced;
    return larger ? Verdict::other : Verdict::inPlace;
}

/// Column `row` of what remains, up to date, into the place of column j + 1.
OV_INLINE void takeRival(const Narrow& work, int32_t j, int32_t row) {
    double coef[narrowColumns];
    double* const out = work.column(j + 1);
    for (int32_t r = j; r < row; ++r) out[r] = work.given(r)[row];
    for (int32_t r = row; r < work.m; ++r) out[r] = work.given(row)[r];
    rowOfL(work, j, row, coef);
    reduceColumn(work, j, coef, out, out);
}

struct Choice {
    int32_t row;  // swapped with the last column of the pivot
    bool pair;
};

/// The rest of the choice, when the diagonal entry does not dominate its column.
OV_INLINE Choice chooseRival(const Narrow& work, int32_t j) {
    double* const current = work.column(j);
    double colMax = 0, rowMax = 0;
    int32_t row = j;
    for (int32_t r = j + 1; r < work.k; ++r) {
        if (!(std::fabs(current[r]) > colMax)) continue;
        colMax = std::fabs(current[r]);
        row = r;
    }
    takeRival(work, j, row);
    const double* const other = work.column(j + 1);
    for (int32_t r = j; r < work.k; ++r)
        if (r != row) rowMax = std::max(rowMax, std::fabs(other[r]));
    const double limit = rowMax == 0 ? std::numeric_limits<double>::max()
                                     : work.rule.alpha * colMax * (colMax / rowMax);
    if (std::fabs(current[j]) >= limit) return {j, false};
    const double least = std::max(work.rule.tolerance, work.rule.alpha * rowMax);
    if (!(std::fabs(other[row]) >= least)) return {row, true};
    for (int32_t r = j; r < work.m; ++r) current[r] = other[r];
    return {row, false};
}

/// Exchanges rows and columns `from` < `to`: column `from` of the front, whose up-to-date values
/// have been taken, moves to `to`; in the copies the rows change places.
OV_INLINE void interchange(const Narrow& work, int32_t from, int32_t to) {
    work.given(to)[to] = work.given(from)[from];
    for (int32_t r = from + 1; r < to; ++r) work.given(r)[to] = work.given(from)[r];
    for (int32_t r = to + 1; r < work.m; ++r) work.given(to)[r] = work.given(from)[r];
    for (int32_t c = 0; c <= from; ++c) std::swap(work.column(c)[from], work.column(c)[to]);
}

/// column = scaled(:, first) f0 + scaled(:, second) f1 in the rows begin .. m. What the last vector
/// writes beyond the column is rewritten with the next ones, where there are any.
OV_INLINE void storeColumn(const Narrow& work, int32_t begin, int32_t col, int32_t first, double f0,
                           int32_t second, double f1) {
    const double* const x = work.column(first);
    const double* const y = work.column(second);
    double* const out = work.given(col);
    const int32_t m = work.m;
    int32_t r = begin;
    if (work.hasRoom(work.k - 1 - col)) {
        for (; r < m; r += vectorWidth) eight(out + r) = eight(x + r) * f0 + eight(y + r) * f1;
        return;
    }
    for (; r + vectorWidth <= m; r += vectorWidth)
        eight(out + r) = eight(x + r) * f0 + eight(y + r) * f1;
    for (; r < m; ++r) out[r] = x[r] * f0 + y[r] * f1;
}

OV_INLINE void storeSingle(const Narrow& work, int32_t c) {
    const double* const from = work.column(c);
    double* const out = work.given(c);
    const double inverse = work.inverse[c];
    const int32_t m = work.m;
    out[c] = from[c];
    int32_t r = c + 1;
    if (work.hasRoom(work.k - 1 - c)) {
        for (; r < m; r += vectorWidth) eight(out + r) = eight(from + r) * inverse;
        return;
    }
    for (; r + vectorWidth <= m; r += vectorWidth) eight(out + r) = eight(from + r) * inverse;
    for (; r < m; ++r) out[r] = from[r] * inverse;
}

OV_INLINE void storePair(const Narrow& work, int32_t c) {
    const PairInverse inverse = work.pairInverse(c);
    const double d11 = work.column(c)[c], d21 = work.column(c)[c + 1];
    const double d22 = work.column(c + 1)[c + 1];
    storeColumn(work, c + 2, c, c, inverse.scale * inverse.a, c + 1, -inverse.scale);
    work.given(c)[c] = d11;
    work.given(c)[c + 1] = d21;
    storeColumn(work, c + 2, c + 1, c + 1, inverse.scale * inverse.b, c, -inverse.scale);
    work.given(c + 1)[c + 1] = d22;
}

OV_INLINE void storeFactor(const Narrow& work) {
    for (int32_t c = 0; c < work.k; ++c) {
        if (!isPair(work.pivot[c])) {
            storeSingle(work, c);
        } else {
            storePair(work, c);
            ++c;
        }
    }
}

/// Takes the interchanges back out of the columns that came before them, from the last to the
/// first.
OV_INLINE void undoEarlierSwaps(const Narrow& work) {
    for (int32_t last = work.k - 1; last >= 0; --last) {
        const int32_t row = pivotRow(work.pivot[last]);
        const int32_t second = last;
        if (isPair(work.pivot[last])) --last;
        if (row == second) continue;
        for (int32_t c = 0; c < last; ++c) std::swap(work.given(c)[row], work.given(c)[second]);
    }
}

OV_INLINE void factorColumn(int32_t m, double* front, double* scaled, const PivotRule& rule,
                            int32_t* numPerturbed) {
    if (std::fabs(front[0]) <= rule.tolerance) {
        front[0] = std::copysign(rule.tolerance, front[0] == 0 ? 1.0 : front[0]);
        ++*numPerturbed;
    }
    const double inverse = 1 / front[0];
    for (int32_t r = 1; r < m; ++r) {
        scaled[r] = front[r];
        front[r] *= inverse;
    }
}

}  // namespace

OV_CLONES void factorNarrowBlock(int32_t m, int32_t k, Block front, Block scaled,
                                 const PivotRule& rule, int32_t* pivot, int32_t* numPerturbed) {
    if (k == 1) {
        pivot[0] = 0;
        return factorColumn(m, front.data, scaled.data, rule, numPerturbed);
    }
    Narrow work{m, k, front, scaled, rule, pivot, {}};
    bool moved = false;
    for (int32_t j = 0; j < k; ++j) {
        takeColumn(work, j);
        double& diagonal = work.column(j)[j];
        const Verdict verdict = judge(work, j);
        Choice choice{j, false};
        if (verdict == Verdict::other) {
            choice = chooseRival(work, j);
            const int32_t last = choice.pair ? j + 1 : j;
            moved |= choice.row != last;
            if (choice.row != last) interchange(work, last, choice.row);
        } else if (verdict == Verdict::replaced) {
            diagonal = std::copysign(rule.tolerance, diagonal == 0 ? 1.0 : diagonal);
            ++*numPerturbed;
        }
        if (choice.pair) {
            pivot[j] = pivot[j + 1] = ~choice.row;
            ++j;
        } else {
            pivot[j] = choice.row;
            work.inverse[j] = 1 / diagonal;
        }
    }
    storeFactor(work);
    if (moved) undoEarlierSwaps(work);
}

}  // namespace ovrelin
