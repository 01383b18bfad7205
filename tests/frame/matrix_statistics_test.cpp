// The statistics block against sorting everything, and its conventions for what is not there.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "frame_fixture.hpp"

namespace {

using ovtest::FrameTest;
using ovtest::SmallProblem;

/// Largest, smallest and mean magnitude against sorting; returns the number of values.
int expectSummary(const char* what, std::vector<double> values, double max, double min, double mean,
                  bool withZeros = false) {
    for (double& v : values) v = std::fabs(v);
    if (!withZeros) std::erase(values, 0.0);
    const auto count = static_cast<int>(values.size());
    if (values.empty()) values = {0};
    std::sort(values.begin(), values.end());
    EXPECT_EQ(max, values.back()) << what;
    EXPECT_EQ(min, values.front()) << what;
    const double sum = std::accumulate(values.begin(), values.end(), 0.0);
    EXPECT_NEAR(mean, sum / std::max(count, 1), 1e-12) << what;
    return count;
}

/// Numbers of nonzeros in the rows, or the columns, of a dense matrix.
void expectLengths(const char* what, const SmallProblem& p, bool rows, std::int32_t min,
                   std::int32_t max, double mean) {
    std::vector<int> length(static_cast<std::size_t>(rows ? p.numRow : p.numCol));
    const auto n = static_cast<std::size_t>(p.numCol);
    for (std::size_t k = 0; k < p.a.size(); ++k)
        if (p.a[k] != 0) ++length[rows ? k / n : k % n];
    EXPECT_EQ(min, *std::min_element(length.begin(), length.end())) << what;
    EXPECT_EQ(max, *std::max_element(length.begin(), length.end())) << what;
    const int sum = std::accumulate(length.begin(), length.end(), 0);
    EXPECT_EQ(mean, sum / static_cast<int>(length.size())) << what;
}

TEST_F(FrameTest, StatisticsAgreeWithARecount) {
    ov::Solver solver(host);
    for (std::uint64_t seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        SmallProblem p = ovtest::drawProblem(random, {.maxRow = 7, .maxCol = 6, .freeRows = true});
        if (seed % 5 == 0) std::fill(p.c.begin(), p.c.end(), 0.0);
        const bool withZeros = seed % 4 == 0;  // stored
        const ov::Problem problem = ovtest::toProblem(p, withZeros);
        const ProblemStatistics b = solver.matrixStatistics(problem);
        EXPECT_EQ(b.statNumCol, p.numCol);
        EXPECT_EQ(b.statNumRow, p.numRow);
        EXPECT_EQ(b.statNumQuadCoef, static_cast<int>(problem.quad.value.size()));
        EXPECT_EQ(b.statNumCoef,
                  expectSummary("matrix", p.a, b.matMax, b.matMin, b.matMean, withZeros));
        EXPECT_EQ(b.numObjNonzero, expectSummary("obj", p.c, b.objMax, b.objMin, b.objMean));
        EXPECT_EQ(b.numRhsNonzero,
                  expectSummary("rhs", problem.rhs, b.rhsMax, b.rhsMin, b.rhsMean));
        expectSummary("quad", p.q, b.quadMax, b.quadMin, b.quadMean);
        EXPECT_EQ(b.numDiagNonzero,
                  p.numCol - std::count(problem.quadDiag.begin(), problem.quadDiag.end(), 0.0));
        if (p.numRow == 0) continue;
        if (withZeros) std::fill(p.a.begin(), p.a.end(), 1.0);
        expectLengths("rows", p, true, b.rowLengthMin, b.rowLengthMax, b.rowLengthMean);
        expectLengths("columns", p, false, b.colLengthMin, b.colLengthMax, b.colLengthMean);
    }
    const ov::Problem problem = ovtest::DrawnModel(20, ovrelin::modelTypeQp, {}).before;
    host.failAllocation(1);
    EXPECT_THROW((void)solver.matrixStatistics(problem), std::bad_alloc);
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

}  // namespace
