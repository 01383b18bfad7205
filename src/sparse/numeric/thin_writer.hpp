// Writes the sparse copy of mostly empty block columns while the factorisation goes over them.
#pragma once

#include <cstdint>

#include "sparse/numeric/front.hpp"

namespace ovrelin {

/// Takes the block columns of a factorisation in ascending order.
class ThinWriter {
public:
    explicit ThinWriter(LdlSymbolic& symbolic);

    /// A factored front; copied when it is a candidate and there is room.
    void take(const Front& front);
    /// After the last one.
    void finish();

private:
    [[nodiscard]] bool hasRoom(const Front& front) const;

    LdlSymbolic& symbolic_;
    ThinColumns& thin_;
    std::int32_t count_ = 0;
};

}  // namespace ovrelin
