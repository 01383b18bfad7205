#include "cli/report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "modelio/text_source.hpp"

namespace ov::cli {
namespace {

void printMagnitudes(const char* what, std::int32_t count, double min, double mean, double max) {
    fmt::print("  {:<16}{:>12}{:>14.3g}{:>14.3g}{:>14.3g}\n", what, count, min, mean, max);
}

void printLengths(const char* what, std::int32_t count, std::int32_t min, double mean,
                  std::int32_t max) {
    fmt::print("  {:<16}{:>12}{:>14}{:>14}{:>14}\n", what, count, min, mean, max);
}

}  // namespace

void printBanner(std::int32_t threads) {
    fmt::print("ovsolve {}, {} thread{}\n", OVSOLVE_VERSION, threads, threads == 1 ? "" : "s");
}

void printSizes(const std::string& file, const modelio::ModelData& model, double readSeconds) {
    fmt::print("Model {}: {} rows, {} columns, {} nonzeros",
               model.name.empty() ? modelio::displayName(file) : model.name, model.numRow,
               model.numCol, model.matValue.size());
    if (model.hasQuad()) fmt::print(", {} in the lower triangle of Q", quadNonzeros(model));
    fmt::print("; {}, read in {:.2f} s\n", model.objSense < 0 ? "maximise" : "minimise",
               readSeconds);
}

void printWarnings(const std::string& file, const modelio::ModelData& model) {
    for (const modelio::Warning& warning : model.warnings) {
        const std::string where = warning.line > 0 ? fmt::format(":{}", warning.line) : "";
        fmt::print(stderr, "{}{}: warning: {}\n", modelio::displayName(file), where, warning.text);
    }
}

void printStatistics(const ProblemStatistics& s) {
    fmt::print("  {:<16}{:>12}{:>14}{:>14}{:>14}\n", "magnitudes", "count", "min", "mean", "max");
    printMagnitudes("matrix", s.statNumCoef, s.matMin, s.matMean, s.matMax);
    printMagnitudes("quadratic", 2 * s.statNumQuadCoef + s.numDiagNonzero, s.quadMin, s.quadMean,
                    s.quadMax);
    printMagnitudes("objective", s.numObjNonzero, s.objMin, s.objMean, s.objMax);
    printMagnitudes("right-hand side", s.numRhsNonzero, s.rhsMin, s.rhsMean, s.rhsMax);
    fmt::print("  {:<16}{:>12}{:>14}{:>14}{:>14}\n", "lengths", "count", "min", "mean", "max");
    printLengths("columns", s.statNumCol, s.colLengthMin, s.colLengthMean, s.colLengthMax);
    printLengths("rows", s.statNumRow, s.rowLengthMin, s.rowLengthMean, s.rowLengthMax);
}

std::int64_t quadNonzeros(const modelio::ModelData& model) {
    const auto diagonal = std::count_if(model.quadDiag.begin(), model.quadDiag.end(),
                                        [](double d) { return d != 0.0; });
    return diagonal + static_cast<std::int64_t>(model.quadMatValue.size());
}

modelio::SolveSummary summaryOf(const modelio::ModelData& model, const Result& result,
                                double readSeconds, std::int32_t threads) {
    modelio::SolveSummary s;
    s.name = model.name;
    s.rows = model.numRow;
    s.columns = model.numCol;
    s.nonzeros = static_cast<std::int64_t>(model.matValue.size());
    s.quadNonzeros = quadNonzeros(model);
    s.returnValue = result.returnValue;
    s.status = result.status;
    s.objective = result.objective;
    s.iterations = result.iterations;
    s.primalInfeasibility = result.primalInfeasibility;
    s.dualInfeasibility = result.dualInfeasibility;
    s.boundInfeasibility = result.boundInfeasibility;
    s.dualityGap = result.dualityGap;
    s.complementarity = result.complementarity;
    s.readSeconds = readSeconds;
    s.solveSeconds = result.solveSeconds;
    s.threads = threads;
    return s;
}

}  // namespace ov::cli
