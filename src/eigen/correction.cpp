#include "eigen/correction.hpp"

#include <algorithm>
#include <cmath>

#include "eigen/vector_sums.hpp"

namespace ovrelin {
namespace {

/// The inner iteration on B t = r with B = A - sigma I, projected. t = sum of the d_k.
struct Qmr {
    double gg;           // g'g
    double tau, tauOld;  // quasi-residual after and before the step
    double vartheta;
    double tt;            // t't
    double delta, alpha;  // p'Bp and the step along p
    double f2, eta;       // d := f2 d + eta p
};

/// x - t as an eigenvector. From sums over the steps: s = -t'r, h = t'Bt, a = d'r,
/// c = (t before d)'B d, e = d'Bd.
struct EigenEstimate {
    double a = 0, c = 0, e = 0, s = 0, h = 0;
    double value, valueOld;  // Rayleigh quotient after and before the step
    double residual;         // its residual norm
};

/// q := projected B p; returns p'q.
double applyProjected(EigenOperator& matrix, double sigma, const double* x, const double* p,
                      double* q) {
    applyUnscaled(matrix, p, q);
    const double factor = matrix.factor;
    const double along = sumOver(matrix.n, [=](std::int32_t i) {
        q[i] = factor * q[i] - sigma * p[i];
        return x[i] * q[i];
    });
    return sumOver(matrix.n, [=](std::int32_t i) {
        q[i] -= along * x[i];
        return p[i] * q[i];
    });
}

/// The step along p; false when its length is rounding noise.
bool measureStep(EigenOperator& matrix, const CorrectionProblem& problem,
                 const CorrectionWork& work, Qmr& qmr, const EigenParameters& parameters) {
    qmr.delta = applyProjected(matrix, problem.sigma, problem.x, work.p, work.q);
    if (qmr.delta == 0) return false;
    qmr.alpha = qmr.gg / qmr.delta;
    const double length = std::fabs(qmr.alpha);
    return length >= parameters.innerStepMin && length <= parameters.innerStepMax;
}

/// Takes the step; returns the new g'g.
double takeStep(std::int32_t n, const CorrectionWork& work, double* t, Qmr& qmr) {
    double *g = work.g, *p = work.p, *d = work.d;
    const double *q = work.q, alpha = qmr.alpha;
    const double ggNew = sumOver(n, [=](std::int32_t i) {
        g[i] -= alpha * q[i];
        return g[i] * g[i];
    });
    const double varthetaOld = qmr.vartheta;
    qmr.tauOld = qmr.tau;
    qmr.vartheta = std::sqrt(ggNew) / qmr.tauOld;
    const double cosine2 = 1 / (qmr.vartheta * qmr.vartheta + 1);
    qmr.f2 = varthetaOld * varthetaOld * cosine2;
    qmr.eta = alpha * cosine2;
    qmr.tau = qmr.tauOld * qmr.vartheta * std::sqrt(cosine2);
    const double f2 = qmr.f2, eta = qmr.eta, beta = ggNew / qmr.gg;
    qmr.tt = sumOver(n, [=](std::int32_t i) {
        d[i] = f2 * d[i] + eta * p[i];
        t[i] += d[i];
        p[i] = g[i] + beta * p[i];
        return t[i] * t[i];
    });
    return ggNew;
}

void updateEstimate(EigenEstimate& estimate, const Qmr& qmr, const CorrectionProblem& problem) {
    estimate.a = qmr.f2 * estimate.a + qmr.gg * qmr.eta;
    estimate.s -= estimate.a;
    estimate.c = (estimate.c + estimate.e) * qmr.f2;
    estimate.e = estimate.e * qmr.f2 * qmr.f2 + qmr.delta * qmr.eta * qmr.eta;
    estimate.h += 2 * estimate.c + estimate.e;
    const double lift = problem.theta - problem.sigma, u = qmr.tt + 1, tau2 = qmr.tau * qmr.tau;
    const double along = lift + estimate.s;
    const double mean = (lift + 2 * estimate.s + estimate.h) / u;
    const double square = (along * along + tau2) / u - mean * mean;
    estimate.residual = std::sqrt(square < 0 ? tau2 / u : square);
    estimate.valueOld = estimate.value;
    estimate.value = problem.sigma + mean;
}

/// True when another inner step would not pay: the eigenvalue residual no longer follows the linear
/// one, is small enough, or the Rayleigh quotient has turned round.
bool estimateStops(const EigenEstimate& estimate, const Qmr& qmr, double eigenTarget,
                   double follow) {
    const double share = std::max(follow, std::sqrt(qmr.tau / qmr.tauOld)) * std::sqrt(qmr.tt + 1);
    if (qmr.tau <= estimate.residual * share) return true;
    if (estimate.residual < std::max(eigenTarget, share * qmr.tau)) return true;
    return estimate.value > estimate.valueOld;
}

}  // namespace

double solveCorrection(EigenOperator& matrix, const CorrectionProblem& problem,
                       const CorrectionWork& work, double* t, const EigenParameters& parameters) {
    const std::int32_t n = matrix.n;
    std::copy_n(work.g, n, work.p);
    std::fill_n(work.d, n, 0.0);
    std::fill_n(t, n, 0.0);
    Qmr qmr{};
    qmr.gg = problem.rho * problem.rho;
    qmr.tau = problem.rho;
    EigenEstimate estimate{};
    estimate.value = problem.theta;
    estimate.residual = problem.rho;
    for (std::int64_t step = 1; !stopAsked(matrix); ++step) {
        if (!measureStep(matrix, problem, work, qmr, parameters)) {
            if (step == 1) std::copy_n(work.g, n, t);
            break;
        }
        const double ggNew = takeStep(n, work, t, qmr);
        if (qmr.tau < problem.linearTarget || ggNew == 0) break;
        updateEstimate(estimate, qmr, problem);
        qmr.gg = ggNew;
        if (estimateStops(estimate, qmr, problem.eigenTarget, parameters.innerFollow)) break;
        if (step >= problem.maxSteps) break;
    }
    return estimate.residual;
}

}  // namespace ovrelin
