// One run of ovsolve: read, solve, report.
#pragma once

#include "cli/options.hpp"

namespace ov::cli {

/// Returns the exit status. Failures to read, load or write are reported on standard error.
[[nodiscard]] int run(const Options& options);

}  // namespace ov::cli
