// The steps that prepare a model for the iteration, and their reverses: what the iteration solves
// is the same problem, and afterwards the model is as it was, to the bit where arithmetic allows
// it.

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/operations/ipm_unscale.hpp"
#include "frame/operations/normalise_rows.hpp"
#include "frame/operations/relax_bounds.hpp"
#include "frame/operations/shift_bounds.hpp"
#include "frame/operations/sibling.hpp"
#include "frame_fixture.hpp"
#include "presolve/solution.hpp"

namespace {

using ovrelin::isOk;
using ovrelin::Model;
using ovrelin::Status;
using ovtest::FrameTest;
using ovtest::OwnedModel;

using Array = ovrelin::PoolArray<double>;

void count(double next, const std::vector<Array*>& arrays) {
    for (Array* array : arrays)
        for (double& v : *array) v = next++;
}

void expectCounting(double next, const std::vector<Array*>& arrays) {
    for (const Array* array : arrays)
        for (const double v : *array) EXPECT_EQ(v, next++);
}

std::vector<Array*> boundArrays(ovrelin::IpmSolution& s) {
    return {&s.lowerSlack, &s.upperSlack, &s.lowerDual, &s.upperDual};
}

std::vector<Array*> directionArrays(ovrelin::DirectionRecord& d) {
    return {&d.solPrimalDelta, &d.lowerSlackDelta, &d.upperSlackDelta, &d.lowerDualDelta,
            &d.upperDualDelta, &d.solDualDelta,    &d.ineqnSlackDelta};
}

class Preparation : public FrameTest {
protected:
    Preparation() { options.infinity = 1e20; }

    /// Its bound arrays count from 1.
    ovrelin::IpmSolution makeSolution(Model& m) {
        ovrelin::IpmSolution* made = nullptr;
        EXPECT_TRUE(isOk(
            ovrelin::allocSolution(instance, made, m.numRow, m.numCol, m.solPrimal, m.solDual)));
        ovrelin::IpmSolution s = std::move(*made);
        ovrelin::freeSolution(instance, made);
        count(1, boundArrays(s));
        return s;
    }
    /// A direction that counts from 100.
    void makeDirection(const Model& m) {
        transform.direction.reset();
        EXPECT_TRUE(isOk(transform.direction.make(instance->pool)));
        std::vector<Array*> arrays = directionArrays(*transform.direction);
        for (std::size_t k = 0; k < arrays.size(); ++k)
            EXPECT_TRUE(isOk(arrays[k]->make(
                instance->pool, static_cast<std::size_t>(k < 5 ? m.numCol : m.numRow))));
        count(100, arrays);
    }

    ovrelin::SolveOptions options{};
    ovrelin::TransformRecord transform{};
    ovrelin::BoundShift shift;
};

std::vector<double> activities(const Model& m, const double* x) {
    std::vector<double> out(static_cast<std::size_t>(m.numRow));
    for (std::int32_t j = 0; j < m.numCol; ++j)
        for (std::int32_t k = m.colBegin[j]; k < m.colBegin[j] + m.colLength[j]; ++k)
            out[static_cast<std::size_t>(m.rowIndex[k])] += m.matValue[k] * x[j];
    return out;
}

// A point and its image under the shift have the same row residuals and the same distances from
// their bounds (mirrored columns have them exchanged), and costs that differ by a constant.
TEST_F(Preparation, ShiftMovesTheProblemAndUnshiftMovesItBack) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        OwnedModel owned = ovtest::drawModel(seed, 3, 6, "EGLR");
        OwnedModel kept = owned;  // bounds that relaxing has set aside: some more are finite
        for (std::size_t j = 0; j < 6; j += 2)
            if (kept.lower[j] <= -1e20) kept.lower[j] = std::min(kept.upper[j], 0.0) - 3;
        const OwnedModel before = owned, keptBefore = kept;
        transform = {};
        if (seed % 2 == 0) {
            transform.lowerKeep = kept.lower.data();
            transform.upperKeep = kept.upper.data();
        }
        Model m = owned.view(ovrelin::modelTypeLp, 6);
        ovrelin::IpmSolution solution = makeSolution(m);
        makeDirection(m);
        const std::vector<double> residual = activities(m, m.solPrimal);
        shift = {};
        ASSERT_TRUE(isOk(ovrelin::shiftBounds(instance, m, options, transform, shift, &solution)));

