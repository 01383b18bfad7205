// What ovsolve itself prints; the course of the solve is told by the module's messages.
#pragma once

#include "cli/options.hpp"
#include "host/ov.hpp"
#include "modelio/model_data.hpp"
#include "modelio/summary_json.hpp"

namespace ov::cli {

void printBanner(std::int32_t threads);
/// A model without a name goes by that of its file.
void printSizes(const std::string& file, const modelio::ModelData& model, double readSeconds);
/// To standard error, in the form of a compiler's warnings.
void printWarnings(const std::string& file, const modelio::ModelData& model);
void printStatistics(const ProblemStatistics& statistics);

/// Non-zeros of Q's lower triangle, the diagonal included.
[[nodiscard]] std::int64_t quadNonzeros(const modelio::ModelData& model);
[[nodiscard]] modelio::SolveSummary summaryOf(const modelio::ModelData& model, const Result& result,
                                              double readSeconds, std::int32_t threads);

}  // namespace ov::cli
