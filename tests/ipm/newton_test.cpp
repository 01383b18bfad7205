// The Newton system and its directions, against the equations that they linearise. Every residual
// is recomputed from the dense problem, not from the record's own sums.

#include <gtest/gtest.h>

#include <cmath>

#include "ipm/ipm_fixture.hpp"
#include "ipm/measure.hpp"
#include "ipm/step.hpp"

namespace {

using ovrelin::BoundPairs;
using ovrelin::Ipm;
using ovtest::WorkingIpm;

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

/// Residuals of the optimality system at the point of `ipm`, from the dense problem.
struct Residuals {
    std::vector<double> dual, row;
    explicit Residuals(WorkingIpm& made) {
        Ipm& ipm = *made.ipm;
        const std::vector<double> x(ipm.solPrimal, ipm.solPrimal + ipm.numCol);
        const std::vector<double> y(ipm.solDual, ipm.solDual + ipm.numRow);
        dual = made.small.reducedCost(x, y);
        forEachBoundPair(ipm, [&](const BoundPairs& pairs, std::int32_t j) {
            dual[at(j)] -= pairs.sign * pairs.dual[j];
        });
        row = made.small.activity(x);
        for (std::int32_t i = 0; i < ipm.numRow; ++i) row[at(i)] -= ipm.rhs[i] + ipm.ineqnSlack[i];
    }
};

/// The direction (dx, dy) with the Deltas must solve the linearised system; `centre` is the
/// right-hand side of each complementarity equation: slack * dDual + dual * dSlack = centre(pair).
template <class PairCentre, class RowCentre>
void expectNewton(WorkingIpm& made, const double* direction, const double* dyOfDeltas,
                  PairCentre pairCentre, RowCentre rowCentre) {
    Ipm& ipm = *made.ipm;
    const ovtest::SmallProblem& p = made.small;
    const Residuals residuals(made);
    const std::int32_t n = ipm.numCol, m = ipm.numRow;
    constexpr double tol = 1e-6;
    for (std::int32_t j = 0; j < n; ++j) {
        double lhs = residuals.dual[at(j)];
        for (std::int32_t k = 0; k < n; ++k) lhs += p.q[at(j * n + k)] * direction[k];
        for (std::int32_t r = 0; r < m; ++r) lhs -= p.a[at(r * n + j)] * direction[n + r];
        if (ipm.varBndType[j] & ovrelin::bndUpper) lhs += ipm.upperDualDelta[j];
        if (ipm.varBndType[j] & ovrelin::bndLower) lhs -= ipm.lowerDualDelta[j];
        EXPECT_NEAR(lhs, 0, tol) << "column " << j;
    }
    for (std::int32_t r = 0; r < m; ++r) {
        double lhs = residuals.row[at(r)];
        for (std::int32_t k = 0; k < n; ++k) lhs += p.a[at(r * n + k)] * direction[k];
        if (ipm.rowSense[r] == 'G') lhs -= ipm.ineqnSlackDelta[r];
        EXPECT_NEAR(lhs, 0, tol) << "row " << r;
        if (ipm.rowSense[r] != 'G') continue;
        EXPECT_NEAR(ipm.ineqnSlack[r] * dyOfDeltas[r] + ipm.solDual[r] * ipm.ineqnSlackDelta[r],
                    rowCentre(r), tol);
    }
    forEachBoundPair(ipm, [&](const BoundPairs& pairs, std::int32_t j) {
        const double distance = pairs.sign * (ipm.solPrimal[j] - pairs.bound[j]);
        EXPECT_NEAR(distance - pairs.slack[j] + pairs.sign * direction[j] - pairs.slackDelta[j], 0,
                    tol);
        EXPECT_NEAR(pairs.slack[j] * pairs.dualDelta[j] + pairs.dual[j] * pairs.slackDelta[j],
                    pairCentre(pairs, j), tol);
    });
}

TEST(Directions, SolveTheLinearisedSystem) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        WorkingIpm made(seed);
        Ipm& ipm = *made.ipm;
        if (ipm.numComplement == 0) continue;
        ipmMeasure(ipm);
        kktRefresh(ipm);
        ASSERT_TRUE(isOk(ipmFactor(ipm)));
        ASSERT_TRUE(isOk(ipmKktSolve(ipm, ipm.vecRhs.data())));
        ipmPredictorStep(ipm);
        const double* dyAffine = ipm.vecRhs.data() + ipm.numCol;
        expectNewton(
            made, ipm.vecRhs.data(), dyAffine,
            [](const BoundPairs& pairs, std::int32_t j) { return -pairs.slack[j] * pairs.dual[j]; },
            [&](std::int32_t r) { return -ipm.ineqnSlack[r] * ipm.solDual[r]; });
        ipmMuAffine(ipm);
        ipmSigma(ipm);
        ipm.sigma = std::min(1.0, ipm.sigma);
        const double m = ipm.sigma * ipm.mu;
        std::vector<double> lowerProduct(at(ipm.numCol)), upperProduct(at(ipm.numCol)),
            rowProduct(at(ipm.numRow));
        for (std::int32_t j = 0; j < ipm.numCol; ++j) {
            lowerProduct[at(j)] = ipm.lowerSlackDelta[j] * ipm.lowerDualDelta[j];
            upperProduct[at(j)] = ipm.upperSlackDelta[j] * ipm.upperDualDelta[j];
        }
        for (std::int32_t r = 0; r < ipm.numRow; ++r)
            rowProduct[at(r)] = ipm.ineqnSlackDelta[r] * dyAffine[r];
        ipmCorrectorRhs(ipm);
        ASSERT_TRUE(isOk(ipmKktSolve(ipm, ipm.vecCorrector.data())));
        ipmOverallDirection(ipm);
        expectNewton(
            made, ipm.vecCorrector.data(), ipm.vecCorrector.data() + ipm.numCol,
            [&](const BoundPairs& pairs, std::int32_t j) {
                const double product = pairs.sign > 0 ? lowerProduct[at(j)] : upperProduct[at(j)];
                return m - product - pairs.slack[j] * pairs.dual[j];
            },
            [&](std::int32_t r) {
                return m - rowProduct[at(r)] - ipm.ineqnSlack[r] * ipm.solDual[r];
            });
        EXPECT_EQ(ipm.alphaPrimal, ipm.alphaDual);
        ipmUpdateIterate(ipm);
        forEachBoundPair(ipm, [](const BoundPairs& pairs, std::int32_t j) {
            EXPECT_GT(pairs.slack[j], 0);
            EXPECT_GT(pairs.dual[j], 0);
        });
    }
}

