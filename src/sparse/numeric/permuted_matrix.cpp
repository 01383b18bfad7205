#include "sparse/numeric/permuted_matrix.hpp"

#include <algorithm>

#include "sparse/ldl_try.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Appends column after column and refuses what the arrays have no room for.
template <class OldColumn, class NewRow>
int gatherLower(const int32_t* colBegin, const int32_t* rowIndex, const LdlSymbolic& symbolic,
                LdlNumeric& numeric, OldColumn oldColumn, NewRow newRow) {
    int32_t* const outRow = numeric.lowerRow.data();
    int32_t* const outSource = numeric.lowerSource.data();
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
            outSource[count] = k;
            ++count;
        }
    }
    numeric.lowerBegin[symbolic.n] = count;
    return count == room ? ldl::ok : ldl::mismatch;
}

int gatherPattern(int reuse, const int32_t* colBegin, const int32_t* rowIndex,
                  const LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const auto same = [](int32_t index) { return index; };
    if (reuse != 0) return gatherLower(colBegin, rowIndex, symbolic, numeric, same, same);
    const int32_t* const perm = symbolic.perm.data();
    const int32_t* const inverse = symbolic.inversePerm.data();
    return gatherLower(
        colBegin, rowIndex, symbolic, numeric, [perm](int32_t j) { return perm[j]; },
        [inverse](int32_t row) { return inverse[row]; });
}

/// Finds where in its block column each entry goes. Positions of rows outside a block are stale: a
/// pattern of the right size but other places must not write beside the block.
int placeEntries(LdlSymbolic& symbolic, LdlNumeric& numeric) {
    const BlockColumns& blocks = symbolic.blocks;
    int32_t* const position = symbolic.relativeIndex.data();
    std::fill_n(position, symbolic.n, 0);
    for (int32_t b = 0; b < blocks.count; ++b) {
        const int32_t* const rows = symbolic.rowList.data() + blocks.rowBegin[b];
        const auto m = static_cast<int32_t>(blocks.rowEnd[b] - blocks.rowBegin[b]);
        for (int32_t r = 0; r < m; ++r) position[rows[r]] = r;
        const int32_t step = symbolic.direct.isCompact() ? m : 0;
        int32_t above = 0;
        for (int32_t j = blocks.firstCol[b]; j < blocks.firstCol[b + 1]; ++j, above += step)
            for (int64_t e = numeric.lowerBegin[j]; e < numeric.lowerBegin[j + 1]; ++e) {
                const int32_t row = numeric.lowerRow[e];
                const int32_t r = position[row];
                if (r >= m || rows[r] != row) return ldl::mismatch;
                numeric.lowerPlace[e] = above + r;
            }
    }
    return ldl::ok;
}

bool sameNumbers(const int32_t* a, const int32_t* b, int64_t count) {
    return std::equal(a, a + count, b);
}

bool isKept(const int32_t* colBegin, const int32_t* rowIndex, const LdlSymbolic& symbolic,
            const LdlNumeric& numeric) {
    const int32_t n = symbolic.n;
    return numeric.patternKept && sameNumbers(colBegin, numeric.keptBegin.data(), int64_t{n} + 1) &&
           sameNumbers(rowIndex + colBegin[0], numeric.keptRow.data(), colBegin[n] - colBegin[0]);
}

void keep(const int32_t* colBegin, const int32_t* rowIndex, const LdlSymbolic& symbolic,
          LdlNumeric& numeric) {
    const int32_t n = symbolic.n;
    const int64_t count = colBegin[n] - colBegin[0];
    if (count > static_cast<int64_t>(numeric.keptRow.size())) return;
    std::copy_n(colBegin, int64_t{n} + 1, numeric.keptBegin.data());
    std::copy_n(rowIndex + colBegin[0], count, numeric.keptRow.data());
    numeric.patternKept = true;
}

}  // namespace

int takePattern(int reuse, const int32_t* colBegin, const int32_t* rowIndex, LdlSymbolic& symbolic,
                LdlNumeric& numeric) {
    if (reuse == 0 && isKept(colBegin, rowIndex, symbolic, numeric)) return ldl::ok;
    numeric.patternKept = false;
    LDL_TRY(gatherPattern(reuse, colBegin, rowIndex, symbolic, numeric));
    LDL_TRY(placeEntries(symbolic, numeric));
    if (reuse == 0) keep(colBegin, rowIndex, symbolic, numeric);
    return ldl::ok;
}

void takeValues(const double* matValue, LdlNumeric& numeric, int32_t begin, int32_t end) {
    const int32_t* const source = numeric.lowerSource.data();
    double* const out = numeric.lowerValue.data();
    const int64_t last = numeric.lowerBegin[end];
    for (int64_t e = numeric.lowerBegin[begin]; e < last; ++e) out[e] = matValue[source[e]];
}

}  // namespace ovrelin
