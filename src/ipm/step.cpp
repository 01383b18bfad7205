#include "ipm/step.hpp"

#include <algorithm>

namespace ovrelin {
namespace {

/// The ratio test: the largest step in [0, 1] that keeps value + step * delta >= 0. The first of
/// equal ratios blocks.
struct RatioTest {
    double threshold;
    double best = 1e10;
    int32_t block = -1;
    void take(double value, double delta, int32_t index) {
        if (!(delta < threshold)) return;
        const double ratio = -value / delta;
        if (ratio < best) {
            best = ratio;
            block = index;
        }
    }
    [[nodiscard]] double alpha() const { return block >= 0 ? std::min(1.0, best) : 1.0; }
};

struct Ratios {
    RatioTest primal, dual;
    explicit Ratios(const Ipm& ipm)
        : primal{-ipm.options->parameters.ipm.ratioThreshold},
          dual{-ipm.options->parameters.ipm.ratioThreshold} {}
    void takePair(const BoundPairs& pairs, int32_t j) {
        primal.take(pairs.slack[j], pairs.slackDelta[j], j);
        dual.take(pairs.dual[j], pairs.dualDelta[j], j);
    }
    void setSteps(Ipm& ipm) const {
        ipm.alphaPrimal = primal.alpha();
        ipm.alphaDual = dual.alpha();
        if (ipm.modelType == modelTypeQp)
            ipm.alphaPrimal = ipm.alphaDual = std::min(ipm.alphaPrimal, ipm.alphaDual);
        ipm.primalBlockIndex = primal.block;
        ipm.dualBlockIndex = dual.block;
    }
};

}  // namespace

void ipmPredictorStep(Ipm& ipm) {
    const double* dx = ipm.vecRhs.data();
    const double* dy = dx + ipm.numCol;
    Ratios ratios(ipm);
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        // (x - bound) + dx, in this order: bound and x may be large and close, and z / slack would
        // carry the cancellation of the other order into the dual.
        const double p = pairs.sign * ((ipm.solPrimal[j] - pairs.bound[j]) + dx[j]);
        pairs.slackDelta[j] = p - pairs.slack[j];
        pairs.dualDelta[j] = -p * pairs.dual[j] / pairs.slack[j];
        ratios.takePair(pairs, j);
    });
    forEachInequality(ipm, [&](int32_t i) {
        ipm.ineqnSlackDelta[i] = -ipm.ineqnSlack[i] * (dy[i] / ipm.solDual[i] + 1);
        ratios.primal.take(ipm.ineqnSlack[i], ipm.ineqnSlackDelta[i], i);
        ratios.dual.take(ipm.solDual[i], dy[i], i);
    });
    ratios.setSteps(ipm);
}

void ipmMuAffine(Ipm& ipm) {
    const double* dy = ipm.vecRhs.data() + ipm.numCol;
    double sum = 0;
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        sum += (pairs.slack[j] + ipm.alphaPrimal * pairs.slackDelta[j]) *
               (pairs.dual[j] + ipm.alphaDual * pairs.dualDelta[j]);
    });
    forEachInequality(ipm, [&](int32_t i) {
        sum += (ipm.ineqnSlack[i] + ipm.alphaPrimal * ipm.ineqnSlackDelta[i]) *
               (ipm.solDual[i] + ipm.alphaDual * dy[i]);
    });
    ipm.muAffine = sum / ipm.numComplement;
}

void ipmSigma(Ipm& ipm) {
    const double ratio = ipm.muAffine / ipm.mu;
    ipm.sigma = ratio * ratio * ratio;
}

void ipmCorrectorRhs(Ipm& ipm) {
    const double m = ipm.sigma * ipm.mu;
    const double* dy = ipm.vecRhs.data() + ipm.numCol;
    double* out = ipm.vecCorrector.data();
    std::fill(out, out + ipm.numDim, 0.0);
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        out[j] += pairs.sign * (m - pairs.slackDelta[j] * pairs.dualDelta[j]) / pairs.slack[j];
    });
    forEachInequality(ipm, [&](int32_t i) {
        out[ipm.numCol + i] = (ipm.ineqnSlackDelta[i] * dy[i] - m) / ipm.solDual[i];
    });
}

void ipmOverallDirection(Ipm& ipm) {
    const double m = ipm.sigma * ipm.mu;
    const double* dx = ipm.vecRhs.data();
    const double* dy = dx + ipm.numCol;
    double* direction = ipm.vecCorrector.data();
    Ratios ratios(ipm);
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        const double c = pairs.sign * direction[j];
        const double dt = pairs.slackDelta[j];
        double& dz = pairs.dualDelta[j];
        dz += (m - dt * dz - pairs.dual[j] * c) / pairs.slack[j];
        pairs.slackDelta[j] = dt + c;
        ratios.takePair(pairs, j);
    });
    for (int32_t j = 0; j < ipm.numCol; ++j) direction[j] = dx[j] + direction[j];
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        double& entry = direction[ipm.numCol + i];
        const double c = entry;
        entry = dy[i] + c;
        if (ipm.rowSense[i] != OVRELIN_ROW_GREATER) continue;
        double& ds = ipm.ineqnSlackDelta[i];
        ds += (m - dy[i] * ds - ipm.ineqnSlack[i] * c) / ipm.solDual[i];
        ratios.primal.take(ipm.ineqnSlack[i], ds, i);
        ratios.dual.take(ipm.solDual[i], entry, i);
    }
    ratios.setSteps(ipm);
}

void ipmUpdateIterate(Ipm& ipm) {
    const double stepPrimal = ipm.stepDamping * ipm.alphaPrimal;
    const double stepDual = ipm.stepDamping * ipm.alphaDual;
    const double* dx = ipm.vecCorrector.data();
    const double* dy = dx + ipm.numCol;
    ipm.minSlack = ipm.infinity;
    for (int32_t j = 0; j < ipm.numCol; ++j) ipm.solPrimal[j] += stepPrimal * dx[j];
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, int32_t j) {
        pairs.slack[j] += stepPrimal * pairs.slackDelta[j];
        pairs.dual[j] += stepDual * pairs.dualDelta[j];
        ipm.minSlack = std::min(ipm.minSlack, pairs.slack[j]);
    });
    for (int32_t i = 0; i < ipm.numRow; ++i) {
        ipm.solDual[i] += stepDual * dy[i];
        if (ipm.rowSense[i] != OVRELIN_ROW_GREATER) continue;
        ipm.ineqnSlack[i] += stepPrimal * ipm.ineqnSlackDelta[i];
        ipm.minSlack = std::min(ipm.minSlack, ipm.solDual[i]);
    }
}

}  // namespace ovrelin
