#include "start/starting_point.hpp"

#include <algorithm>

#include "frame/log.hpp"
#include "ipm/kkt.hpp"
#include "ipm/stop_rules.hpp"
#include "linalg/sparse_columns.hpp"

namespace ovrelin {
namespace {

/// How far a start is shifted into the interior, and what becomes of a value that stays below the
/// floor even so.
struct Shift {
    double amount, floor, replace;
    void apply(double& value) const {
        value += amount;
        if (value < floor) value = replace;
    }
};

Shift shiftFor(const Ipm& ipm, double smallest) {
    const StartParameters& p = ipm.options->parameters.start;
    double amount = p.shiftMargin;
    if (!(smallest >= 0)) amount = -smallest + std::max(p.shiftMargin, p.shiftMargin * -smallest);
    if (ipm.modelType == modelTypeQp) return {std::max(p.qpFloor, amount), p.qpFloor, p.qpReplace};
    return {amount, p.lpFloor, p.lpReplace};
}

void shiftPrimalStart(Ipm& ipm, double smallest) {
    const Shift shift = shiftFor(ipm, smallest);
    for (int32_t i = 0; i < ipm.numRow; ++i)
        if (ipm.rowSense[i] != OVRELIN_ROW_EQUAL) shift.apply(ipm.ineqnSlack[i]);
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) { shift.apply(pairs.slack[j]); });
}

void shiftDualStart(Ipm& ipm, double smallest) {
    const Shift shift = shiftFor(ipm, smallest);
    for (int32_t i = 0; i < ipm.numRow; ++i)
        if (ipm.rowSense[i] != OVRELIN_ROW_EQUAL) shift.apply(ipm.solDual[i]);
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) { shift.apply(pairs.dual[j]); });
}

/// Subtracts 1 from the diagonal and the bound from the right-hand side per finite bound.
void addBoundTerms(Ipm& ipm) {
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        ipm.kktValue[ipm.varBndDiagIndex[j]] -= 1.0;
        ipm.vecRhs[j] -= pairs.bound[j];
    });
}

void fillPrimalRows(Ipm& ipm) {
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.vecRhs[ipm.numCol + i] = -ipm.rhs[i];
        ipm.kktValue[ipm.ineqnDiagIndex[i]] = ipm.rowSense[i] == OVRELIN_ROW_EQUAL ? 0.0 : 1.0;
    }
}

/// Takes x and s from vecRhs, slacks from x. Returns the smallest slack.
double takePrimalPoint(Ipm& ipm) {
    double smallest = infinityBound;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        ipm.solPrimal[j] = ipm.vecRhs[j];
        ipm.upperSlack[j] = ipm.lowerSlack[j] = 0;
    }
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        pairs.slack[j] = pairs.sign * (ipm.solPrimal[j] - pairs.bound[j]);
        smallest = std::min(smallest, pairs.slack[j]);
    });
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        const bool equal = ipm.rowSense[i] == OVRELIN_ROW_EQUAL;
        ipm.ineqnSlack[i] = equal ? 0.0 : ipm.vecRhs[ipm.numCol + i];
        if (!equal) smallest = std::min(smallest, ipm.ineqnSlack[i]);
    }
    return smallest;
}

/// Takes y, z and w from vecRhs. Returns the smallest of those that must be positive.
double takeDualPoint(Ipm& ipm) {
    double smallest = infinityBound;
    for (int32_t j = 0; j < ipm.numCol; ++j) ipm.upperDual[j] = ipm.lowerDual[j] = 0;
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        pairs.dual[j] = -pairs.sign * ipm.vecRhs[j];
        smallest = std::min(smallest, pairs.dual[j]);
    });
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.solDual[i] = ipm.vecRhs[ipm.numCol + i];
        if (ipm.rowSense[i] != OVRELIN_ROW_EQUAL) smallest = std::min(smallest, ipm.solDual[i]);
    }
    return smallest;
}

/// The start asks the outside world after each of its long steps: together they may take as long as
/// several passes of the loop, and a limit must not wait for all of them.
Status pollStart(Ipm& ipm) {
    return ipmPoll(ipm) ? ipm.status : Status::ok;
}

Status analyse(Ipm& ipm, bool useQuad) {
    const bool atHand = ipm.kkt.sparseFactor != nullptr && ipm.kkt.sparseSymbolic != nullptr;
    if (atHand) return Status::ok;
    OV_TRY(ipmBuildKkt(ipm, useQuad));
    return pollStart(ipm);
}

Status factorAndSolve(Ipm& ipm) {
    OV_TRY(ipmFactor(ipm));
    OV_TRY(pollStart(ipm));
    OV_TRY(ipmKktSolve(ipm, ipm.vecRhs.data()));
    return pollStart(ipm);
}

int32_t numFiniteBounds(const Ipm& ipm, int32_t j) {
    return ((ipm.varBndType[j] & bndUpper) ? 1 : 0) + ((ipm.varBndType[j] & bndLower) ? 1 : 0);
}

