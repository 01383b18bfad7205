// Reproducible random vectors: LAPACK's multiplicative congruential generator from a fixed seed, so
// that the same matrix gives the same bits on every run.
#pragma once

#include <cstdint>

namespace ovrelin {

struct RandomStream {
    std::int32_t seed[4] = {1, 2, 3, 5};
};

/// x [count] := the next numbers of the stream, uniform on (0, 1).
void fillRandom(RandomStream& stream, std::int32_t count, double* x);

}  // namespace ovrelin