        const std::vector<double> moved = activities(m, m.solPrimal);
        for (std::size_t i = 0; i < moved.size(); ++i)
            EXPECT_EQ(moved[i] - owned.rhs[i], residual[i] - before.rhs[i]);
        for (std::size_t j = 0; j < 6; ++j) {
            const bool hasLower = before.lower[j] > -1e20, hasUpper = before.upper[j] < 1e20;
            const bool mirrored = hasUpper && (!hasLower || before.obj[j] < 0);
            const double x = owned.x[j], low = owned.lower[j], high = owned.upper[j];
            double below = hasLower ? before.x[j] - before.lower[j] : 1e20;
            double above = hasUpper ? before.upper[j] - before.x[j] : 1e20;
            if (mirrored) std::swap(below, above);
            if (hasLower || hasUpper) {
                EXPECT_EQ(x - low, below);
            }
            EXPECT_TRUE(above < 1e20 ? high - x == above : high >= 1e20);
            if (hasLower || hasUpper) {
                EXPECT_EQ(low, hasLower && hasUpper && before.obj[j] == 0 ? -high : 0);
            }
            EXPECT_EQ(owned.obj[j], mirrored ? -before.obj[j] : before.obj[j]);
            if (seed % 2 == 0 && (hasLower || hasUpper) && kept.lower[j] > -1e20 &&
                kept.upper[j] < 1e20) {
                EXPECT_EQ(kept.upper[j] - kept.lower[j], keptBefore.upper[j] - keptBefore.lower[j]);
            }
        }

        ovrelin::unshiftBounds(m, options, transform, shift, solution);
        EXPECT_EQ(owned, before);
        EXPECT_EQ(kept, keptBefore);
        expectCounting(1, boundArrays(solution));
        for (std::size_t j = 0; j < 6; ++j) {
            const auto code = static_cast<int>(shift.code[j]);
            EXPECT_EQ(transform.direction->solPrimalDelta[j] < 0, code < 0);
            EXPECT_EQ(transform.direction->lowerDualDelta[j],
                      100 + 6.0 * (code < 0 ? 4 : 3) + static_cast<double>(j));
        }
    }
}

int countOf(const OwnedModel& m, char sense) {
    return static_cast<int>(std::count(m.sense.begin(), m.sense.end(), sense));
}

