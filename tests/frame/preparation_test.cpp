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
using ovtest::DrawnModel;
using ovtest::FrameTest;

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

constexpr ovtest::Shape anyShape{.maxRow = 5, .maxCol = 6, .maximise = false};

// A point and its image under the shift have the same row residuals and the same distances from
// their bounds (mirrored columns have them exchanged), and costs that differ by a constant.
TEST_F(Preparation, ShiftMovesTheProblemAndUnshiftMovesItBack) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        DrawnModel data(seed, ovrelin::modelTypeLp, anyShape);
        Model& m = data.model;
        const ov::Problem& before = data.before;
        ov::Problem kept = before;  // bounds that relaxing has set aside: some more are finite
        for (std::size_t j = 0; j < kept.numCol(); j += 2)
            if (kept.lower[j] <= -1e20) kept.lower[j] = std::min(kept.upper[j], 0.0) - 3;
        const ov::Problem keptBefore = kept;
        transform = {};
        if (seed % 2 == 0) {
            transform.lowerKeep = kept.lower.data();
            transform.upperKeep = kept.upper.data();
        }
        ovrelin::IpmSolution solution = makeSolution(m);
        makeDirection(m);
        const std::vector<double> residual = activities(m, m.solPrimal);
        shift = {};
        ASSERT_TRUE(isOk(ovrelin::shiftBounds(instance, m, options, transform, shift, &solution)));

        const std::vector<double> moved = activities(m, m.solPrimal);
        for (std::size_t i = 0; i < moved.size(); ++i)
            EXPECT_EQ(moved[i] - data.rhs[i], residual[i] - before.rhs[i]);
        for (std::size_t j = 0; j < data.numCol(); ++j) {
            const bool hasLower = before.lower[j] > -1e20, hasUpper = before.upper[j] < 1e20;
            const bool mirrored = hasUpper && (!hasLower || before.obj[j] < 0);
            const double x = data.solPrimal[j], low = data.lower[j], high = data.upper[j];
            double below = hasLower ? data.x[j] - before.lower[j] : 1e20;
            double above = hasUpper ? before.upper[j] - data.x[j] : 1e20;
            if (mirrored) std::swap(below, above);
            EXPECT_TRUE(above < 1e20 ? high - x == above : high >= 1e20);
            if (hasLower || hasUpper) {
                EXPECT_EQ(x - low, below);
                EXPECT_EQ(low, hasLower && hasUpper && before.obj[j] == 0 ? -high : 0);
            }
            EXPECT_EQ(data.obj[j], mirrored ? -before.obj[j] : before.obj[j]);
            if (seed % 2 == 0 && kept.lower[j] > -1e20 && kept.upper[j] < 1e20) {
                EXPECT_EQ(kept.upper[j] - kept.lower[j], keptBefore.upper[j] - keptBefore.lower[j]);
            }
        }

        ovrelin::unshiftBounds(m, options, transform, shift, solution);
        data.expectRestored();
        EXPECT_EQ(kept.lower, keptBefore.lower);
        EXPECT_EQ(kept.upper, keptBefore.upper);
        expectCounting(1, boundArrays(solution));
        const auto n = static_cast<double>(data.numCol());
        for (std::size_t j = 0; j < data.numCol(); ++j) {
            const auto code = static_cast<int>(shift.code[j]);
            EXPECT_EQ(transform.direction->solPrimalDelta[j] < 0, code < 0);
            EXPECT_EQ(transform.direction->lowerDualDelta[j],
                      100 + n * (code < 0 ? 4 : 3) + static_cast<double>(j));
        }
    }
}

int countOf(const ov::Problem& p, char sense) {
    return static_cast<int>(std::count(p.rowSense.begin(), p.rowSense.end(), sense));
}

