#include "sparse/kernel/narrow_block.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/narrow_front.hpp"
#include "sparse/kernel/pair_inverse.hpp"
#include "sparse/kernel/two_columns.hpp"

namespace ovrelin {

namespace {

using namespace narrow;

/// The largest |x[r]|, first <= r < last; two at a time, as each maximum waits for the one before.
OV_INLINE double largestSize(const double* x, int32_t first, int32_t last) {
    double even = 0, odd = 0;
    int32_t r = first;
    for (; r + 2 <= last; r += 2) {
        even = std::max(even, std::fabs(x[r]));
        odd = std::max(odd, std::fabs(x[r + 1]));
    }
    if (r < last) even = std::max(even, std::fabs(x[r]));
    return std::max(even, odd);
}

/// Column `row` of what remains, up to date, into the place of column j + 1.
template <class V>
OV_INLINE void takeRival(Narrow<V>& work, int32_t j, int32_t row) {
    double* const out = work.column(j + 1);
    work.extend(row);
    for (int32_t r = j; r < row; ++r) out[r] = work.given(r)[row];
    const int32_t last = std::min(wholeVectors(work.end), work.m);
    for (int32_t r = row; r < last; ++r) out[r] = work.given(row)[r];
    reduceColumns<1>(work, j, {{out}, {out}, {work.unit + row}}, j);
}

struct Choice {
    int32_t row;  // swapped with the last column of the pivot
    bool pair;
};

/// Bunch and Kaufman's further tests, when the diagonal entry does not dominate its column.
template <class V>
OV_INLINE Choice chooseRival(Narrow<V>& work, int32_t j, double colMax, const PivotRule& rule) {
    double* const current = work.column(j);
    int32_t row = j + 1;
    while (std::fabs(current[row]) != colMax) ++row;
    takeRival(work, j, row);
    const double* const other = work.column(j + 1);
    const double rowMax =
        std::max(largestSize(other, j, row), largestSize(other, row + 1, work.ownEnd()));
    const double limit =
        rowMax == 0 ? std::numeric_limits<double>::max() : rule.alpha * colMax * (colMax / rowMax);
    if (std::fabs(current[j]) >= limit) return {j, false};
    const double least = std::max(rule.tolerance, rule.alpha * rowMax);
    if (!(std::fabs(other[row]) >= least)) return {row, true};
    for (int32_t r = vectorBegin(j); r < work.end; r += vectorWidth)
        vectorAt<V>(current + r) = vectorAt<V>(other + r);
    return {row, false};
}

/// Column `from` of the front, whose up-to-date values have been taken, moves to `to` > `from`.
template <class V>
OV_INLINE void moveColumn(const Narrow<V>& work, int32_t from, int32_t to) {
    work.given(to)[to] = work.given(from)[from];
    for (int32_t r = from + 1; r < to; ++r) work.given(r)[to] = work.given(from)[r];
    for (int32_t r = to + 1; r < work.end; ++r) work.given(to)[r] = work.given(from)[r];
}

/// Exchanges two rows of the columns before `end`, where `second` is the one of the pivot.
template <class V>
OV_INLINE void swapRows(Narrow<V>& work, int32_t end, int32_t first, int32_t second) {
    const int32_t start = firstActive<2>({work.unit + first, work.unit + second}, end);
    // A pair whose L is zero in its first column only has no zero in L D.
    for (int32_t c = std::max(start - 1, 0); c < end; ++c) {
        std::swap(work.column(c)[first], work.column(c)[second]);
        std::swap(work.unitColumn(c)[first], work.unitColumn(c)[second]);
    }
}

/// Whether whole vectors may be stored beyond the end of column c: what is behind it there stands
/// above the diagonal of the next column.
template <class V>
OV_INLINE bool mayPass(const Narrow<V>& work, int32_t c) {
    return c + 1 < work.k && wholeVectors(work.end) <= work.m + c + 1;
}

/// Keeps the single pivot d of column c: stores the column of L from the vector of row `first` on,
/// its own rows in `unit` too.
template <class V>
OV_INLINE void keepSingle(Narrow<V>& work, int32_t c, double d, double inverse, int32_t first) {
    const double* const from = work.column(c);
    double* const unit = work.unitColumn(c);
    double* const out = work.given(c);
    const int32_t end = mayPass(work, c) ? work.end : std::min(work.end, work.m - vectorWidth + 1);
    int32_t r = vectorBegin(first);
    for (; r < end; r += vectorWidth) {
        const V l = vectorAt<V>(from + r) * inverse;
        vectorAt<V>(out + r) = l;
        if (r < work.k) vectorAt<V>(unit + r) = l;
    }
    if (r < work.end) {
        const int32_t last = work.m - vectorWidth;
        vectorAt<V>(out + last) = vectorAt<V>(from + last) * inverse;
    }
    for (; r < work.k; r += vectorWidth) vectorAt<V>(unit + r) = vectorAt<V>(from + r) * inverse;
    out[c] = d;
}

template <class V>
OV_INLINE void keepPair(Narrow<V>& work, int32_t c, double d11, double d21, double d22) {
    const PairInverse inverse(d11, d21, d22);
    const double p = inverse.scale * inverse.a, q = -inverse.scale, s = inverse.scale * inverse.b;
    const double* const left = work.column(c);
    const double* const right = work.column(c + 1);
    double* const unit0 = work.unitColumn(c);
    double* const unit1 = work.unitColumn(c + 1);
    double* const out0 = work.given(c);
    double* const out1 = work.given(c + 1);
    const int32_t end =
        mayPass(work, c + 1) ? work.end : std::min(work.end, work.m - vectorWidth + 1);
    int32_t r = vectorBegin(c + 1);
    for (; r < end; r += vectorWidth) {
        const V x = vectorAt<V>(left + r), y = vectorAt<V>(right + r);
        const V l0 = x * p + y * q, l1 = x * q + y * s;
        vectorAt<V>(out0 + r) = l0;
        vectorAt<V>(out1 + r) = l1;
        if (r < work.k) vectorAt<V>(unit0 + r) = l0, vectorAt<V>(unit1 + r) = l1;
    }
    if (r < work.end) {
        const int32_t last = work.m - vectorWidth;
        const V x = vectorAt<V>(left + last), y = vectorAt<V>(right + last);
        vectorAt<V>(out0 + last) = x * p + y * q;
        vectorAt<V>(out1 + last) = x * q + y * s;
    }
    for (; r < work.k; r += vectorWidth) {
        const V x = vectorAt<V>(left + r), y = vectorAt<V>(right + r);
        vectorAt<V>(unit0 + r) = x * p + y * q;
        vectorAt<V>(unit1 + r) = x * q + y * s;
    }
    out0[c] = d11, out0[c + 1] = d21, out1[c + 1] = d22;
}

/// The pivot at j, whose column is up to date with `rival` its largest entry below the diagonal,
/// whatever it is; returns its columns.
template <class V>
OV_INLINE int32_t eliminateAny(Narrow<V>& work, int32_t j, double rival, const PivotRule& rule,
                               int32_t* numPerturbed) {
    const double d = work.column(j)[j];
    Choice choice{j, false};
    if (std::max(std::fabs(d), rival) <= rule.tolerance) {
        work.pivot[j] = j;
        const double pivot = replaceSmall(d, rule, numPerturbed);
        keepSingle(work, j, pivot, 1 / pivot, j + 1);
        return 1;
    }
    if (std::fabs(d) < rule.alpha * rival) choice = chooseRival(work, j, rival, rule);
    // L comes before the interchange: its vectors do not wait for the entries that change places.
    const int32_t last = choice.pair ? j + 1 : j, row = choice.row;
    if (row != last) moveColumn(work, last, row);
    if (choice.pair) {
        work.pivot[j] = work.pivot[j + 1] = ~row;
        keepPair(work, j, d, work.column(j)[row], work.column(j + 1)[row]);
    } else {
        work.pivot[j] = row;
        const double pivot = work.column(j)[row];
        keepSingle(work, j, pivot, 1 / pivot, j);
    }
    if (row != last) {
        swapRows(work, last + 1, last, row);
        for (int32_t c = j; c <= last; ++c) work.given(c)[row] = work.unitColumn(c)[row];
    }
    return last + 1 - j;
}

/// What the two columns j, j + 1 do as pivots, when neither needs a row from further down.
enum class Step { inPlace, swapped, pair, other };

/// Bunch and Kaufman's choice from the triangle (a; b e), the largest entry below a, and the rows
/// first .. last below b and e.
OV_INLINE Step chooseStep(double a, double b, double e, double below0, const double* right,
                          int32_t first, int32_t last, const PivotRule& rule) {
    const double size = std::fabs(a), rival = std::fabs(b);
    const double colMax = std::max(rival, below0);
    if (!(size < rule.alpha * colMax)) return Step::inPlace;
    if (colMax <= rule.tolerance || rival < below0) return Step::other;
    const double rowMax = std::max(rival, largestSize(right, first, last));
    if (size >= rule.alpha * rival * (rival / rowMax)) return Step::inPlace;
    return std::fabs(e) >= std::max(rule.tolerance, rule.alpha * rowMax) ? Step::swapped
                                                                         : Step::pair;
}

/// column(j) = left, column(j + 1) = right - left l, from the rows behind the two on.
template <class V>
OV_INLINE void reduceSecond(Narrow<V>& work, int32_t j, const double* left, const double* right,
                            double l) {
    double* const first = work.column(j);
    double* const second = work.column(j + 1);
    for (int32_t r = vectorBegin(j); r < work.end; r += vectorWidth) {
        const V x = vectorAt<V>(left + r), y = vectorAt<V>(right + r);
        vectorAt<V>(first + r) = x;
        vectorAt<V>(second + r) = y - x * l;
    }
}

/// How many columns are done; when not both, the next one is up to date and `rival` is the largest
/// entry below its diagonal.
struct Done {
    int32_t columns;
    double rival;
};

/// Eliminates the columns j and j + 1 as far as they go.
template <class V>
OV_INLINE Done eliminateTwo(Narrow<V>& work, int32_t j, const PivotRule& rule,
                            int32_t* numPerturbed) {
    takeColumns<2>(work, j);
    const double* left = work.column(j);
    const double* right = work.column(j + 1);
    double a = left[j], e = right[j + 1];
    const double b = left[j + 1];
    const double below0 = largestSize(left, j + 2, work.ownEnd());
    const Step step = chooseStep(a, b, e, below0, right, j + 2, work.ownEnd(), rule);
    if (step == Step::other) return {0, std::max(std::fabs(b), below0)};
    if (step == Step::pair) {
        work.pivot[j] = work.pivot[j + 1] = ~(j + 1);
        keepPair(work, j, a, b, e);
        return {2, 0};
    }
    if (step == Step::swapped) {
        swapRows(work, j, j, j + 1);
        std::swap(a, e);
        std::swap(left, right);
    } else if (std::max({std::fabs(a), std::fabs(b), below0}) <= rule.tolerance) {
        a = replaceSmall(a, rule, numPerturbed);
    }
    work.pivot[j] = step == Step::swapped ? j + 1 : j;
    const double inverse = 1 / a;
    const double l = b * inverse;
    reduceSecond(work, j, left, right, l);
    double d = e - b * l;
    const double rival = largestSize(work.column(j + 1), j + 2, work.ownEnd());
    const bool further = std::fabs(d) < rule.alpha * rival;
    // Further columns come into play: the front takes the interchange over.
    if (further && step == Step::swapped) moveColumn(work, j, j + 1);
    keepSingle(work, j, a, inverse, j + 2);
    work.given(j)[j + 1] = work.unitColumn(j)[j + 1] = l;
    if (further) {
        work.column(j)[j + 1] = b;
        work.column(j + 1)[j + 1] = d;
        return {1, rival};
    }
    work.pivot[j + 1] = j + 1;
    if (std::max(std::fabs(d), rival) <= rule.tolerance) d = replaceSmall(d, rule, numPerturbed);
    keepSingle(work, j + 1, d, 1 / d, j + 2);
    return {2, 0};
}

template <class V>
OV_INLINE void factorBy(int32_t m, int32_t k, Block front, Block scaled, const PivotRule& rule,
                        int32_t* pivot, int32_t* numPerturbed, const int32_t* reach) {
    Narrow<V> work;
    work.m = m, work.k = k, work.front = front, work.scaled = scaled, work.pivot = pivot;
    work.reach = reach;
    work.end = reach == nullptr ? m : 0;
    for (int32_t j = 0; j < k;) {
        double rival = 0;
        if (j + 1 < k) {
            const Done done = eliminateTwo(work, j, rule, numPerturbed);
            j += done.columns;
            if (done.columns == 2) continue;
            rival = done.rival;
        } else {
            takeColumns<1>(work, j);
        }
        j += eliminateAny(work, j, rival, rule, numPerturbed);
    }
}

}  // namespace

OV_CLONES void factorNarrowBlock(int32_t m, int32_t k, Block front, Block scaled,
                                 const PivotRule& rule, int32_t* pivot, int32_t* numPerturbed,
                                 const int32_t* reach) {
    if (tile::hasWideRegisters())
        factorBy<Whole>(m, k, front, scaled, rule, pivot, numPerturbed, reach);
    else
        factorBy<Halves>(m, k, front, scaled, rule, pivot, numPerturbed, reach);
}

}  // namespace ovrelin
