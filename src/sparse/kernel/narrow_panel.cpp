#include "sparse/kernel/narrow_panel.hpp"

#include <cmath>

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Whether the columns of a block that follow one take what a whole vector holds beyond its end.
OV_INLINE bool hasRoomBehind(int32_t m, int32_t followingColumns) {
    return followingColumns * m >= vectorWidth - 1;
}

/// out = column - scaled(:, 0:done) coef, rows begin .. m in whole vectors.
OV_INLINE void reduceColumn(int32_t begin, int32_t m, int32_t done, const double* column,
                            Block scaled, const double* coef, double* out) {
    for (int32_t r = begin; r < m; r += vectorWidth) {
        Eight even = eight(column + r);
        Eight odd = {};
        int32_t p = 0;
        for (; p + 2 <= done; p += 2) {
            even -= eight(scaled.data + p * scaled.ld + r) * coef[p];
            odd -= eight(scaled.data + (p + 1) * scaled.ld + r) * coef[p + 1];
        }
        if (p < done) even -= eight(scaled.data + p * scaled.ld + r) * coef[p];
        eight(out + r) = even + odd;
    }
}

enum class Pivot { inPlace, replaced, other };

/// Bunch and Kaufman's first test for the pivot column[j]; later columns compete with their entries
/// in it, rows j + 1 .. k.
OV_INLINE Pivot judge(const double* column, int32_t j, int32_t k, const PivotRule& rule) {
    const double size = std::fabs(column[j]);
    bool larger = false, usable = false;
    for (int32_t r = j + 1; r < k; ++r) {
        const double rival = std::fabs(column[r]);
        larger |= rule.alpha * rival > size;
        usable |= rival > rule.tolerance;
    }
    if (size > rule.tolerance) return larger ? Pivot::other : Pivot::inPlace;
    return size <= rule.tolerance && !usable ? Pivot::replaced : Pivot::other;
}

/// L = scaled / d below the diagonal. What the last vector writes beyond the column is rewritten
/// with the next one.
OV_INLINE void storeColumn(int32_t m, int32_t j, const double* scaled, double inverse,
                           double* column) {
    column[j] = scaled[j];
    for (int32_t r = j + 1; r < m; r += vectorWidth)
        eight(column + r) = eight(scaled + r) * inverse;
}

OV_INLINE void storeExactly(int32_t m, int32_t j, const double* scaled, double inverse,
                            double* column) {
    column[j] = scaled[j];
    int32_t r = j + 1;
    for (; r + vectorWidth <= m; r += vectorWidth) eight(column + r) = eight(scaled + r) * inverse;
    if (r + 4 <= m) {
        four(column + r) = four(scaled + r) * inverse;
        r += 4;
    }
    for (; r < m; ++r) column[r] = scaled[r] * inverse;
}

}  // namespace

OV_CLONES int32_t eliminateInPlace(int32_t m, int32_t k, Block front, Block scaled,
                                   const PivotRule& rule, int32_t* pivot, int32_t* numPerturbed) {
    double inverse[narrowColumns];
    double coef[narrowColumns];
    int32_t done = 0;
    for (; done < k; ++done) {
        double* const column = scaled.data + done * scaled.ld;
        for (int32_t p = 0; p < done; ++p) coef[p] = scaled.data[p * scaled.ld + done] * inverse[p];
        const double* given = front.data + done * front.ld;
        if (!hasRoomBehind(m, k - 1 - done)) {
            for (int32_t r = done; r < m; ++r) column[r] = given[r];
            given = column;
        }
        reduceColumn(vectorBegin(done), m, done, given, scaled, coef, column);
        const Pivot verdict = judge(column, done, k, rule);
        if (verdict == Pivot::other) break;
        if (verdict == Pivot::replaced) {
            column[done] = std::copysign(rule.tolerance, column[done] == 0 ? 1.0 : column[done]);
            ++*numPerturbed;
        }
        inverse[done] = 1 / column[done];
        pivot[done] = done;
    }
    for (int32_t j = 0; j < done; ++j) {
        const double* const from = scaled.data + j * scaled.ld;
        double* const column = front.data + j * front.ld;
        if (hasRoomBehind(m, done - 1 - j))
            storeColumn(m, j, from, inverse[j], column);
        else
            storeExactly(m, j, from, inverse[j], column);
    }
    return done;
}

}  // namespace ovrelin