// The rows of the normal form have the same feasible points: an 'L' row is a 'G' row with signs
// changed, an 'R' row an equation with a slack between 0 and its range.
TEST_F(Preparation, NormaliseRowsKeepsThePointsAndRestoreRowsTheModel) {
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE(seed);
        const bool linear = seed % 3 == 0;
        DrawnModel data(seed, linear ? ovrelin::modelTypeLp : ovrelin::modelTypeQp, anyShape, true);
        Model& m = data.model;
        const ov::Problem& before = data.before;
        transform = {};
        transform.numRange = countOf(before, 'R');
        transform.numLcont = countOf(before, 'L');
        const std::vector<double> activity = activities(m, m.solPrimal);
        ASSERT_TRUE(isOk(ovrelin::normaliseRows(instance, m, transform)));

        std::int32_t slack = data.small.numCol;
        ASSERT_EQ(m.numCol, slack + transform.numRange);
        EXPECT_EQ(m.colBegin[m.numCol], m.numCoef);
        for (std::size_t i = 0; i < data.numRow(); ++i) {
            const char sense = before.rowSense[i];
            EXPECT_EQ(data.rowSense[i], sense == 'L' || sense == 'G' ? 'G' : 'E');
            if (sense != 'R') continue;
            m.solPrimal[slack] = before.rhs[i] - activity[i];
            EXPECT_EQ(m.lower[slack], 0);
            EXPECT_EQ(m.upper[slack], before.range[i]);
            EXPECT_EQ(m.obj[slack], 0);
            if (!linear) {
                EXPECT_EQ(m.quadDiag[slack], 0);
                EXPECT_EQ(m.quadColLength[slack], 0);
                EXPECT_EQ(m.quadColBegin[slack + 1], m.numQuadCoef);
            }
            ++slack;
        }
        const std::vector<double> normal = activities(m, m.solPrimal);
        for (std::size_t i = 0; i < data.numRow(); ++i) {
            const char sense = before.rowSense[i];
            const double residual = activity[i] - before.rhs[i];
            EXPECT_EQ(normal[i] - data.rhs[i], sense == 'L'   ? -residual
                                               : sense == 'R' ? 0
                                                              : residual);
        }

        ovrelin::IpmSolution solution = makeSolution(m);
        makeDirection(m);
        ovrelin::restoreRows(m, transform, solution);
        for (std::size_t i = 0; i < data.numRow(); ++i) {
            const char sense = before.rowSense[i];
            EXPECT_EQ(solution.ineqnSlack[i], sense == 'R' ? before.rhs[i] - activity[i] : 0);
            EXPECT_EQ(transform.direction->solDualDelta[i] < 0, sense == 'L');
            if (sense == 'L') data.solDual[i] = -data.solDual[i];
        }
        data.expectRestored();
    }
}

TEST_F(Preparation, NormaliseRowsRefusesWrongCountsAndLeavesTheModel) {
    DrawnModel data(20, ovrelin::modelTypeQp, {.maxRow = 8, .maximise = false}, true);
    const int numRange = countOf(data, 'R'), numLcont = countOf(data, 'L');
    ASSERT_TRUE(numRange > 0 && numLcont > 1);
    const struct {
        int numRange, numLcont;
        Status status;
    } cases[] = {{numRange + 1, numLcont, Status::failed},
                 {numRange, numLcont + 1, Status::failed},
                 {numRange, numLcont - 1, Status::failed},
                 {-3, 0, Status::ok}};  // as none
    for (const auto& c : cases) {
        transform = {};
        transform.numRange = c.numRange;
        transform.numLcont = c.numLcont;
        EXPECT_EQ(ovrelin::normaliseRows(instance, data.model, transform), c.status);
        data.expectRestored();
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
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.lower << ' ' << c.upper << ' ' << int(c.flags));
        ovtest::ModelData data;
        data.lower = {c.lower};
        data.upper = {c.upper};
        data.obj = data.quadDiag = {0};
        data.quad.begin = data.matrix.begin = {0, 0};
        data.bind();
        Model& m = data.model;
        transform = {};
        ASSERT_TRUE(isOk(ovrelin::relaxBounds(instance, m, options, transform)));
        EXPECT_EQ(transform.lowerKeep, nullptr);  // no flags, nothing to do
        std::uint8_t flags = c.flags;
        m.relaxColBound = &flags;
        ASSERT_TRUE(isOk(ovrelin::relaxBounds(instance, m, options, transform)));
        EXPECT_EQ(m.lower[0], c.newLower);
        EXPECT_EQ(m.upper[0], c.newUpper);
        EXPECT_EQ(transform.keepSwapped, 1);
        EXPECT_EQ(ovrelin::relaxBounds(instance, m, options, transform), Status::failed);
        ovrelin::swapKeptBounds(m, transform);
        EXPECT_EQ(transform.keepSwapped, 0);
        EXPECT_TRUE(m.lower == data.lower.data() && m.upper == data.upper.data());
        EXPECT_EQ(data.lower[0], c.lower);
        EXPECT_EQ(data.upper[0], c.upper);
    }
}

// Scaling by powers of two is exact, so unscaling must give back every bit.
TEST_F(Preparation, UnscaleUndoesTheObjectiveFactorOfAQuadraticModel) {
    for (const double factor : {1.0, 0.125, 1024.0}) {
        DrawnModel data(9, ovrelin::modelTypeQp, anyShape);
        ovrelin::IpmSolution solution = makeSolution(data.model);
        for (auto* v : {&data.obj, &data.quadDiag, &data.quad.value, &data.solDual})
            for (double& value : *v) value *= factor;
        for (auto* array : {&solution.lowerDual, &solution.upperDual})
            for (double& value : *array) value *= factor;
        transform.objScale = factor;
        ASSERT_TRUE(isOk(ovrelin::ipmUnscale(instance, data.model, options, transform, solution)));
        data.expectRestored();
        expectCounting(1, boundArrays(solution));
    }
}

