#include "eigen/random_stream.hpp"

#include <algorithm>

#include "eigen/lapack.hpp"

namespace ovrelin {

void fillRandom(RandomStream& stream, std::int32_t count, double* x) {
    constexpr std::int32_t batchSize = 64;
    for (std::int32_t i = 0; i < count; i += batchSize) {
        const std::int32_t batch = std::min(batchSize, count - i);
        dlaruv_(stream.seed, &batch, x + i);
    }
}

}  // namespace ovrelin
