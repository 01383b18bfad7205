#include "modelio/summary_json.hpp"

#include <nlohmann/json.hpp>

namespace ov::modelio {

std::string summaryJson(const SolveSummary& s) {
    using Json = nlohmann::ordered_json;
    const Json line = {{"name", s.name},
                       {"rows", s.rows},
                       {"columns", s.columns},
                       {"nonzeros", s.nonzeros},
                       {"quadNonzeros", s.quadNonzeros},
                       {"returnValue", s.returnValue},
                       {"status", s.status},
                       {"objective", s.objective},
                       {"iterations", s.iterations},
                       {"primalInfeasibility", s.primalInfeasibility},
                       {"dualInfeasibility", s.dualInfeasibility},
                       {"boundInfeasibility", s.boundInfeasibility},
                       {"dualityGap", s.dualityGap},
                       {"complementarity", s.complementarity},
                       {"readSeconds", s.readSeconds},
                       {"solveSeconds", s.solveSeconds},
                       {"threads", s.threads}};
    return line.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace ov::modelio
