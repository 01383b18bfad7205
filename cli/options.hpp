// The command line of ovsolve.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ov::cli {

/// Unset options keep the module's defaults.
struct Options {
    std::string model;
    std::string solutionFile;
    bool json = false;
    bool quiet = false;
    bool stats = false;
    bool wallClock = false;
    bool maximize = false;
    bool minimize = false;
    std::optional<double> timeLimit, optimalityTol, primalTol, dualTol;
    std::optional<std::int32_t> iterationLimit, threads, printFrequency;
    std::string presolve;
};

/// Reads the command line. When the program is to end here (help, version, wrong usage) the exit
/// status is returned, what there is to say having been printed.
[[nodiscard]] std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace ov::cli
