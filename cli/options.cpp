#include "cli/options.hpp"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <string>

#include "cli/exit_codes.hpp"

namespace ov::cli {
namespace {

constexpr int kMaxCount = 1000000000;
constexpr int kMaxThreads = 32;  // of one factorisation

constexpr const char* kFooter =
    "Exit status: 0 solved, 2 primal infeasible, 3 dual infeasible, 4 either or both,\n"
    "5 stopped by a limit or interrupted, 6 not convex, 1 any other failure,\n"
    "64 wrong usage, 65 unreadable or invalid model, 66 no such file.";

std::string requirePositive(const std::string& text) {
    double value = 0.0;
    if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value) || value <= 0.0)
        return "expected a positive number, found '" + text + "'";
    return {};
}

// Validators have no description, which would fill the help with ranges.
CLI::Validator between(int first, int last) {
    const auto check = [first, last](const std::string& text) -> std::string {
        int value = 0;
        if (CLI::detail::lexical_cast(text, value) && value >= first && value <= last) return {};
        return "expected a whole number from " + std::to_string(first) + " to " +
               std::to_string(last) + ", found '" + text + "'";
    };
    return {check, ""};
}

void addSolveOptions(CLI::App& app, Options& o) {
    const CLI::Validator positive(requirePositive, "");
    app.add_option("--time-limit", o.timeLimit, "Stop after S seconds of CPU time")
        ->type_name("S")
        ->check(positive);
    app.add_flag("--wall-clock", o.wallClock, "Measure the time limit by the wall clock");
    app.add_option("--iteration-limit", o.iterationLimit, "Stop after N iterations")
        ->type_name("N")
        ->check(between(0, kMaxCount));
    app.add_option("--optimality-tol", o.optimalityTol, "Relative gap and complementarity")
        ->type_name("X")
        ->check(positive);
    app.add_option("--primal-tol", o.primalTol, "Infeasibility of rows and bounds")
        ->type_name("X")
        ->check(positive);
    app.add_option("--dual-tol", o.dualTol, "Dual infeasibility")->type_name("X")->check(positive);
    app.add_option("--threads", o.threads, "Threads of the factorisation")
        ->type_name("N")
        ->check(between(1, kMaxThreads));
    app.add_option("--presolve", o.presolve, "auto or off")
        ->type_name("MODE")
        ->check(CLI::IsMember({"auto", "off"}).description(""));
    auto* const maximize =
        app.add_flag("--maximize", o.maximize, "Maximise, whatever the model says");
    app.add_flag("--minimize", o.minimize, "Minimise, whatever the model says")->excludes(maximize);
}

void addOutputOptions(CLI::App& app, Options& o) {
    app.add_flag("--json", o.json, "Print one line of JSON and nothing else");
    app.add_option("--solution", o.solutionFile, "Write the point and its duals to FILE")
        ->type_name("FILE");
    app.add_flag("--stats", o.stats, "Print statistics of the model before the solve");
    app.add_option("--print-frequency", o.printFrequency,
                   "Print every N-th iteration; 0 prints none")
        ->type_name("N")
        ->check(between(0, kMaxCount));
    app.add_flag("--quiet", o.quiet, "Print errors only");
}

// A mistyped option is what went wrong, whatever else it makes wrong: its value is taken for MODEL.
std::optional<std::string> unknownOption(const CLI::App& app) {
    for (const std::string& left : app.remaining())
        if (left.size() > 1 && left[0] == '-') return "unknown option " + left;
    return std::nullopt;
}

int refuse(const std::string& reason) {
    std::cerr << "ovsolve: " << reason << "\nRun ovsolve --help for the options.\n";
    return kUsage;
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
    CLI::App app("Solves linear and convex quadratic programs by an interior-point method.",
                 "ovsolve");
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("ovsolve ") + OVSOLVE_VERSION);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.add_option("MODEL", options.model,
                   "MPS or QPS file, fixed or free format, plain or .gz; - for standard input")
        ->required()
        ->type_name("");
    addSolveOptions(app, options);
    addOutputOptions(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& end) {  // help or version
        return app.exit(end);
    } catch (const CLI::ParseError& error) {
        return refuse(unknownOption(app).value_or(error.what()));
    }
    if (options.model.empty()) return refuse("MODEL is empty");
    return std::nullopt;
}

}  // namespace ov::cli
