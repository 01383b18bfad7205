#include "host/message_catalogue.hpp"

#include <fmt/args.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace ov {
namespace {

constexpr CatalogueEntry catalogue[] = {
    {OVRELIN_MSG_OPTIMAL, "", "Optimal."},
    {OVRELIN_MSG_OBJECTIVE, "d", "Objective = {:.10g}."},
    {OVRELIN_MSG_OUT_OF_MEMORY, "", "Out of memory."},
    {OVRELIN_MSG_DUAL_INFEASIBLE, "", "The problem is dual infeasible (unbounded)."},
    {OVRELIN_MSG_ITERATION_LIMIT, "", "The iteration limit is reached."},
    {OVRELIN_MSG_CONDITIONALLY_OPTIMAL, "",
     "Conditionally optimal: feasible, with gap or complementarity near their tolerance."},
    {OVRELIN_MSG_TIME_LIMIT_CPU, "", "The CPU time limit is reached."},
    {OVRELIN_MSG_TIME_LIMIT_REAL, "", "The wall-clock time limit is reached."},
    {OVRELIN_MSG_FAILED, "", "The solve failed."},
    {OVRELIN_MSG_PRIMAL_INFEASIBLE, "", "The problem is primal infeasible."},
    {OVRELIN_MSG_INFEASIBLE_OR_UNBOUNDED, "",
     "The problem is primal infeasible, dual infeasible, or both."},
    {OVRELIN_MSG_INTERRUPTED, "", "The solve is interrupted."},
    {OVRELIN_MSG_OTHER_STATUS, "", "The solve ended for an unknown reason."},
    {OVRELIN_MSG_THREADS, "", "The factorisation runs on several threads."},
    {OVRELIN_MSG_THREAD_COUNT, "i", "Threads: {}."},
    {OVRELIN_MSG_THREAD_MODE, "",
     "With several threads, results may differ in the last digits from run to run."},
    {OVRELIN_MSG_HEADING_FIRST, "",
     "              Complemen-       Duality        Primal         Bound          Dual   Elapsed"},
    {OVRELIN_MSG_HEADING_SECOND, "",
     "Iteration         tarity           Gap Infeasibility Infeasibility Infeasibility   Seconds"},
    {OVRELIN_MSG_ITERATION, "iddddd", "{:9d} {:13.6e} {:13.6e} {:13.6e} {:13.6e} {:13.6e}"},
    {OVRELIN_MSG_SOLVE_TIME, "d", "Solve time = {:.3f} seconds."},
    {OVRELIN_MSG_PRESOLVER_MISSING, "", "The extension ovelppre cannot be loaded."},
    {OVRELIN_MSG_PRESOLVER_NO_INSTANCE, "", "The extension ovelppre gives no instance."},
    {OVRELIN_MSG_HANDOVER_MISSING, "", "The extension ovelpps cannot be loaded."},
    {OVRELIN_MSG_HANDOVER_NO_INSTANCE, "", "The extension ovelpps gives no instance."},
    {OVRELIN_MSG_NOT_CONVEX, "", "The objective is not convex."},
    {OVRELIN_MSG_NOT_CONCAVE, "", "The objective is not concave."},
    {OVRELIN_MSG_CONVEXITY_ADVICE, "",
     "Only convex objectives can be minimised, and only concave ones maximised: "
     "check the signs of the quadratic terms."},
    {OVRELIN_MSG_LP_PRIMAL_INFEASIBLE, "",
     "No point satisfies all rows and bounds of the linear program."},
    {OVRELIN_MSG_PRESOLVE_869, "i", "Presolve is off ({})."},
    {OVRELIN_MSG_PRESOLVE_86A, "i", "Presolve is automatic ({})."},
    {OVRELIN_MSG_PRESOLVE_86E, "i", "The presolve setting {} is unknown."},
    {OVRELIN_MSG_PRESOLVE_86F, "ii", "Presolve removed {} columns and {} rows."},
    {OVRELIN_MSG_PRESOLVE_870, "i", "Presolve removed {} matrix elements."},
    {OVRELIN_MSG_PRESOLVE_9B4, "iii",
     "The presolved problem has {} columns, {} rows and {} matrix elements."},
    {OVRELIN_MSG_PRESOLVE_864, "", "Presolve is complete."},
    {OVRELIN_MSG_PRESOLVE_805, "", "The method is interior point."},
};

fmt::dynamic_format_arg_store<fmt::format_context> takeArguments(const char* letters,
                                                                 std::va_list arguments) {
    fmt::dynamic_format_arg_store<fmt::format_context> store;
    for (; *letters != '\0'; ++letters) {
        if (*letters == 'i') {
            store.push_back(va_arg(arguments, int));
        } else {
            store.push_back(va_arg(arguments, double));
        }
    }
    return store;
}

const char* prefixOf(LineKind kind) {
    switch (kind) {
        case LineKind::warning:
            return "WARNING: ";
        case LineKind::error:
            return "ERROR: ";
        default:
            return "";
    }
}

}  // namespace

const CatalogueEntry* findMessage(std::uint32_t id) {
    const auto* entry = std::find_if(std::begin(catalogue), std::end(catalogue),
                                     [id](const CatalogueEntry& e) { return e.id == id; });
    return entry == std::end(catalogue) ? nullptr : entry;
}

const CatalogueEntry* firstMessage() {
    return catalogue;
}
std::size_t numMessages() {
    return std::size(catalogue);
}

LineKind kindOfLevel(std::int32_t level) {
    switch (level) {
        case OVRELIN_LEVEL_WARNING:
            return LineKind::warning;
        case OVRELIN_LEVEL_ERROR:
            return LineKind::error;
        case OVRELIN_LEVEL_HEADING:
            return LineKind::heading;
        case OVRELIN_LEVEL_ITERATION:
            return LineKind::iteration;
        default:
            return LineKind::note;
    }
}

std::string renderMessage(std::int32_t level, std::uint32_t id, double elapsedSeconds,
                          std::va_list arguments) {
    const CatalogueEntry* entry = findMessage(id);
    std::string line = prefixOf(kindOfLevel(level));
    if (entry == nullptr) return line + fmt::format("Message {:#x} of level {}.", id, level);
    line += fmt::vformat(entry->text, takeArguments(entry->arguments, arguments));
    if (level == OVRELIN_LEVEL_ITERATION) line += fmt::format(" {:9.2f}", elapsedSeconds);
    return line;
}

}  // namespace ov
