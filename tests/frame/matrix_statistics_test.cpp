// The statistics block against sorting everything, and its conventions for what is not there.

#include "frame/operations/matrix_statistics.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "frame_fixture.hpp"

namespace {

using ovtest::FrameTest;
using ovtest::OwnedModel;

ProblemInput viewOf(OwnedModel& m) {
    ProblemInput p{};
    p.objSense = 1;
    p.numRow = static_cast<std::int32_t>(m.sense.size());
    p.numCol = static_cast<std::int32_t>(m.obj.size());
    p.numCoef = static_cast<std::int32_t>(m.matValue.size());
    p.numQuadCoef = static_cast<std::int32_t>(m.quadValue.size());
    p.matValue = m.matValue.data();
    p.rowIndex = m.rowIndex.data();
    p.colBegin = m.colBegin.data();
    p.quadDiag = m.quadDiag.data();
    p.quadMatValue = m.quadValue.data();
    p.quadRowIndex = m.quadRow.data();
    p.quadColBegin = m.quadColBegin.data();
    p.obj = m.obj.data();
    p.rhs = m.rhs.data();
    std::memset(&p.statistics, 0xee, sizeof p.statistics);
    return p;
}

struct Summary {
    double max = 0, min = 0, mean = 0;
    std::int32_t count = 0;
};

Summary summarise(std::vector<double> values, bool skipZeros) {
    for (double& v : values) v = std::fabs(v);
    if (skipZeros) std::erase(values, 0.0);
    Summary s;
    s.count = static_cast<std::int32_t>(values.size());
    if (values.empty()) return s;
    std::sort(values.begin(), values.end());
    s.min = values.front();
    s.max = values.back();
    s.mean = std::accumulate(values.begin(), values.end(), 0.0) / s.count;
    return s;
}

void expectSummary(const Summary& s, double max, double min, double mean, const char* what) {
    EXPECT_EQ(max, s.max) << what;
    EXPECT_EQ(min, s.min) << what;
    EXPECT_NEAR(mean, s.mean, 1e-12) << what;
}

void expectStatistics(OwnedModel& m, const ProblemStatistics& b) {
    const auto numRow = static_cast<std::int32_t>(m.sense.size());
    const auto numCol = static_cast<std::int32_t>(m.obj.size());
    expectSummary(summarise(m.matValue, false), b.matMax, b.matMin, b.matMean, "matrix");
    expectSummary(summarise(m.obj, true), b.objMax, b.objMin, b.objMean, "obj");
    expectSummary(summarise(m.rhs, true), b.rhsMax, b.rhsMin, b.rhsMean, "rhs");
    EXPECT_EQ(b.numObjNonzero, summarise(m.obj, true).count);
    EXPECT_EQ(b.numRhsNonzero, summarise(m.rhs, true).count);
    std::vector<double> full;  // every entry of the full Q
    for (const double d : m.quadDiag) {
        if (d != 0) full.push_back(d);
    }
    EXPECT_EQ(b.numDiagNonzero, static_cast<std::int32_t>(full.size()));
    for (int twice = 0; twice < 2; ++twice)
        full.insert(full.end(), m.quadValue.begin(), m.quadValue.end());
    expectSummary(summarise(full, false), b.quadMax, b.quadMin, b.quadMean, "quad");
    std::vector<std::int32_t> rows(m.sense.size());
    for (const std::int32_t i : m.rowIndex) ++rows[static_cast<std::size_t>(i)];
    const auto count = static_cast<std::int32_t>(m.rowIndex.size());
    if (numRow == 0) return;
    EXPECT_EQ(b.rowLengthMin, *std::min_element(rows.begin(), rows.end()));
    EXPECT_EQ(b.rowLengthMax, *std::max_element(rows.begin(), rows.end()));
    EXPECT_EQ(b.rowLengthMean, count / numRow);
    EXPECT_EQ(b.colLengthMin, *std::min_element(m.colLength.begin(), m.colLength.end()));
    EXPECT_EQ(b.colLengthMax, *std::max_element(m.colLength.begin(), m.colLength.end()));
    EXPECT_EQ(b.colLengthMean, count / numCol);
}

TEST_F(FrameTest, StatisticsAgreeWithARecount) {
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        OwnedModel m = ovtest::drawModel(seed, seed % 7, 1 + seed % 6, "EGL");
        if (seed % 5 == 0) std::fill(m.obj.begin(), m.obj.end(), 0.0);
        if (seed % 3 == 0) std::fill(m.quadDiag.begin(), m.quadDiag.end(), 0.0);
        if (!m.matValue.empty() && seed % 4 == 0) m.matValue[0] = 0;
        const OwnedModel before = m;
        ProblemInput p = viewOf(m);
        ASSERT_EQ(instance->matrixStatistics(instance, &p), 0);
        EXPECT_EQ(p.statistics.statNumCol, p.numCol);
        EXPECT_EQ(p.statistics.statNumRow, p.numRow);
        EXPECT_EQ(p.statistics.statNumCoef, p.numCoef);
        EXPECT_EQ(p.statistics.statNumQuadCoef, p.numQuadCoef);
        expectStatistics(m, p.statistics);
        EXPECT_EQ(m, before);
    }
}

TEST_F(FrameTest, StatisticsOfNothingAreZero) {
    ProblemInput p{};
    p.numRow = 5;  // not looked at without columns
    p.numCol = -2;
    std::memset(&p.statistics, 0xee, sizeof p.statistics);
    ASSERT_EQ(instance->matrixStatistics(instance, &p), 0);
    ProblemStatistics expected{};
    expected.statNumCol = -2;
    EXPECT_EQ(std::memcmp(&p.statistics, &expected, offsetof(ProblemStatistics, statNumRow) + 4),
              0);
    EXPECT_EQ(p.statistics.matMin + p.statistics.objMin + p.statistics.rhsMin, 0);
    EXPECT_EQ(p.statistics.rowLengthMin + p.statistics.colLengthMin + p.statistics.statNumRow, 0);
}

TEST_F(FrameTest, StatisticsReportRefusedMemory) {
    OwnedModel m = ovtest::drawModel(1, 3, 3, "E");
    ProblemInput p = viewOf(m);
    host.failAllocation(1);
    EXPECT_EQ(instance->matrixStatistics(instance, &p), 1);
    EXPECT_EQ(instance->matrixStatistics(instance, &p), 0);
}

}  // namespace