// The rows of the normal form have the same feasible points: an 'L' row is a 'G' row with signs
// changed, an 'R' row an equation with a slack between 0 and its range.
TEST_F(Preparation, NormaliseRowsKeepsThePointsAndRestoreRowsTheModel) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        OwnedModel owned = ovtest::drawModel(seed, 5, 4, "EGLR");
        ovtest::makeRoom(owned);
        const OwnedModel before = owned;
        const std::int32_t type = seed % 3 == 0 ? ovrelin::modelTypeLp : ovrelin::modelTypeQp;
        Model m = owned.view(type, 4);
        transform = {};
        transform.numRange = countOf(owned, 'R');
        transform.numLcont = countOf(owned, 'L');
        const std::vector<double> activity = activities(m, m.solPrimal);
        ASSERT_TRUE(isOk(ovrelin::normaliseRows(instance, m, transform)));

        ASSERT_EQ(m.numCol, 4 + transform.numRange);
        EXPECT_EQ(m.colBegin[m.numCol], m.numCoef);
        std::vector<double> x(owned.x.begin(), owned.x.begin() + m.numCol);
        std::int32_t slack = 4;
        for (std::size_t i = 0; i < 5; ++i) {
            const char sense = before.sense[i];
            EXPECT_TRUE(owned.sense[i] == (sense == 'L' || sense == 'G' ? 'G' : 'E'));
            if (sense != 'R') continue;
            x[static_cast<std::size_t>(slack)] = before.rhs[i] - activity[i];
            EXPECT_EQ(m.lower[slack], 0);
            EXPECT_EQ(m.upper[slack], before.range[i]);
            EXPECT_EQ(m.obj[slack], 0);
            if (type == ovrelin::modelTypeQp) {
                EXPECT_EQ(m.quadDiag[slack], 0);
                EXPECT_EQ(m.quadColLength[slack], 0);
                EXPECT_EQ(m.quadColBegin[slack + 1], m.numQuadCoef);
            }
            ++slack;
        }
        const std::vector<double> normal = activities(m, x.data());
        for (std::size_t i = 0; i < 5; ++i) {
            const double residual = normal[i] - owned.rhs[i];
            const double given = activity[i] - before.rhs[i];
            EXPECT_EQ(residual, before.sense[i] == 'L'   ? -given
                                : before.sense[i] == 'R' ? 0
                                                         : given);
        }

        std::copy(x.begin(), x.end(), owned.x.begin());
        ovrelin::IpmSolution solution = makeSolution(m);
        makeDirection(m);
        ovrelin::restoreRows(m, transform, solution);
        EXPECT_EQ(m.numCol, 4);
        EXPECT_EQ(m.numCoef, before.colBegin[4]);
        EXPECT_TRUE(owned.rhs == before.rhs && owned.sense == before.sense);
        EXPECT_TRUE(std::equal(before.matValue.begin(), before.matValue.begin() + m.numCoef,
                               owned.matValue.begin()));
        for (std::size_t i = 0; i < 5; ++i) {
            const char sense = before.sense[i];
            EXPECT_EQ(owned.y[i], sense == 'L' ? -before.y[i] : before.y[i]);
            EXPECT_EQ(solution.ineqnSlack[i], sense == 'R' ? before.rhs[i] - activity[i] : 0);
            EXPECT_EQ(transform.direction->solDualDelta[i] < 0, sense == 'L');
        }
    }
}

TEST_F(Preparation, NormaliseRowsRefusesWrongCountsAndLeavesTheModel) {
    OwnedModel owned = ovtest::drawModel(4, 6, 4, "LR");
    ovtest::makeRoom(owned);
    const OwnedModel before = owned;
    const int numRange = countOf(owned, 'R');
    const struct {
        int numRange, numLcont;
        Status status;
    } cases[] = {{numRange + 1, 6 - numRange, Status::failed},
                 {numRange, 7 - numRange, Status::failed},
                 {numRange, 5 - numRange, Status::failed},
                 {-3, 0, Status::ok}};  // as none
    for (const auto& c : cases) {
        Model m = owned.view(ovrelin::modelTypeQp, 4);
        transform = {};
        transform.numRange = c.numRange;
        transform.numLcont = c.numLcont;
        EXPECT_EQ(ovrelin::normaliseRows(instance, m, transform), c.status);
        EXPECT_EQ(owned, before);
    }
}

