#include "ipm/kkt.hpp"

#include <algorithm>
#include <cmath>

#include "linalg/sparse_columns.hpp"

namespace ovrelin {
namespace {

/// Completes the row columns numCol .. numCol+numRow-1 from the elements below the diagonal block
/// of the columns before them: each element is mirrored, each row column closed by its zero
/// diagonal.
void mirrorRows(int32_t numRow, int32_t numCol, int32_t* kktColBegin, int32_t* kktRowIndex,
                double* kktValue) {
    const int32_t base = kktColBegin[numCol];
    int32_t* offset = kktColBegin + numCol;  // offset[i]: next free place of row column i
    std::fill(offset + 1, offset + numRow + 1, 1);
    for (int32_t p = 0; p < base; ++p)
        if (kktRowIndex[p] >= numCol) ++offset[kktRowIndex[p] - numCol + 1];
    for (int32_t i = 0; i < numRow; ++i) offset[i + 1] += offset[i];
    for (int32_t j = 0; j < numCol; ++j) {
        for (int32_t p = kktColBegin[j]; p < (j + 1 < numCol ? kktColBegin[j + 1] : base); ++p) {
            if (kktRowIndex[p] < numCol) continue;
            const int32_t at = offset[kktRowIndex[p] - numCol]++;
            kktRowIndex[at] = j;
            kktValue[at] = kktValue[p];
        }
    }
    // Every offset now stands on its row's diagonal: one behind it starts the next row column.
    for (int32_t i = numRow - 1; i >= 0; --i) {
        const int32_t at = offset[i];
        kktRowIndex[at] = numCol + i;
        kktValue[at] = 0;
        offset[i + 1] = at + 1;
    }
    offset[0] = base;
}

struct Triplets {
    int32_t* row;
    double* value;
    int32_t at;
    void add(int32_t r, double v) {
        row[at] = r;
        value[at++] = v;
    }
};

void buildQuadColumn(const Ipm& ipm, int32_t j, const int32_t* upBegin, const int32_t* upRow,
                     const double* upValue, Triplets& out, int32_t* diagIndex) {
    for (int32_t p = upBegin[j]; p < upBegin[j + 1]; ++p) out.add(upRow[p], upValue[p]);
    *diagIndex = out.at;
    out.add(j, 0);
    for (int32_t k = 0, p = ipm.quadColBegin[j]; k < ipm.quadColLength[j]; ++k, ++p)
        out.add(ipm.quadRowIndex[p], ipm.quadMatValue[p]);
    for (int32_t k = 0, p = ipm.colBegin[j]; k < ipm.colLength[j]; ++k, ++p)
        out.add(ipm.numCol + ipm.rowIndex[p], -ipm.matValue[p]);
}

}  // namespace

void buildKktLinear(int32_t numRow, int32_t numCol, const int32_t* colBegin,
                    const int32_t* colLength, const int32_t* rowIndex, const double* matValue,
                    int32_t* kktColBegin, int32_t* kktRowIndex, double* kktValue,
                    int32_t* varBndDiagIndex, int32_t* ineqnDiagIndex) {
    Triplets out{kktRowIndex, kktValue, 0};
    for (int32_t j = 0; j < numCol; ++j) {
        kktColBegin[j] = varBndDiagIndex[j] = out.at;
        out.add(j, 0);
        for (int32_t k = 0, p = colBegin[j]; k < colLength[j]; ++k, ++p)
            out.add(numCol + rowIndex[p], -matValue[p]);
    }
    kktColBegin[numCol] = out.at;
    mirrorRows(numRow, numCol, kktColBegin, kktRowIndex, kktValue);
    for (int32_t i = 0; i < numRow; ++i) ineqnDiagIndex[i] = kktColBegin[numCol + i + 1] - 1;
}

Status buildKktQuad(Ipm& ipm) {
    MemoryPool* pool = ipm.instance->pool;
    const auto numQuad = static_cast<std::size_t>(ipm.numQuadCoef);
    PoolArray<int32_t> upBegin, upRow;
    PoolArray<double> upValue;
    OV_TRY(upBegin.make(pool, static_cast<std::size_t>(ipm.numCol) + 1));
    OV_TRY(upRow.make(pool, numQuad));
    OV_TRY(upValue.make(pool, numQuad));
    transposeColumns(ipm.numCol, ipm.numCol, ipm.quadColBegin, ipm.quadColLength, ipm.quadRowIndex,
                     ipm.quadMatValue, upBegin.data(), upRow.data(), upValue.data());
    Triplets out{ipm.kktRowIndex.data(), ipm.kktValue.data(), 0};
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        ipm.kktColBegin[j] = out.at;
        buildQuadColumn(ipm, j, upBegin.data(), upRow.data(), upValue.data(), out,
                        &ipm.varBndDiagIndex[j]);
    }
    ipm.kktColBegin[ipm.numCol] = out.at;
    mirrorRows(ipm.numRow, ipm.numCol, ipm.kktColBegin.data(), out.row, out.value);
    for (int32_t i = 0; i < ipm.numRow; ++i)
        ipm.ineqnDiagIndex[i] = ipm.kktColBegin[ipm.numCol + i + 1] - 1;
    return Status::ok;
}

