// The seeds of a property test: 1 .. count. OVRELIN_SEED names a single one, by which a failing
// seed that a test has printed is replayed; OVRELIN_SEEDS another count, for a long run.
#pragma once

#include <cstdlib>

namespace ovtest {

struct Seeds {
    int first, last;
    [[nodiscard]] bool replayed() const { return first == last; }
};

inline Seeds seeds(int count) {
    if (const char* chosen = std::getenv("OVRELIN_SEED")) {
        const int seed = std::atoi(chosen);
        return {seed, seed};
    }
    const char* wanted = std::getenv("OVRELIN_SEEDS");
    return {1, wanted != nullptr ? std::atoi(wanted) : count};
}

}  // namespace ovtest
