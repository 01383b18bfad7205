#include "sparse/kernel/few_columns.hpp"

#include "sparse/kernel/dispatch.hpp"
#include "sparse/kernel/narrow_block.hpp"

namespace ovrelin {

using std::int32_t;

OV_CLONES void factorFewColumns(int32_t m, int32_t k, Block front, Block scaled,
                                const PivotRule& rule, int32_t* pivot, int32_t* numPerturbed) {
    double* const a = front.data;
    double* const w = scaled.data;
    const std::int64_t ld = scaled.ld;
    switch (k) {
        case 1:
            return factorColumn(m, a, w, rule, pivot, numPerturbed);
        case 2:
            return factorTwoColumns(m, a, w, ld, rule, pivot, numPerturbed);
        case 3:
            return few::factor<3>(m, a, w, ld, rule, pivot, numPerturbed);
        case 4:
            return few::factor<4>(m, a, w, ld, rule, pivot, numPerturbed);
        case 5:
            return few::factor<5>(m, a, w, ld, rule, pivot, numPerturbed);
        case 6:
            return few::factor<6>(m, a, w, ld, rule, pivot, numPerturbed);
        case 7:
            return few::factor<7>(m, a, w, ld, rule, pivot, numPerturbed);
        default:
            break;
    }
}

}  // namespace ovrelin
