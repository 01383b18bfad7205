// The one-line JSON summary of a solve, for programs that run ovsolve.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ov::modelio {

/// The fields of the line, in their order.
struct SolveSummary {
    std::string_view name;
    std::int32_t rows = 0, columns = 0;
    std::int64_t nonzeros = 0;
    std::int64_t quadNonzeros = 0;  ///< in Q's lower triangle, the diagonal included
    std::int32_t returnValue = 0;
    std::string_view status;
    double objective = 0.0;
    std::int32_t iterations = 0;
    double primalInfeasibility = 0.0, dualInfeasibility = 0.0, boundInfeasibility = 0.0;
    double dualityGap = 0.0, complementarity = 0.0;
    double readSeconds = 0.0, solveSeconds = 0.0;
    std::int32_t threads = 0;
};

/// One JSON object without a line end. A number that is not finite is null; bytes of the name that
/// are not UTF-8 are replaced.
[[nodiscard]] std::string summaryJson(const SolveSummary& summary);

}  // namespace ov::modelio