namespace {

/// Diagonals as the iteration will have them: none for free columns without a quadratic term and
/// for equations, where the ordering should not begin.
void showDiagonals(Ipm& ipm) {
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const bool isQuadratic = ipm.modelType == modelTypeQp && ipm.quadDiag[j] != 0;
        ipm.kktValue[ipm.varBndDiagIndex[j]] = ipm.varBndType[j] != 0 || isQuadratic ? 1 : 0;
    }
    for (int32_t i = 0; i < ipm.numRow; ++i)
        ipm.kktValue[ipm.ineqnDiagIndex[i]] = ipm.rowSense[i] == OVRELIN_ROW_EQUAL ? 0 : -1;
}

/// The arrays of places may be longer than a model that has been presolved once more.
void clearDiagonals(Ipm& ipm) {
    for (int32_t j = 0; j < ipm.numCol; ++j) ipm.kktValue[ipm.varBndDiagIndex[j]] = 0;
    for (int32_t i = 0; i < ipm.numRow; ++i) ipm.kktValue[ipm.ineqnDiagIndex[i]] = 0;
}

}  // namespace

Status ipmBuildKkt(Ipm& ipm, bool useQuad) {
    if (ipm.kkt.sparseFactor != nullptr && ipm.kkt.sparseSymbolic != nullptr) return Status::ok;
    if (ipm.modelType == modelTypeQp && ipm.numQuadCoef > 0 && useQuad)
        OV_TRY(buildKktQuad(ipm));
    else
        buildKktLinear(ipm.numRow, ipm.numCol, ipm.colBegin, ipm.colLength, ipm.rowIndex,
                       ipm.matValue, ipm.kktColBegin.data(), ipm.kktRowIndex.data(),
                       ipm.kktValue.data(), ipm.varBndDiagIndex.data(), ipm.ineqnDiagIndex.data());
    showDiagonals(ipm);
    const Status status = kktAnalyze(ipm.kkt, kktMatrix(ipm), {ipm.timer, &ipm.analyzeTime});
    clearDiagonals(ipm);
    return status;
}

void kktRefresh(Ipm& ipm) {
    double minColDiag = infinityBound, minRowDiag = infinityBound;
    const bool quadratic = ipm.modelType == modelTypeQp && ipm.quadDiag != nullptr;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        double d = quadratic ? ipm.quadDiag[j] : 0;
        if (ipm.varBndType[j] & bndUpper) d += ipm.upperDual[j] / ipm.upperSlack[j];
        if (ipm.varBndType[j] & bndLower) d += ipm.lowerDual[j] / ipm.lowerSlack[j];
        ipm.kktValue[ipm.varBndDiagIndex[j]] = d;
        if (d != 0) minColDiag = std::min(minColDiag, std::fabs(d));
    }
    forEachInequality(ipm, [&](int32_t i) {
        const double d = (0 - ipm.ineqnSlack[i]) / ipm.solDual[i];
        ipm.kktValue[ipm.ineqnDiagIndex[i]] = d;
        if (d != 0) minRowDiag = std::min(minRowDiag, std::fabs(d));
    });
    const double regular =
        std::min({ipm.options->parameters.ipm.regularisation, minColDiag, minRowDiag});
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        double& d = ipm.kktValue[ipm.varBndDiagIndex[j]];
        if (-regular < d && d < regular) d = regular;
    }
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        double& d = ipm.kktValue[ipm.ineqnDiagIndex[i]];
        if (d < regular) d = std::min(-regular, d);
    }
}

Status ipmFactor(Ipm& ipm) {
    return kktFactor(ipm.kkt, kktMatrix(ipm), {ipm.timer, &ipm.factorTime});
}

Status ipmKktSolve(Ipm& ipm, double* vector) {
    return kktSolve(ipm.kkt, kktMatrix(ipm), vector, {ipm.timer, &ipm.kktSolveTime});
}

}  // namespace ovrelin
