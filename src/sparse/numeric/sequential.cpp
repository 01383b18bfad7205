#include "sparse/numeric/sequential.hpp"

#include "sparse/ldl_try.hpp"
#include "sparse/numeric/thin_writer.hpp"

namespace ovrelin {

int factorBlocks(Factorisation& work, std::int32_t begin, std::int32_t end) {
    for (std::int32_t b = begin; b < end; ++b) {
        const Front front = frontOf(work.symbolic, b);
        touchFront(work.symbolic, front);
        assembleFront(work, front);
        LDL_TRY(factorFront(work, front));
        updateAncestors(work, front);
        if (work.thin != nullptr) work.thin->take(front);
    }
    return ldl::ok;
}

}  // namespace ovrelin
