// The one source of randomness of nested dissection: a multiplicative generator modulo the prime
// 2^31 - 1. The same seed gives the same order.
#pragma once

#include <cstdint>
#include <utility>

namespace ovrelin {

class NdRandom {
public:
    /// Any seed; one that is 0 modulo 2^31 - 1 is replaced by a reading of the clock.
    explicit NdRandom(std::int32_t seed);

    /// 0 .. bound-1, for bound >= 1.
    std::int32_t below(std::int32_t bound) {
        return static_cast<std::int32_t>((next() * static_cast<std::uint64_t>(bound)) >> 31);
    }

    /// Every order of the elements is as likely as any other.
    void shuffle(std::int32_t* item, std::int32_t count) {
        for (std::int32_t k = count - 1; k > 0; --k) std::swap(item[k], item[below(k + 1)]);
    }

    /// Shuffles inside windows of neighbouring elements and places the windows at random: as good
    /// as a full shuffle against systematic effects, and neighbours in memory stay close.
    void shuffleLocally(std::int32_t* item, std::int32_t count, std::int32_t* scratch);

private:
    static constexpr std::uint64_t modulus = 0x7fffffff;
    static constexpr std::uint64_t multiplier = 397204094;

    // A product of two numbers below 2^31 folds to one below 2^32, and that to one below 2^31.
    std::uint64_t next() {
        const std::uint64_t product = state_ * multiplier;
        const std::uint64_t folded = (product & modulus) + (product >> 31);
        state_ = folded >= modulus ? folded - modulus : folded;
        return state_;
    }

    std::uint64_t state_;
};

}  // namespace ovrelin