TEST_F(Preparation, RelaxBoundsDropsTheRightBounds) {
    constexpr double all = ovrelin::maxDouble;
    const struct {
        double lower, upper;
        std::uint8_t flags;
        double newLower, newUpper;
    } cases[] = {{-150, 200, 3, -all, all},  {-100, 100, 3, -all, all}, {-99, 200, 3, -99, all},
                 {-200, 99, 3, -all, 99},    {-50, 50, 3, -50, all},    {1, 2, 1, -all, 2},
                 {1, 2, 2, 1, all},          {1, 2, 0, 1, 2},           {-1e20, 500, 3, -1e20, 500},
                 {-500, 1e20, 3, -500, 1e20}};
    OwnedModel owned = ovtest::drawModel(1, 2, std::size(cases), "E");
    std::vector<std::uint8_t> flags;
    for (std::size_t j = 0; j < std::size(cases); ++j) {
        owned.lower[j] = cases[j].lower;
        owned.upper[j] = cases[j].upper;
        flags.push_back(cases[j].flags);
    }
    const OwnedModel before = owned;
    Model m = owned.view(ovrelin::modelTypeQp, static_cast<std::int32_t>(std::size(cases)));
    ASSERT_TRUE(isOk(ovrelin::relaxBounds(instance, m, options, transform)));
    EXPECT_EQ(transform.lowerKeep, nullptr);  // no flags, nothing to do

    m.relaxColBound = flags.data();
    ASSERT_TRUE(isOk(ovrelin::relaxBounds(instance, m, options, transform)));
    for (std::size_t j = 0; j < std::size(cases); ++j) {
        EXPECT_EQ(m.lower[j], cases[j].newLower) << j;
        EXPECT_EQ(m.upper[j], cases[j].newUpper) << j;
    }
    EXPECT_EQ(transform.keepSwapped, 1);
    EXPECT_EQ(ovrelin::relaxBounds(instance, m, options, transform), Status::failed);
    ovrelin::swapKeptBounds(m, transform);
    EXPECT_EQ(transform.keepSwapped, 0);
    EXPECT_TRUE(m.lower == owned.lower.data() && m.upper == owned.upper.data());
    EXPECT_EQ(owned, before);
}

// Scaling by powers of two is exact, so unscaling must give back every bit.
TEST_F(Preparation, UnscaleUndoesTheObjectiveFactorOfAQuadraticModel) {
    for (const double factor : {1.0, 0.125, 1024.0}) {
        OwnedModel owned = ovtest::drawModel(9, 4, 5, "EG");
        const OwnedModel before = owned;
        Model m = owned.view(ovrelin::modelTypeQp, 5);
        ovrelin::IpmSolution solution = makeSolution(m);
        for (auto* v : {&owned.obj, &owned.quadDiag, &owned.quadValue, &owned.y})
            for (double& value : *v) value *= factor;
        for (auto* array : {&solution.lowerDual, &solution.upperDual})
            for (double& value : *array) value *= factor;
        transform.objScale = factor;
        ASSERT_TRUE(isOk(ovrelin::ipmUnscale(instance, m, options, transform, solution)));
        EXPECT_EQ(owned, before);
        expectCounting(1, boundArrays(solution));
    }
}

TEST_F(Preparation, UnscaleByRowMaximaTouchesLargeRowsOnly) {
    for (const double objScale : {8.0, 16.0}) {
        OwnedModel owned = ovtest::drawModel(11, 4, 5, "EG");
        const OwnedModel before = owned;
        const double maxima[] = {16, 8, 10, 0};
        Model m = owned.view(ovrelin::modelTypeLp, 5);
        ovrelin::IpmSolution solution = makeSolution(m);
        transform = {};
        transform.objScale = objScale;
        ASSERT_TRUE(isOk(transform.rowScale.make(instance->pool, 4)));
        std::copy_n(maxima, 4, transform.rowScale.data());
        options.startMode = 1;
        ASSERT_TRUE(isOk(ovrelin::ipmUnscale(instance, m, options, transform, solution)));
        const double objFactor = objScale >= 10 ? objScale : 1;
        for (std::size_t j = 0; j < 5; ++j) EXPECT_EQ(owned.obj[j], before.obj[j] * objFactor);
        for (std::size_t k = 0; k < owned.matValue.size(); ++k) {
            const double rowMax = maxima[owned.rowIndex[k]];
            EXPECT_EQ(owned.matValue[k], before.matValue[k] * (rowMax >= 10 ? rowMax : 1));
        }
        for (std::size_t i = 0; i < 4; ++i) {
            const bool large = maxima[i] >= 10;
            EXPECT_EQ(owned.rhs[i], before.rhs[i] * (large ? maxima[i] : 1));
            EXPECT_EQ(owned.y[i], large ? before.y[i] / maxima[i] * objFactor : before.y[i]);
        }
    }
}

