#include "sparse/order/dissection/nd_random.hpp"

#include <algorithm>
#include <bit>

#include "frame/host_services.hpp"

namespace ovrelin {
namespace {

// A state of 0 would stay 0 for ever.
std::uint64_t clockSeed(std::uint64_t modulus) {
    if (hostServices == nullptr) return 1;
    const std::uint64_t bits = std::bit_cast<std::uint64_t>(wallClock());
    return 1 + (bits ^ (bits >> 31)) % (modulus - 1);
}

}  // namespace

NdRandom::NdRandom(std::int32_t seed) : state_(static_cast<std::uint32_t>(seed) % modulus) {
    if (state_ == 0) state_ = clockSeed(modulus);
    next();
}

void NdRandom::shuffleLocally(std::int32_t* item, std::int32_t count, std::int32_t* scratch) {
    constexpr std::int32_t window = 64;
    const std::int32_t numWindows = (count + window - 1) / window;
    std::int32_t* order = scratch;
    std::int32_t* source = scratch + numWindows;
    for (std::int32_t k = 0; k < numWindows; ++k) order[k] = k;
    shuffle(order, numWindows);
    std::copy_n(item, count, source);
    for (std::int32_t k = 0; k < numWindows; ++k) {
        const std::int32_t begin = order[k] * window;
        const std::int32_t size = std::min(window, count - begin);
        std::copy_n(source + begin, size, item);
        shuffle(item, size);
        item += size;
    }
}

}  // namespace ovrelin
