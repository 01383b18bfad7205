// The state word of an analysis: set for the length of one stage, idle again on every way out.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

class StateGuard {
public:
    StateGuard(LdlSymbolic& symbolic, std::int32_t state) : symbolic_(symbolic) { set(state); }
    StateGuard(const StateGuard&) = delete;
    StateGuard& operator=(const StateGuard&) = delete;
    ~StateGuard() { set(ldl::stateIdle); }

private:
    // Another thread may watch the state to learn when a factorisation has left.
    void set(std::int32_t state) { __atomic_store_n(&symbolic_.state, state, __ATOMIC_RELEASE); }

    LdlSymbolic& symbolic_;
};

}  // namespace ovrelin
