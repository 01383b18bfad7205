#include "sparse/kernel/scatter.hpp"

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

template <int cols>
OV_INLINE void formColumns(int32_t m, int32_t k, int32_t col, ConstBlock a, ConstBlock b, Block w) {
    const ConstBlock right{b.data + col, b.ld};
    for (int32_t r = vectorBegin(col); r < m; r += vectorWidth)
        tile::fixed<vectorWidth, 1, cols>(tile::Into::set, k, {a.data + r, a.ld}, right,
                                          {w.data + r + col * w.ld, w.ld});
}

/// Rows between two looks ahead, and how far ahead that is: the target is seldom in the cache, and
/// its gaps keep the processor from fetching it by itself.
constexpr int32_t fetchRows = 8, rowsAhead = 56;

enum class Sign { minus, plus };

template <Sign sign>
OV_INLINE void combine(double& to, double from) {
    to = sign == Sign::minus ? to - from : to + from;
}

/// Rows begin .. end of `cols` columns, which share the reading of the places.
template <Sign sign, int cols>
OV_INLINE void combineRows(int32_t begin, int32_t end, int32_t col, ConstBlock w,
                           const int32_t* place, const int32_t* columns, Block target) {
    const double* from[cols];
    double* out[cols];
    for (int c = 0; c < cols; ++c) {
        from[c] = w.data + (col + c) * w.ld;
        out[c] = target.data + columns[col + c] * target.ld;
    }
    const auto combineRow = [&](int32_t r) __attribute__((always_inline)) {
        const int64_t to = place[r];
        for (int c = 0; c < cols; ++c) combine<sign>(out[c][to], from[c][r]);
    };
    int32_t r = begin;
    for (; r + fetchRows + rowsAhead < end; r += fetchRows) {
        for (int c = 0; c < cols; ++c) __builtin_prefetch(out[c] + place[r + rowsAhead], 1);
        for (int32_t i = r; i < r + fetchRows; ++i) combineRow(i);
    }
    for (; r < end; ++r) combineRow(r);
}

/// Rows whose places are consecutive: one segment after the other.
struct Segments {
    static constexpr int32_t most = 64;
    int32_t count;
    int32_t end[most];
};

/// Rows from which on it is worth looking for segments, and those that one must have on average.
constexpr int32_t leastRows = 32;
constexpr int32_t segmentRows = 12;

OV_INLINE bool findSegments(int32_t m, const int32_t* place, Segments& segments) {
    const int32_t room = m / segmentRows < Segments::most ? m / segmentRows : Segments::most;
    segments.count = 0;
    for (int32_t r = 1; r <= m; ++r) {
        if (r < m && place[r] == place[r - 1] + 1) continue;
        if (segments.count == room) return false;
        segments.end[segments.count++] = r;
    }
    return true;
}

template <Sign sign>
OV_INLINE void combineSegments(int32_t n, bool lower, ConstBlock w, const int32_t* place,
                               const int32_t* columns, const Segments& segments, Block target) {
    for (int32_t col = 0; col < n; ++col) {
        const double* const from = w.data + col * w.ld;
        double* const column = target.data + columns[col] * target.ld;
        int32_t r = lower ? col : 0;
        for (int32_t s = 0; s < segments.count; ++s) {
            if (segments.end[s] <= r) continue;
            double* const out = column + place[r] - r;
            for (; r < segments.end[s]; ++r) combine<sign>(out[r], from[r]);
        }
    }
}

template <Sign sign>
OV_INLINE void combineScattered(int32_t m, int32_t n, bool lower, ConstBlock w,
                                const int32_t* place, const int32_t* columns, Block target) {
    Segments segments;
    if (n >= 4 && m >= leastRows && findSegments(m, place, segments))
        return combineSegments<sign>(n, lower, w, place, columns, segments, target);
    int32_t col = 0;
    for (; col + 4 <= n; col += 4) {
        if (lower)
            for (int32_t c = col; c < col + 4; ++c)
                combineRows<sign, 1>(c, col + 4, c, w, place, columns, target);
        combineRows<sign, 4>(lower ? col + 4 : 0, m, col, w, place, columns, target);
    }
    for (; col < n; ++col) combineRows<sign, 1>(lower ? col : 0, m, col, w, place, columns, target);
}

}  // namespace

OV_CLONES void formUpdate(int32_t m, int32_t n, int32_t k, ConstBlock a, ConstBlock b, Block w) {
    int32_t col = 0;
    for (; col + 4 <= n; col += 4) formColumns<4>(m, k, col, a, b, w);
    switch (n - col) {
        case 1:
            return formColumns<1>(m, k, col, a, b, w);
        case 2:
            return formColumns<2>(m, k, col, a, b, w);
        case 3:
            return formColumns<3>(m, k, col, a, b, w);
        default:
            return;
    }
}

OV_CLONES void subtractScattered(int32_t m, int32_t n, bool lower, ConstBlock w,
                                 const int32_t* place, const int32_t* columns, Block target) {
    combineScattered<Sign::minus>(m, n, lower, w, place, columns, target);
}

OV_CLONES void addScattered(int32_t m, int32_t n, bool lower, ConstBlock w, const int32_t* place,
                            const int32_t* columns, Block target) {
    combineScattered<Sign::plus>(m, n, lower, w, place, columns, target);
}

OV_CLONES void subtractConsecutive(int32_t m, int32_t n, ConstBlock w, Block target) {
    for (int32_t col = 0; col < n; ++col) {
        double* const out = target.data + col * target.ld;
        const double* const from = w.data + col * w.ld;
        for (int32_t r = col; r < m; ++r) out[r] -= from[r];
    }
}

OV_CLONES void subtractOuterScattered(int32_t m, int32_t n, const double* l, const double* scaled,
                                      const int32_t* place, Block target) {
    for (int32_t col = 0; col < n; ++col) {
        double* const out = target.data + place[col] * target.ld;
        const double factor = scaled[col];
        for (int32_t r = col; r < m; ++r) out[place[r]] -= l[r] * factor;
    }
}

OV_CLONES void subtractOuterConsecutive(int32_t m, int32_t n, const double* l, const double* scaled,
                                        Block target) {
    for (int32_t col = 0; col < n; ++col) {
        double* const out = target.data + col * target.ld;
        const double factor = scaled[col];
        for (int32_t r = col; r < m; ++r) out[r] -= l[r] * factor;
    }
}

}  // namespace ovrelin
