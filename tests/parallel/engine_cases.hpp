// The engines as the tests see them: a row for each, forced on matrices that the thread decision
// would leave to the sequential one.
#pragma once

#include "support/ldl_solver.hpp"

namespace ovtest {

struct EngineCase {
    const char* name;
    std::int32_t schedulingMode;
    std::int32_t numThreads;  // 0: sequential
    std::int32_t tileSize;
};

/// Tests are listed by it.
inline void PrintTo(const EngineCase& engine, std::ostream* out) {
    *out << engine.name;
}

inline constexpr EngineCase engineCases[] = {
    {"sequential", 1, 0, 0}, {"tiles1", 1, 1, 24},   {"static2", 1, 2, 16},  {"static3", 1, 3, 24},
    {"static4", 1, 4, 32},   {"static5", 1, 5, 16},  {"static6", 1, 6, 40},  {"static7", 1, 7, 16},
    {"static8", 1, 8, 20},   {"dynamic1", 0, 1, 16}, {"dynamic2", 0, 2, 16}, {"dynamic3", 0, 3, 24},
    {"dynamic4", 0, 4, 32},  {"dynamic5", 0, 5, 16}, {"dynamic6", 0, 6, 40}, {"dynamic7", 0, 7, 16},
    {"dynamic8", 0, 8, 20},
};

inline void force(LdlSolver& solver, const EngineCase& engine) {
    solver.handle->schedulingMode = engine.schedulingMode;
    ovrelin::SparseParameters& parameters = solver.handle->parameters;
    parameters.forcedThreads = engine.numThreads;
    parameters.forcedTileSize = engine.tileSize;
    // As many tasks as there can be.
    parameters.smallestSubtree = 0;
}

}  // namespace ovtest
