// Random points of the self-checks: the same on every machine, so that a fault can be replayed.
#pragma once

#include <cstdint>

namespace ovrelin {

/// Lehmer generator: seed = 397204094 * seed mod (2^31 - 1), in (0, 1) after division. A seed of 0
/// stays 0.
inline double debugRandom(std::int32_t& seed) {
    constexpr std::uint64_t modulus = 2147483647;
    seed = static_cast<std::int32_t>(397204094u * static_cast<std::uint64_t>(seed) % modulus);
    return static_cast<double>(seed) / 2147483647.0;
}

}  // namespace ovrelin
