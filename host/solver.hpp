// The solver: one instance of the module, its operations on owned arrays, and their results.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "host/host.hpp"
#include "host/problem.hpp"
#include "ovrelin/ovrelin.h"

namespace ov {

/// The status words: optimal, conditionally_optimal, primal_infeasible, dual_infeasible,
/// infeasible_or_unbounded, iteration_limit, time_limit, interrupted, not_convex, failed,
/// out_of_memory. Unknown return values are "failed".
[[nodiscard]] std::string_view statusText(std::int32_t returnValue);

/// How a solve ended. Vectors are those of the caller's problem:
///
///   reducedCost = obj + Qx - matrix' dual
///
/// When minimising, dual >= 0 on a lower row side and <= 0 on an upper one, reducedCost >= 0 at a
/// lower bound and <= 0 at an upper one; when maximising all of these signs are reversed (the
/// module solves the negated problem, and the duals are negated back here). The vectors are zero,
/// except for the reduced cost that follows from them, unless hasPoint().
struct Result {
    std::int32_t returnValue = OVRELIN_FAILED;
    std::string_view status;  // statusText(returnValue)
    double objective = 0;
    std::int32_t iterations = 0;
    double primalInfeasibility = 0, dualInfeasibility = 0, boundInfeasibility = 0;
    double dualityGap = 0, complementarity = 0;
    double preSeconds = 0, solveSeconds = 0;
    std::vector<double> x;            // [numCol]
    std::vector<double> reducedCost;  // [numCol]
    std::vector<double> activity;     // [numRow], matrix x as the module returns it
    std::vector<double> dual;         // [numRow]

    [[nodiscard]] bool isSolved() const {
        return returnValue == OVRELIN_OPTIMAL || returnValue == OVRELIN_CONDITIONALLY_OPTIMAL;
    }
    /// Solved, or stopped by a limit with its last point.
    [[nodiscard]] bool hasPoint() const {
        return isSolved() || returnValue == OVRELIN_ITERATION_LIMIT ||
               returnValue == OVRELIN_TIME_LIMIT;
    }
};

struct SeparableResult {
    std::int32_t returnValue = OVRELIN_SINGLE_ITERATION_LIMIT;  // OVRELIN_SINGLE_...
    std::int32_t iterations = 0;                                // 0 for a quick exit
    double primalResidual = 0, dualResidual = 0, gap = 0;
    double objective = 0;
    std::vector<double> x;
};

/// One solver instance. One operation at a time; different solvers may work at once.
class Solver {
public:
    /// Loads the module `module` by the host. Throws LoadError, or std::bad_alloc when the module
    /// gives no instance.
    explicit Solver(Host& host, std::string_view module = "ovrelin");
    /// A module linked into the program.
    Solver(Host& host, ModuleExtent extent, ModuleEntry entry);
    ~Solver();
    Solver(const Solver&) = delete;
    Solver& operator=(const Solver&) = delete;

    /// The options that solve(problem) uses; change them in place.
    [[nodiscard]] InstanceOptions& options();
    /// Asked at fixed points of the solve; true interrupts it. An exception that it throws
    /// interrupts the solve too and leaves solve() with it. Empty: never asked.
    void setBreak(std::function<bool()> callback);

    /// Throws InputError for a malformed problem. The caller's arrays are not changed.
    [[nodiscard]] Result solve(const Problem& problem);
    [[nodiscard]] Result solve(const Problem& problem, const InstanceOptions& options);
    [[nodiscard]] SeparableResult solveSingleConstraintQp(const SeparableProblem& problem);
    /// Throws InputError, or std::bad_alloc.
    [[nodiscard]] ProblemStatistics matrixStatistics(const Problem& problem);

    /// The instance itself.
    [[nodiscard]] SolverInstance* instance();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace ov
