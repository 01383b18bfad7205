#include "sparse/numeric/permuted_matrix.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Appends column after column and refuses what the arrays have no room for.
template <class OldColumn, class NewRow>
int gatherLower(const int32_t* colBegin, const int32_t* rowIndex, const double* matValue,
                const LdlSymbolic& symbolic, LdlNumeric& numeric, OldColumn oldColumn,
                NewRow newRow) {
    int32_t* const outRow = numeric.lowerRow.data();
    double* const outValue = numeric.lowerValue.data();
    const int64_t room = symbolic.numMatrixLower;
    int64_t count = 0;
    for (int32_t j = 0; j < symbolic.n; ++j) {
        numeric.lowerBegin[j] = count;
        const int32_t old = oldColumn(j);
        for (int32_t k = colBegin[old]; k < colBegin[old + 1]; ++k) {
            const int32_t row = newRow(rowIndex[k]);
            if (row < j) continue;
            if (count == room) return ldl::mismatch;
            outRow[count] = row;
            outValue[count] = matValue[k];
            ++count;
        }
    }
    numeric.lowerBegin[symbolic.n] = count;
    return count == room ? ldl::ok : ldl::mismatch;
}

}  // namespace

int permuteLower(const int32_t* colBegin, const int32_t* rowIndex, const double* matValue,
                 const LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const int32_t* const perm = symbolic.perm.data();
    const int32_t* const inverse = symbolic.inversePerm.data();
    return gatherLower(
        colBegin, rowIndex, matValue, symbolic, numeric, [perm](int32_t j) { return perm[j]; },
        [inverse](int32_t row) { return inverse[row]; });
}

int takeLower(const int32_t* colBegin, const int32_t* rowIndex, const double* matValue,
              const LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const auto same = [](int32_t index) { return index; };
    return gatherLower(colBegin, rowIndex, matValue, symbolic, numeric, same, same);
}

}  // namespace ovrelin
