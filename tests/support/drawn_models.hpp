// Random small models made to be reduced: every row is one of the kinds that a reduction looks for,
// and their order is random, so that one reduction opens the next.
#pragma once

#include <gtest/gtest.h>

#include <random>

#include "support/seeds.hpp"
#include "support/small_problem.hpp"

namespace ovtest {

struct Draw {
    int maxRow = 5, maxCol = 4;
    bool quadratic = true;
    /// Right-hand sides are moved by up to a few primalTol (1e-6), so that limits only just fit,
    /// only just miss, or lie within a tolerance of each other.
    bool ties = false;
    /// Right-hand sides may be missed altogether.
    bool infeasible = false;
};

/// Bounded below or above in every column without curvature.
SmallProblem drawReducible(std::mt19937_64& random, const Draw& draw);

inline constexpr Draw quadraticDraw{};
inline constexpr Draw linearDraw{5, 4, false};
inline constexpr Draw tiesDraw{5, 4, true, true};
inline constexpr Draw linearTiesDraw{5, 4, false, true};
inline constexpr Draw infeasibleDraw{5, 4, true, false, true};
inline constexpr Draw linearInfeasibleDraw{5, 4, false, false, true};

/// The model in words, for the message of a failing seed.
std::string describe(const SmallProblem& p);

/// A model from `draw`(random) for each seed up to `count` goes to `check`(model, seed); the first
/// that fails there is described and ends it.
template <class Draw, class Check>
void forDrawn(int count, const Draw& draw, const Check& check) {
    const Seeds all = seeds(count);
    for (int seed = all.first; seed <= all.last && !testing::Test::HasFailure(); ++seed) {
        std::mt19937_64 random(static_cast<std::uint64_t>(seed));
        const SmallProblem small = draw(random);
        SCOPED_TRACE("seed " + std::to_string(seed));
        check(small, seed);
        if (testing::Test::HasFailure()) ADD_FAILURE() << describe(small);
    }
}

}  // namespace ovtest
