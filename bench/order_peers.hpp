// The public orderings that ours are measured beside, with their defaults. A peer that was not
// there at build time gives no order.
#pragma once

#include <cstdint>
#include <vector>

#ifdef OVRELIN_BENCH_METIS
#include <metis.h>
#endif
#ifdef OVRELIN_BENCH_AMD
#include <suitesparse/amd.h>
#endif

namespace bench {

/// Adjacency lists without loops; empty order: the peer is not there or has failed.
using IndexList = std::vector<std::int32_t>;

#ifdef OVRELIN_BENCH_METIS
/// METIS_NodeND.
inline IndexList orderByMetis(const IndexList& begin, const IndexList& adjacency) {
    static_assert(sizeof(idx_t) == sizeof(std::int32_t));
    auto n = static_cast<idx_t>(begin.size() - 1);
    IndexList order(begin.size() - 1), inverse(begin.size() - 1);
    const int code =
        METIS_NodeND(&n, const_cast<idx_t*>(begin.data()), const_cast<idx_t*>(adjacency.data()),
                     nullptr, nullptr, order.data(), inverse.data());
    if (code != METIS_OK) order.clear();
    return order;
}
#else
inline IndexList orderByMetis(const IndexList&, const IndexList&) {
    return {};
}
#endif

#ifdef OVRELIN_BENCH_AMD
/// amd_order.
inline IndexList orderByAmd(const IndexList& begin, const IndexList& adjacency) {
    const auto n = static_cast<std::int32_t>(begin.size() - 1);
    IndexList order(begin.size() - 1);
    double control[AMD_CONTROL], info[AMD_INFO];
    amd_defaults(control);
    const int code = amd_order(n, begin.data(), adjacency.data(), order.data(), control, info);
    if (code != AMD_OK) order.clear();
    return order;
}
#else
inline IndexList orderByAmd(const IndexList&, const IndexList&) {
    return {};
}
#endif

}  // namespace bench