void fillDualSystem(Ipm& ipm) {
    const bool quadratic = ipm.modelType == modelTypeQp;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const int32_t bounds = numFiniteBounds(ipm, j);
        ipm.kktValue[ipm.varBndDiagIndex[j]] = quadratic && bounds == 0 ? 1.0 : bounds;
        ipm.vecRhs[j] = -ipm.obj[j];
    }
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.vecRhs[ipm.numCol + i] = 0;
        ipm.kktValue[ipm.ineqnDiagIndex[i]] = ipm.rowSense[i] == OVRELIN_ROW_EQUAL ? 0.0 : -1.0;
    }
    if (!quadratic) return;
    if (ipm.quadDiag != nullptr)
        addSymmetricProduct(-1.0, ipm.numCol, ipm.quadDiag, ipm.quadColBegin, ipm.quadColLength,
                            ipm.quadRowIndex, ipm.quadMatValue, ipm.solPrimal, ipm.vecRhs.data());
    pushDiagonal(ipm.numCol, ipm.numRow, ipm.kktValue.data(), ipm.varBndDiagIndex.data(),
                 ipm.ineqnDiagIndex.data(), ipm.options->parameters.start.pushDiagonal);
}

/// Changes the sign of Q's off-diagonals inside the KKT values.
void negateQuadBlock(Ipm& ipm) {
    for (int32_t j = 0; j < ipm.numCol; ++j)
        for (int32_t p = ipm.kktColBegin[j]; p < ipm.kktColBegin[j + 1]; ++p)
            if (ipm.kktRowIndex[p] < ipm.numCol) ipm.kktValue[p] = -ipm.kktValue[p];
}

/// The primal start of a QP: min c'x + 0.5 x'Qx + 0.5 |distances to the bounds|^2 over the rows,
///
///   [ -Q - N   -A' ] [x]   [ c - l - u ]
///   [ -A       S   ] [s] = [   -b      ]     N: number of finite bounds, S: 1 on 'G' rows.
Status initPrimalQuad(Ipm& ipm) {
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        ipm.kktValue[ipm.varBndDiagIndex[j]] = ipm.quadDiag == nullptr ? 0.0 : -ipm.quadDiag[j];
        ipm.vecRhs[j] = ipm.obj[j];
    }
    addBoundTerms(ipm);
    fillPrimalRows(ipm);
    pushDiagonal(ipm.numCol, ipm.numRow, ipm.kktValue.data(), ipm.varBndDiagIndex.data(),
                 ipm.ineqnDiagIndex.data(), ipm.options->parameters.start.pushDiagonal);
    OV_TRY(factorAndSolve(ipm));
    shiftPrimalStart(ipm, takePrimalPoint(ipm));
    return Status::ok;
}

}  // namespace

void pushDiagonal(int32_t numCol, int32_t numRow, double* kktValue, const int32_t* varBndDiagIndex,
                  const int32_t* ineqnDiagIndex, double eps) {
    const auto push = [&](double& v) {
        if (v < eps) v = std::min(-eps, v);
    };
    for (int32_t j = 0; j < numCol; ++j) push(kktValue[varBndDiagIndex[j]]);
    for (int32_t i = 0; i < numRow; ++i) push(kktValue[ineqnDiagIndex[i]]);
}

Status ipmInitPrimal(Ipm& ipm) {
    OV_TRY(analyse(ipm, false));
    for (int32_t j = 0; j < ipm.numCol; ++j)
        ipm.kktValue[ipm.varBndDiagIndex[j]] = ipm.vecRhs[j] = 0;
    addBoundTerms(ipm);
    fillPrimalRows(ipm);
    OV_TRY(factorAndSolve(ipm));
    shiftPrimalStart(ipm, takePrimalPoint(ipm));
    return Status::ok;
}

Status ipmInitDual(Ipm& ipm) {
    if (ipm.modelType != modelTypeLp && ipm.modelType != modelTypeQp) {
        logText(ipm.instance, "unknown parameter ipm->modelType = %d", ipm.modelType);
        return Status::failed;
    }
    OV_TRY(analyse(ipm, false));
    fillDualSystem(ipm);
    OV_TRY(factorAndSolve(ipm));
    shiftDualStart(ipm, takeDualPoint(ipm));
    return Status::ok;
}

Status ipmInitLP(Ipm& ipm) {
    OV_TRY(ipmInitPrimal(ipm));
    OV_TRY(ipmInitDual(ipm));
    ipmCleanIterate(ipm);
    return Status::ok;
}

Status ipmInitQP(Ipm& ipm) {
    const bool offDiagonals = ipm.numQuadCoef > 0;
    if (offDiagonals) kktFreeFactors(ipm.kkt);
    OV_TRY(analyse(ipm, true));
    if (offDiagonals) negateQuadBlock(ipm);
    OV_TRY(initPrimalQuad(ipm));
    if (offDiagonals) kktFreeFactors(ipm.kkt);  // the dual start works without Q's off-diagonals
    OV_TRY(ipmInitDual(ipm));
    if (offDiagonals) kktFreeFactors(ipm.kkt);
    OV_TRY(analyse(ipm, true));
    ipmCleanIterate(ipm);
    return Status::ok;
}

}  // namespace ovrelin
