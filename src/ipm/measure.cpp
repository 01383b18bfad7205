#include "ipm/measure.hpp"

#include <algorithm>
#include <cmath>

namespace ovrelin {
namespace {

/// Keeps the largest ratio of the smaller to the larger partner of a pair.
struct Balance {
    double floor;
    double largest = 0;
    void take(double a, double b) {
        const double small = std::min(a, b), big = std::max(a, b);
        if (small > floor) largest = std::max(largest, small / big);
    }
};

struct Sums {
    double dual = 0, bound = 0, compl_ = 0;
    Balance balance;
};

/// vecRhs, columns: -c - Qx. Returns 0.5 x'Qx.
double quadraticPart(Ipm& ipm, double* rhs) {
    double quad = 0;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const double x = ipm.solPrimal[j];
        double p = 0;
        if (ipm.quadDiag != nullptr) {
            p = ipm.quadDiag[j] * x;
            quad += 0.5 * p * x;
        }
        if (ipm.numQuadCoef > 0) {
            for (int32_t k = 0, at = ipm.quadColBegin[j]; k < ipm.quadColLength[j]; ++k, ++at) {
                const int32_t r = ipm.quadRowIndex[at];
                const double q = ipm.quadMatValue[at];
                rhs[r] -= x * q;
                quad += ipm.solPrimal[r] * x * q;
                p += q * ipm.solPrimal[r];
            }
        }
        rhs[j] -= p;
    }
    return quad;
}

/// One pair's share: adds to the dual residual rd and to the right-hand side g of its column.
void measurePair(Ipm& ipm, const BoundPairs& pairs, int32_t j, double& rd, double& g, Sums& sums) {
    const double dual = pairs.dual[j], slack = pairs.slack[j];
    const double distance = pairs.sign * (ipm.solPrimal[j] - pairs.bound[j]);
    rd += pairs.sign * dual;
    ipm.objValueDual += pairs.sign * pairs.bound[j] * dual;
    g += pairs.sign * (1 - distance / slack) * dual;
    sums.compl_ += std::fabs(dual * slack);
    sums.balance.take(std::fabs(slack), std::fabs(dual));
    sums.bound += (distance - slack) * (distance - slack);
}

void measureColumns(Ipm& ipm, double* rhs, Sums& sums) {
    const BoundPairs up = upperPairs(ipm), low = lowerPairs(ipm);
    double* rowRhs = rhs + ipm.numCol;
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const double x = ipm.solPrimal[j];
        double g = rhs[j];
        for (int32_t k = 0, at = ipm.colBegin[j]; k < ipm.colLength[j]; ++k, ++at) {
            rowRhs[ipm.rowIndex[at]] += ipm.matValue[at] * x;
            g += ipm.matValue[at] * ipm.solDual[ipm.rowIndex[at]];
        }
        double rd = g;
        if (ipm.varBndType[j] & bndUpper) measurePair(ipm, up, j, rd, g, sums);
        if (ipm.varBndType[j] & bndLower) measurePair(ipm, low, j, rd, g, sums);
        rhs[j] = g;
        sums.dual += rd * rd;
        ipm.objValuePrimal += ipm.obj[j] * x;
    }
}

}  // namespace

void ipmMeasure(Ipm& ipm) {
    double* rhs = ipm.vecRhs.data();
    double* rowRhs = rhs + ipm.numCol;
    for (int32_t i = 0; i < ipm.numRow; ++i) rowRhs[i] = -ipm.rhs[i];
    for (int32_t j = 0; j < ipm.numCol; ++j) rhs[j] = -ipm.obj[j];
    const double quad = ipm.modelType == modelTypeQp ? quadraticPart(ipm, rhs) : 0;
    ipm.objValuePrimal = quad;
    ipm.objValueDual = -quad;

    Sums sums{};
    sums.balance.floor = ipm.options->parameters.ipm.balanceFloor;
    measureColumns(ipm, rhs, sums);
    double primalSum = 0;
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.objValueDual += ipm.rhs[i] * ipm.solDual[i];
        const double residual = rowRhs[i] - ipm.ineqnSlack[i];
        primalSum += residual * residual;
    }
    forEachInequality(ipm, [&](int32_t i) {
        sums.compl_ += std::fabs(ipm.ineqnSlack[i] * ipm.solDual[i]);
        sums.balance.take(std::fabs(ipm.ineqnSlack[i]), std::fabs(ipm.solDual[i]));
    });

    ipm.complBalance = sums.balance.largest;
    ipm.primalInfeas = std::sqrt(primalSum) / (ipm.normRhs + 1);
    ipm.dualInfeas = std::sqrt(sums.dual) / (ipm.normObj + 1);
    ipm.boundInfeas = std::sqrt(sums.bound) / (ipm.normLower + 1 + ipm.normUpper);
    ipm.dualityGap =
        std::fabs(ipm.objValuePrimal - ipm.objValueDual) / (std::fabs(ipm.objValuePrimal) + 1);
    ipm.complementarity = sums.compl_;
    ipm.mu = sums.compl_ / ipm.numComplement;
}

Status ipmStatus(double tolPrimal, double tolDual, double tolGap, double tolCompl,
                 double nearFactor, const Measures& m) {
    const bool feasible =
        tolPrimal >= m.primalInfeas && tolPrimal >= m.boundInfeas && tolDual >= m.dualInfeas;
    if (feasible && tolGap >= m.gap && tolCompl >= m.compl_) return Status::optimal;
    if (feasible && (m.gap < tolGap || m.compl_ < tolCompl ||
                     (m.gap < nearFactor * tolGap && m.compl_ < nearFactor * tolCompl)))
        return Status::conditionallyOptimal;
    const bool badPrimal = m.primalInfeas > tolPrimal || m.boundInfeas > tolPrimal;
    const bool badDual = m.dualInfeas > tolDual;
    if (badPrimal && badDual) return Status::infeasibleBoth;
    if (badPrimal) return Status::primalInfeasible;
    return badDual ? Status::dualInfeasible : Status::failed;
}

Status ipmStatus(const Ipm& ipm) {
    return ipmStatus(
        ipm.tolPrimal, ipm.tolDual, ipm.tolGap, ipm.tolComplementarity,
        ipm.options->parameters.ipm.nearFactor,
        {ipm.primalInfeas, ipm.boundInfeas, ipm.dualInfeas, ipm.dualityGap, ipm.complementarity});
}

}  // namespace ovrelin
