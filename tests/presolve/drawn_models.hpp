// Random small models made to be reduced: every row is one of the kinds that a reduction looks for,
// and their order is random, so that one reduction opens the next.
#pragma once

#include <random>

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

/// The model in words, for the message of a failing seed.
std::string describe(const SmallProblem& p);

}  // namespace ovtest