// The service scales the model; the point, its direction, the bounds set aside and two perturbed
// numbers follow by hand. Every factor is a power of two, so that all of it comes back to the bit.
TEST_F(Preparation, UnscaleByTheServiceGivesBackModelPointAndPerturbations) {
    ASSERT_TRUE(isOk(ovrelin::loadScalingSibling(instance)));
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        OwnedModel owned = ovtest::drawModel(seed, 4, 5, "EGL");
        for (double& v : owned.matValue) v *= 1024;
        const OwnedModel before = owned;
        OwnedModel kept = before;
        Model m = owned.view(ovrelin::modelTypeLp, 5);
        ovrelin::IpmSolution s = makeSolution(m);
        transform = {};
        makeDirection(m);
        ovrelin::DirectionRecord& d = *transform.direction;
        transform.lowerKeep = kept.lower.data();
        transform.upperKeep = kept.upper.data();
        for (auto* factors : {&transform.rowScale, &transform.colScale}) {
            ASSERT_TRUE(isOk(factors->make(instance->pool, 6)));
            std::fill(factors->begin(), factors->end(), 1.0);
        }
        ASSERT_EQ(instance->presolverInstance->computeScaling(
                      instance->presolverInstance, 1, 1e-6, 4, 5, m.numCoef, m.colBegin,
                      m.colLength, m.rowIndex, m.matValue, m.obj, m.lower, m.upper,
                      transform.rowScale.data(), transform.colScale.data(), nullptr, nullptr, m.rhs,
                      m.rowSense, m.range, nullptr, nullptr, nullptr, nullptr),
                  0);
        const double f = transform.objScale = transform.rowScale[4];
        for (std::size_t j = 0; j < 5; ++j) {
            const double c = transform.colScale[j];
            for (double* bound : {&kept.lower[j], &kept.upper[j]})
                if (std::fabs(*bound) < 1e20) *bound /= c;
            for (double* v : {&owned.x[j], &s.lowerSlack[j], &s.upperSlack[j], &d.solPrimalDelta[j],
                              &d.lowerSlackDelta[j], &d.upperSlackDelta[j]})
                *v /= c;
            for (double* v :
                 {&s.lowerDual[j], &s.upperDual[j], &d.lowerDualDelta[j], &d.upperDualDelta[j]})
                *v *= c * f;
        }
        for (std::size_t i = 0; i < 4; ++i) {
            const double r = transform.rowScale[i];
            for (double* v : {&owned.activity[i], &s.ineqnSlack[i], &d.ineqnSlackDelta[i]}) *v *= r;
            for (double* v : {&owned.y[i], &d.solDualDelta[i]}) *v *= f / r;
        }
        transform.numObjPerturb = transform.numRhsPerturb = 1;
        for (auto* index : {&transform.objPerturbIndex, &transform.rhsPerturbIndex}) {
            ASSERT_TRUE(isOk(index->make(instance->pool, 1)));
            (*index)[0] = 2;
        }
        for (auto* value : {&transform.objPerturbValue, &transform.rhsPerturbValue})
            ASSERT_TRUE(isOk(value->make(instance->pool, 1)));
        transform.objPerturbValue[0] = std::exchange(owned.obj[2], 77);
        transform.rhsPerturbValue[0] = std::exchange(owned.rhs[2], 77);

        ASSERT_TRUE(isOk(ovrelin::ipmUnscale(instance, m, options, transform, s)));
        EXPECT_EQ(owned, before);
        EXPECT_EQ(kept, before);
        EXPECT_EQ(transform.perturbDone, 1);
        expectCounting(1, boundArrays(s));
        expectCounting(100, directionArrays(d));
    }
    ovrelin::releaseScalingSibling(instance);
}

}  // namespace
