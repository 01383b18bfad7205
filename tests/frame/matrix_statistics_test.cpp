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

/// Largest, smallest and mean absolute value against sorting; returns the number of values.
int expectSummary(const char* what, std::vector<double> values, bool skipZeros, double max,
                  double min, double mean) {
    for (double& v : values) v = std::fabs(v);
    if (skipZeros) std::erase(values, 0.0);
    const auto count = static_cast<int>(values.size());
    if (values.empty()) values = {0};
    std::sort(values.begin(), values.end());
    EXPECT_EQ(max, values.back()) << what;
    EXPECT_EQ(min, values.front()) << what;
    const double sum = std::accumulate(values.begin(), values.end(), 0.0);
    EXPECT_NEAR(mean, count > 0 ? sum / count : 0, 1e-12) << what;
    return count;
}

void expectLengths(const char* what, const std::vector<std::int32_t>& lengths, std::int32_t min,
                   std::int32_t max, double mean) {
    EXPECT_EQ(min, *std::min_element(lengths.begin(), lengths.end())) << what;
    EXPECT_EQ(max, *std::max_element(lengths.begin(), lengths.end())) << what;
    const std::int32_t sum = std::accumulate(lengths.begin(), lengths.end(), 0);
    EXPECT_EQ(mean, sum / static_cast<std::int32_t>(lengths.size())) << what;
}

void expectStatistics(const OwnedModel& m, const ProblemStatistics& b) {
    expectSummary("matrix", m.matValue, false, b.matMax, b.matMin, b.matMean);
    EXPECT_EQ(expectSummary("obj", m.obj, true, b.objMax, b.objMin, b.objMean), b.numObjNonzero);
    EXPECT_EQ(expectSummary("rhs", m.rhs, true, b.rhsMax, b.rhsMin, b.rhsMean), b.numRhsNonzero);
    std::vector<double> full = m.quadDiag;  // every entry of the full Q
    std::erase(full, 0.0);
    EXPECT_EQ(b.numDiagNonzero, static_cast<std::int32_t>(full.size()));
    for (int twice = 0; twice < 2; ++twice)
        full.insert(full.end(), m.quadValue.begin(), m.quadValue.end());
    expectSummary("quad", full, false, b.quadMax, b.quadMin, b.quadMean);
    if (m.sense.empty()) return;
    std::vector<std::int32_t> rows(m.sense.size());
    for (const std::int32_t i : m.rowIndex) ++rows[static_cast<std::size_t>(i)];
    expectLengths("rows", rows, b.rowLengthMin, b.rowLengthMax, b.rowLengthMean);
    expectLengths("columns", m.colLength, b.colLengthMin, b.colLengthMax, b.colLengthMean);
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
}

TEST_F(FrameTest, StatisticsReportRefusedMemory) {
    OwnedModel m = ovtest::drawModel(1, 3, 3, "E");
    ProblemInput p = viewOf(m);
    host.failAllocation(1);
    EXPECT_EQ(instance->matrixStatistics(instance, &p), 1);
    EXPECT_EQ(instance->matrixStatistics(instance, &p), 0);
}

}  // namespace
