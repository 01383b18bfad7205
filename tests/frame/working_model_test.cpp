// The copy that the iteration works on, and the way back from it.

#include "frame/operations/working_model.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "frame/operations/normalise_rows.hpp"
#include "frame_fixture.hpp"

namespace {

using ovrelin::isOk;
using ovrelin::Model;
using ovrelin::Status;
using ovtest::FrameTest;
using ovtest::OwnedModel;

constexpr std::int32_t numCol = 5;

struct Copied {
    ovrelin::TransformRecord transform{};
    ovrelin::WorkingModel working{};
    ovrelin::IpmSolution inSolution{}, workSolution{};
};

Status copy(SolverInstance* instance, Model& model, Copied& c) {
    return ovrelin::makeWorkingModel(instance->pool, &model, c.transform, c.working, c.inSolution,
                                     c.workSolution);
}

double dense(const Model& m, std::int32_t row, std::int32_t column) {
    double sum = 0;
    for (std::int32_t k = m.colBegin[column]; k < m.colBegin[column] + m.colLength[column]; ++k)
        sum += m.rowIndex[k] == row ? m.matValue[k] : 0;
    return sum;
}

double denseQuad(const Model& m, std::int32_t i, std::int32_t j) {
    if (i == j) return m.quadDiag[i];
    if (m.numQuadCoef == 0) return 0;
    if (i < j) std::swap(i, j);
    for (std::int32_t k = m.quadColBegin[j]; k < m.quadColBegin[j] + m.quadColLength[j]; ++k)
        if (m.quadRowIndex[k] == i) return m.quadMatValue[k];
    return 0;
}

TEST_F(FrameTest, WorkingModelIsTheModelWithoutItsFreeRows) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        OwnedModel owned = ovtest::drawModel(seed, 6, numCol, "EGLRN");
        const OwnedModel before = owned;
        Model in = owned.view(ovrelin::modelTypeQp, numCol);
        Copied c;
        ASSERT_TRUE(isOk(copy(instance, in, c)));
        Model& out = c.working.model;
        const auto countOf = [&](char sense) {
            return static_cast<std::int32_t>(
                std::count(before.sense.begin(), before.sense.end(), sense));
        };
        EXPECT_EQ(out.numRow, 6 - countOf('N'));
        EXPECT_EQ(c.transform.numRange, countOf('R'));
        EXPECT_EQ(c.transform.numLcont, countOf('L'));
        std::int32_t row = 0;
        for (std::int32_t i = 0; i < 6; ++i) {
            if (in.rowSense[i] == 'N') continue;
            EXPECT_EQ(out.rowSense[row], in.rowSense[i]);
            EXPECT_EQ(out.rhs[row], in.rhs[i]);
            EXPECT_EQ(out.range[row], in.range[i]);
            for (std::int32_t j = 0; j < numCol; ++j)
                EXPECT_EQ(dense(out, row, j), dense(in, i, j)) << "seed " << seed;
            ++row;
        }
        for (std::int32_t i = 0; i < numCol; ++i)
            for (std::int32_t j = 0; j < numCol; ++j)
                EXPECT_EQ(denseQuad(out, i, j), denseQuad(in, i, j));
        EXPECT_EQ(out.colBegin[numCol], out.numCoef);

        // there is room for the normal form (the sanitizers watch), and the caller's data do not
        // see it
        ASSERT_TRUE(isOk(ovrelin::normaliseRows(instance, out, c.transform)));
        EXPECT_EQ(owned, before);
    }
}

