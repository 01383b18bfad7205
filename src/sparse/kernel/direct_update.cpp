#include "sparse/kernel/direct_update.hpp"

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/scatter.hpp"
#include "sparse/kernel/whole_vectors.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Of a single column.
OV_INLINE void subtractOuter(int32_t count, const double* l, const double* scaled,
                             const int32_t* place, double* values) {
    for (int32_t c = 0; c < count; ++c)
        for (int32_t r = c; r < count; ++r) values[*place++] -= l[r] * scaled[c];
}

/// W in registers, its rows in one vector.
template <int count, int width>
OV_INLINE void subtractFew(int32_t k, ConstBlock lower, ConstBlock scaled, const int32_t* place,
                           double* values) {
    if (k == 1) return subtractOuter(count, lower.data, scaled.data, place, values);
    using Vector = typename tile::VectorOf<width>::type;
    Vector w[count] = {};
    for (int64_t p = 0; p < k; ++p) {
        const Vector left = *reinterpret_cast<const Vector*>(scaled.data + p * scaled.ld);
        for (int c = 0; c < count; ++c) w[c] += left * lower.data[p * lower.ld + c];
    }
    const double* const entry = reinterpret_cast<const double*>(w);
    for (int c = 0; c < count; ++c)
        for (int r = c; r < count; ++r) values[*place++] -= entry[c * width + r];
}

/// W in memory.
OV_INLINE void subtractFormed(int32_t count, int32_t k, ConstBlock lower, ConstBlock scaled,
                              const int32_t* place, double* values) {
    if (k == 1) return subtractOuter(count, lower.data, scaled.data, place, values);
    alignas(64) double w[vectorWidth * vectorWidth];
    formUpdate(count, count, k, scaled, lower, {w, vectorWidth});
    for (int32_t c = 0; c < count; ++c)
        for (int32_t r = c; r < count; ++r) values[*place++] -= w[c * vectorWidth + r];
}

}  // namespace

OV_CLONES void subtractDirectly(int32_t count, int32_t k, ConstBlock lower, ConstBlock scaled,
                                const int32_t* place, double* values) {
    switch (count) {
        case 1:
            return subtractFew<1, 1>(k, lower, scaled, place, values);
        case 2:
            return subtractFew<2, 2>(k, lower, scaled, place, values);
        case 3:
            return subtractFew<3, 4>(k, lower, scaled, place, values);
        case 4:
            return subtractFew<4, 4>(k, lower, scaled, place, values);
        default:
            return subtractFormed(count, k, lower, scaled, place, values);
    }
}

}  // namespace ovrelin
