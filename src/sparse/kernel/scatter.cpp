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
        tile::fixed<false, vectorWidth, cols>(k, {a.data + r, a.ld}, right,
                                              {w.data + r + col * w.ld, w.ld});
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

void subtractScattered(int32_t m, int32_t n, ConstBlock w, const int32_t* place, Block target) {
    for (int32_t col = 0; col < n; ++col) {
        double* const out = target.data + place[col] * target.ld;
        const double* const from = w.data + col * w.ld;
        for (int32_t r = col; r < m; ++r) out[place[r]] -= from[r];
    }
}

OV_CLONES void subtractConsecutive(int32_t m, int32_t n, ConstBlock w, Block target) {
    for (int32_t col = 0; col < n; ++col) {
        double* const out = target.data + col * target.ld;
        const double* const from = w.data + col * w.ld;
        for (int32_t r = col; r < m; ++r) out[r] -= from[r];
    }
}

}  // namespace ovrelin