TEST_F(FrameTest, WayBackComputesTheCallersValues) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        OwnedModel owned = ovtest::drawModel(seed, 6, numCol, "EGLRN");
        Model in = owned.view(ovrelin::modelTypeQp, numCol);
        in.objSense = seed % 2 == 0 ? 1 : -1;
        in.objConstant = 3.5;
        Copied c;
        ASSERT_TRUE(isOk(copy(instance, in, c)));
        Model& out = c.working.model;
        for (std::int32_t j = 0; j < numCol; ++j) out.solPrimal[j] = in.solPrimal[j] + j;
        for (std::int32_t i = 0; i < out.numRow; ++i) out.solDual[i] = i + 1;
        out.status = Status::iterationLimit;
        out.iterations = 7;
        out.primalInfeas = 0.5;
        out.dualInfeas = 0.25;
        out.boundInfeas = 0.125;
        out.dualityGap = 2;
        out.complementarity = 4;
        ovrelin::restoreCallerModel(c.working, c.workSolution, c.inSolution);

        EXPECT_EQ(in.status, Status::iterationLimit);
        EXPECT_EQ(in.iterations, 7);
        EXPECT_TRUE(in.primalInfeas == 0.5 && in.dualInfeas == 0.25 && in.boundInfeas == 0.125 &&
                    in.dualityGap == 2 && in.complementarity == 4);
        double value = in.objConstant;
        double dual = 0;
        for (std::int32_t i = 0; i < 6; ++i) {
            EXPECT_EQ(in.solDual[i], in.rowSense[i] == 'N' ? 0 : ++dual);
            double sum = 0;
            for (std::int32_t j = 0; j < numCol; ++j) sum += dense(in, i, j) * in.solPrimal[j];
            EXPECT_NEAR(in.rowActivity[i], sum, 1e-10);
        }
        for (std::int32_t j = 0; j < numCol; ++j) {
            double gradient = in.obj[j];
            for (std::int32_t k = 0; k < numCol; ++k)
                gradient += denseQuad(in, j, k) * in.solPrimal[k];
            value += 0.5 * (gradient + in.obj[j]) * in.solPrimal[j];
            for (std::int32_t i = 0; i < 6; ++i) gradient -= dense(in, i, j) * in.solDual[i];
            EXPECT_NEAR(in.reducedCost[j], gradient, 1e-10);
        }
        EXPECT_NEAR(in.objValue, value * in.objSense, 1e-10 * (1 + std::fabs(value)));
    }
}

// A run without a point still hands its status, iterations and measures over.
TEST_F(FrameTest, WayBackOfAFailedRunKeepsItsMeasures) {
    for (const Status status : {Status::failed, Status::outOfMemory, Status::interrupted}) {
        OwnedModel owned = ovtest::drawModel(3, 4, numCol, "EG");
        Model in = owned.view(ovrelin::modelTypeQp, numCol);
        Copied c;
        ASSERT_TRUE(isOk(copy(instance, in, c)));
        c.working.model.status = status;
        c.working.model.iterations = 3;
        c.working.model.dualityGap = 9;
        ovrelin::restoreCallerModel(c.working, c.workSolution, c.inSolution);
        EXPECT_EQ(in.status, status);
        EXPECT_EQ(in.iterations, 3);
        EXPECT_EQ(in.dualityGap, 9);
        EXPECT_EQ(in.objValue, 0);
        in.iterations = 5;  // no copy is alive any more: a second release changes nothing
        ovrelin::releaseWorkingModel(c.working);
        EXPECT_EQ(in.iterations, 5);
    }
}

TEST_F(FrameTest, RefusedMemoryForTheCopyIsReportedAndReleased) {
    OwnedModel owned = ovtest::drawModel(8, 6, numCol, "EGLRN");
    Model in = owned.view(ovrelin::modelTypeQp, numCol);
    const std::uint64_t live = host.memory().liveBlocks;
    const std::uint64_t count = [&] {
        const std::uint64_t first = host.memory().allocations;
        Copied c;
        EXPECT_TRUE(isOk(copy(instance, in, c)));
        return host.memory().allocations - first;
    }();
    ASSERT_GT(count, 20u);
    for (std::uint64_t k = 1; k <= count; ++k) {
        {
            Copied c;
            host.failAllocation(k);
            EXPECT_EQ(copy(instance, in, c), Status::outOfMemory) << k;
        }
        EXPECT_EQ(host.memory().liveBlocks, live) << k;
    }
    host.failAllocation(0);
}

}  // namespace
