// Disjoint sets as trees of links: `link` leads from each member towards the root of its set, which
// is linked to itself.
#pragma once

#include <cstdint>

namespace ovrelin {

/// The root of i's set; shortens the path for those who ask later.
inline std::int32_t findRoot(std::int32_t* link, std::int32_t i) {
    std::int32_t root = i;
    while (link[root] != root) root = link[root];
    while (i != root) {
        const std::int32_t above = link[i];
        link[i] = root;
        i = above;
    }
    return root;
}

}  // namespace ovrelin
