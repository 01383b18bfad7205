// One pass over vectors that updates them and sums: several vector operations of an iteration touch
// the same elements, and a long vector is read once instead of once for each.
#pragma once

#include <cstdint>

namespace ovrelin {

/// Sum of term(i) for i in 0 .. count - 1, in four interleaved partial sums: a fixed order, so that
/// results are reproducible, without one long chain of additions.
template <class Term>
inline double sumOver(std::int32_t count, Term term) {
    double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
    std::int32_t i = 0;
    for (; i + 3 < count; i += 4) {
        s0 += term(i);
        s1 += term(i + 1);
        s2 += term(i + 2);
        s3 += term(i + 3);
    }
    for (; i < count; ++i) s0 += term(i);
    return (s0 + s1) + (s2 + s3);
}

}  // namespace ovrelin