TEST(Measures, AgreeWithTheDenseProblem) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        WorkingIpm made(seed);
        Ipm& ipm = *made.ipm;
        ipmMeasure(ipm);
        const Residuals residuals(made);
        const ovtest::SmallProblem& p = made.small;
        const auto norm = [](const std::vector<double>& v) {
            double s = 0;
            for (double e : v) s += e * e;
            return std::sqrt(s);
        };
        const std::vector<double> rhs(ipm.rhs, ipm.rhs + ipm.numRow);
        const std::vector<double> x(ipm.solPrimal, ipm.solPrimal + ipm.numCol);
        EXPECT_NEAR(ipm.primalInfeas, norm(residuals.row) / (1 + norm(rhs)), 1e-12);
        EXPECT_NEAR(ipm.dualInfeas, norm(residuals.dual) / (1 + norm(p.c)), 1e-12);
        const double primal = p.objective(x) - p.constant;
        double dual = -primal, products = 0;
        for (std::size_t j = 0; j < x.size(); ++j) dual += p.c[j] * x[j];
        for (std::int32_t i = 0; i < ipm.numRow; ++i) {
            dual += ipm.rhs[i] * ipm.solDual[i];
            if (ipm.rowSense[i] == 'G') products += ipm.ineqnSlack[i] * ipm.solDual[i];
        }
        forEachBoundPair(ipm, [&](const BoundPairs& pairs, std::int32_t j) {
            dual += pairs.sign * pairs.bound[j] * pairs.dual[j];
            products += pairs.slack[j] * pairs.dual[j];
        });
        EXPECT_NEAR(ipm.objValuePrimal, primal, 1e-10 * (1 + std::fabs(primal)));
        EXPECT_NEAR(ipm.objValueDual, dual, 1e-10 * (1 + std::fabs(dual)));
        EXPECT_NEAR(ipm.dualityGap, std::fabs(primal - dual) / (1 + std::fabs(primal)), 1e-10);
        EXPECT_NEAR(ipm.complementarity, products, 1e-10 * (1 + products));
    }
}

TEST(Verdict, FollowsItsTable) {
    using ovrelin::Measures;
    using ovrelin::Status;
    const double nan = std::nan("");
    const std::pair<Measures, Status> rows[] = {
        {{1e-6, 1e-6, 1e-6, 1e-6, 1e-6}, Status::optimal},
        {{1e-6, 1e-6, 1e-6, 9e-7, 1}, Status::conditionallyOptimal},
        {{0, 0, 0, 1, 9e-7}, Status::conditionallyOptimal},
        {{0, 0, 0, 1e-6, 1}, Status::failed},  // the inner tests are strict
        {{0, 0, 0, 9.9e-5, 9.9e-5}, Status::conditionallyOptimal},
        {{0, 0, 0, 1e-4, 9.9e-5}, Status::failed},
        {{2e-6, 0, 0, 0, 0}, Status::primalInfeasible},
        {{0, 2e-6, 0, 0, 0}, Status::primalInfeasible},
        {{0, 0, 2e-6, 0, 0}, Status::dualInfeasible},
        {{2e-6, 0, 2e-6, 0, 0}, Status::infeasibleBoth},
        {{nan, 0, 0, 0, 0}, Status::failed},
        {{nan, 0, 2e-6, 0, 0}, Status::dualInfeasible},
    };
    for (const auto& [measures, expected] : rows)
        EXPECT_EQ(ovrelin::ipmStatus(1e-6, 1e-6, 1e-6, 1e-6, 100, measures), expected);
}

}  // namespace
