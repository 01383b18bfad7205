// The state word of an analysis: set for the length of one stage, idle again on every way out.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

class StateGuard {
public:
    StateGuard(LdlSymbolic& symbolic, std::int32_t state) : symbolic_(symbolic) {
        symbolic_.state = state;
    }
    StateGuard(const StateGuard&) = delete;
    StateGuard& operator=(const StateGuard&) = delete;
    ~StateGuard() { symbolic_.state = ldl::stateIdle; }

private:
    LdlSymbolic& symbolic_;
};

}  // namespace ovrelin
