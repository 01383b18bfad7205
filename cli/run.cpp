#include "cli/run.hpp"

#include <fmt/format.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "cli/exit_codes.hpp"
#include "cli/interrupt.hpp"
#include "cli/model_problem.hpp"
#include "cli/report.hpp"
#include "host/ov.hpp"
#include "modelio/read_model.hpp"
#include "modelio/solution_file.hpp"

namespace ov::cli {
namespace {

/// A file that cannot be written; what() says which and why.
struct WriteError : std::runtime_error {
    explicit WriteError(const std::string& path)
        : std::runtime_error(path + ": " + std::strerror(errno)) {}
};

// Opened before the solve, so that a mistyped path costs no solve.
class SolutionFile {
public:
    explicit SolutionFile(const std::string& path) : path_(path) {
        if (path_.empty()) return;
        file_ = std::fopen(path_.c_str(), "w");
        if (file_ == nullptr) throw WriteError(path_);
    }
    ~SolutionFile() {
        if (file_ != nullptr) (void)std::fclose(file_);
    }
    SolutionFile(const SolutionFile&) = delete;
    SolutionFile& operator=(const SolutionFile&) = delete;

    void write(const modelio::ModelData& model, const Result& result) {
        if (file_ == nullptr) return;
        const modelio::SolutionView view{result.status,      result.objective, result.x,
                                         result.reducedCost, result.activity,  result.dual};
        const bool written = modelio::writeSolution(file_, model, view);
        const bool closed = std::fclose(std::exchange(file_, nullptr)) == 0;
        if (!written || !closed) throw WriteError(path_);
    }

private:
    std::string path_;
    std::FILE* file_ = nullptr;
};

struct ReadResult {
    modelio::ModelData model;
    double seconds = 0.0;
};

ReadResult readTimed(const Options& options) {
    const auto start = std::chrono::steady_clock::now();
    ReadResult read{modelio::readModel(options.model), 0.0};
    if (options.maximize) read.model.objSense = maximise;
    if (options.minimize) read.model.objSense = minimise;
    read.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return read;
}

void setOptions(const Options& from, InstanceOptions& to) {
    to.timeLimit = from.timeLimit.value_or(to.timeLimit);
    if (from.wallClock) to.realTime = 1;
    to.iterationLimit = from.iterationLimit.value_or(to.iterationLimit);
    to.optimalityTol = from.optimalityTol.value_or(to.optimalityTol);
    to.primalTol = from.primalTol.value_or(to.primalTol);
    to.dualTol = from.dualTol.value_or(to.dualTol);
    to.threadCount = from.threads.value_or(to.threadCount);
    to.printFrequency = from.printFrequency.value_or(to.printFrequency);
    if (!from.presolve.empty()) to.presolver = from.presolve == "off" ? 0 : -1;
}

bool isSilent(const Options& options) {
    return options.quiet || options.json;
}

HostOptions hostOptions(const Options& options) {
    HostOptions host;
    if (isSilent(options)) host.out = nullptr;
    return host;
}

int solveAndReport(const Options& options) {
    const ReadResult read = readTimed(options);
    if (!options.quiet) printWarnings(options.model, read.model);
    SolutionFile solutionFile(options.solutionFile);

    Host host(hostOptions(options));
    Solver solver(host);
    setOptions(options, solver.options());
    const std::int32_t threads = solver.options().threadCount;
    const Problem problem = toProblem(read.model);
    if (!isSilent(options)) {
        printBanner(threads);
        printSizes(options.model, read.model, read.seconds);
        if (options.stats) printStatistics(solver.matrixStatistics(problem));
    }

    const Result result = [&] {
        const InterruptGuard guard(host, solver);
        return solver.solve(problem);
    }();
    solutionFile.write(read.model, result);
    if (options.json)
        fmt::print("{}\n", summaryJson(summaryOf(read.model, result, read.seconds, threads)));
    return exitCodeOf(result.returnValue);
}

int complain(std::string_view text, ExitCode code) {
    fmt::print(stderr, "{}\n", text);
    return code;
}

}  // namespace

int run(const Options& options) {
    try {
        const int code = solveAndReport(options);
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw WriteError("<stdout>");
        return code;
    } catch (const modelio::ReadError& error) {
        const bool missing = error.kind() == modelio::ReadError::Kind::NoSuchFile;
        return complain(error.what(), missing ? kNoSuchFile : kBadModel);
    } catch (const InputError& error) {
        return complain(fmt::format("{}: {}", options.model, error.what()), kBadModel);
    } catch (const std::bad_alloc&) {
        return complain("ovsolve: not enough memory", kFailed);
    } catch (const std::exception& error) {
        return complain(fmt::format("ovsolve: {}", error.what()), kFailed);
    }
}

}  // namespace ov::cli