TEST_F(Preparation, UnscaleByRowMaximaTouchesLargeRowsOnly) {
    for (const double objScale : {8.0, 16.0}) {
        for (std::uint64_t seed = 1; seed <= 50; ++seed) {
            DrawnModel data(seed, ovrelin::modelTypeLp, anyShape);
            ovrelin::IpmSolution solution = makeSolution(data.model);
            transform = {};
            transform.objScale = objScale;
            ASSERT_TRUE(isOk(transform.rowScale.make(instance->pool, 5)));
            const double maxima[] = {16, 8, 10, 0, 1024};
            std::copy_n(maxima, 5, transform.rowScale.data());
            options.startMode = 1;
            ASSERT_TRUE(
                isOk(ovrelin::ipmUnscale(instance, data.model, options, transform, solution)));
            const double objFactor = objScale >= 10 ? objScale : 1;
            ov::Problem& expected = data.before;
            for (double& v : expected.obj) v *= objFactor;
            for (std::size_t k = 0; k < data.matrix.value.size(); ++k) {
                const double rowMax = maxima[data.matrix.index[k]];
                if (rowMax >= 10) expected.matrix.value[k] *= rowMax;
            }
            for (std::size_t i = 0; i < data.numRow(); ++i) {
                if (maxima[i] < 10) continue;
                expected.rhs[i] *= maxima[i];
                data.y[i] = data.y[i] / maxima[i] * objFactor;
            }
            data.expectRestored();
        }
    }
}

// The service scales the model; the point, its direction, the bounds set aside and two perturbed
// numbers follow by hand. Every factor is a power of two, so that all of it comes back to the bit.
TEST_F(Preparation, UnscaleByTheServiceGivesBackModelPointAndPerturbations) {
    ASSERT_TRUE(isOk(ovrelin::loadScalingSibling(instance)));
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        DrawnModel data(seed, ovrelin::modelTypeLp, anyShape);
        for (double& v : data.matrix.value) v *= 1024;
        data.before = data;
        ov::Problem kept = data;
        Model& m = data.model;
        const auto n = static_cast<std::size_t>(m.numCol), numRow = data.numRow();
        ovrelin::IpmSolution s = makeSolution(m);
        count(200, {&s.ineqnSlack});
        transform = {};
        makeDirection(m);
        ovrelin::DirectionRecord& d = *transform.direction;
        transform.lowerKeep = kept.lower.data();
        transform.upperKeep = kept.upper.data();
        for (auto* factors : {&transform.rowScale, &transform.colScale}) {
            ASSERT_TRUE(isOk(factors->make(instance->pool, 7)));
            std::fill(factors->begin(), factors->end(), 1.0);
        }
        ASSERT_EQ(instance->presolverInstance->computeScaling(
                      instance->presolverInstance, 1, 1e-6, m.numRow, m.numCol, m.numCoef,
                      m.colBegin, m.colLength, m.rowIndex, m.matValue, m.obj, m.lower, m.upper,
                      transform.rowScale.data(), transform.colScale.data(), nullptr, nullptr, m.rhs,
                      m.rowSense, m.range, nullptr, nullptr, nullptr, nullptr),
                  0);
        const double f = transform.objScale = transform.rowScale[numRow];
        for (std::size_t j = 0; j < n; ++j) {
            const double c = transform.colScale[j];
            for (double* bound : {&kept.lower[j], &kept.upper[j]})
                if (std::fabs(*bound) < 1e20) *bound /= c;
            for (double* v : {&data.solPrimal[j], &s.lowerSlack[j], &s.upperSlack[j],
                              &d.solPrimalDelta[j], &d.lowerSlackDelta[j], &d.upperSlackDelta[j]})
                *v /= c;
            for (double* v :
                 {&s.lowerDual[j], &s.upperDual[j], &d.lowerDualDelta[j], &d.upperDualDelta[j]})
                *v *= c * f;
        }
        for (std::size_t i = 0; i < numRow; ++i) {
            const double r = transform.rowScale[i];
            data.rowActivity[i] = r;
            for (double* v : {&s.ineqnSlack[i], &d.ineqnSlackDelta[i]}) *v *= r;
            for (double* v : {&data.solDual[i], &d.solDualDelta[i]}) *v *= f / r;
        }
        transform.numObjPerturb = 1;
        transform.numRhsPerturb = numRow > 0 ? 1 : 0;
        for (auto* index : {&transform.objPerturbIndex, &transform.rhsPerturbIndex})
            ASSERT_TRUE(isOk(index->make(instance->pool, 1, ovrelin::Fill::zero)));
        for (auto* value : {&transform.objPerturbValue, &transform.rhsPerturbValue})
            ASSERT_TRUE(isOk(value->make(instance->pool, 1)));
        transform.objPerturbValue[0] = std::exchange(data.obj[0], 77);
        if (numRow > 0) transform.rhsPerturbValue[0] = std::exchange(data.rhs[0], 77);

        ASSERT_TRUE(isOk(ovrelin::ipmUnscale(instance, m, options, transform, s)));
        data.expectRestored();
        EXPECT_EQ(kept.lower, data.before.lower);
        EXPECT_EQ(kept.upper, data.before.upper);
        EXPECT_EQ(data.rowActivity, std::vector<double>(numRow, 1.0));
        EXPECT_EQ(transform.perturbDone, 1);
        expectCounting(1, boundArrays(s));
        expectCounting(200, {&s.ineqnSlack});
        expectCounting(100, directionArrays(d));
    }
    ovrelin::releaseScalingSibling(instance);
}

}  // namespace
