// The options of the sparse solver: what each number accepts, refuses, and leaves alone.
#include <cstring>
#include <limits>

#include "support/ldl_solver.hpp"

namespace {

using namespace ovrelin;
using ovtest::LdlSolver;

constexpr std::int32_t intMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t intMin = std::numeric_limits<std::int32_t>::min();

// Written out a second time on purpose: the numbers are what callers rely on.
constexpr struct {
    int option;
    std::int32_t SparseLdl::*field;
    std::int32_t lowest, highest;
} ranges[] = {
    {0, &SparseLdl::numThreads, 1, intMax},     {1, &SparseLdl::matrixClass, 0, 5},
    {2, &SparseLdl::orderingPostPass, 0, 1},    {3, &SparseLdl::matchingMode, 0, 1},
    {4, &SparseLdl::blockMatchingMode, 0, 1},   {5, &SparseLdl::firstBlockSize, 0, intMax},
    {6, &SparseLdl::reservedCount, 1, intMax},  {7, &SparseLdl::orderingMethod, -1, 4},
    {8, &SparseLdl::matchingScale, 0, 1},       {9, &SparseLdl::pivotStatistics, 0, 1},
    {13, &SparseLdl::reservedFlag, 0, 1},       {14, &SparseLdl::krylovRefinement, 0, 1},
    {15, &SparseLdl::maxRefineIter, 0, intMax}, {16, &SparseLdl::initialRestart, 1, intMax},
    {17, &SparseLdl::maxRestart, 1, intMax},    {18, &SparseLdl::orthogonalization, 0, 2},
    {21, &SparseLdl::schedulingMode, 0, 1},     {22, &SparseLdl::eigenMaxIter, 1, intMax},
    {22, &SparseLdl::eigenMaxIter, intMin, -1}, {24, &SparseLdl::eigenCount, 1, intMax},
};

TEST(SparseOptions, AcceptTheirRangeAndStoreNothingOutsideIt) {
    LdlSolver solver;
    for (const auto& range : ranges) {
        SCOPED_TRACE(range.option);
        for (const std::int32_t good : {range.lowest, range.highest}) {
            EXPECT_EQ(solver.set(range.option, good), ldl::ok);
            EXPECT_EQ(solver.handle->*range.field, good);
        }
        if (range.lowest > intMin) {
            EXPECT_EQ(solver.set(range.option, range.lowest - 1), ldl::badOption);
        }
        if (range.highest < intMax) {
            EXPECT_EQ(solver.set(range.option, range.highest + 1), ldl::badOption);
        }
        EXPECT_EQ(solver.handle->*range.field, range.highest);
    }
}

TEST(SparseOptions, NumbersWithoutMeaningChangeNothing) {
    LdlSolver solver;
    const SparseLdl before = *solver.handle;
    EXPECT_EQ(before.eigenEnd, 'S');
    for (const int option : {10, 11, 12, 19, 20, 23}) EXPECT_EQ(solver.set(option, 1), ldl::ok);
    for (const int option : {-1, 25, 1000, intMin})
        EXPECT_EQ(solver.set(option, 1), ldl::badOption);
    for (const int option : {0, 5, 22, 24})
        EXPECT_EQ(sparseLdlSetChar(solver.handle, option, 'L'), ldl::ok);
    for (const int option : {-1, 25})
        EXPECT_EQ(sparseLdlSetChar(solver.handle, option, 'L'), ldl::badOption);
    EXPECT_EQ(sparseLdlSetChar(solver.handle, 23, 'X'), ldl::badOption);
    EXPECT_EQ(std::memcmp(&before, solver.handle, sizeof before), 0);
    EXPECT_EQ(sparseLdlSetChar(solver.handle, 23, 'L'), ldl::ok);
    EXPECT_EQ(solver.handle->eigenEnd, 'L');
}

TEST(SparseOptions, CreationReportsWhatIsMissing) {
    int code = -1;
    EXPECT_EQ(sparseLdlCreate(nullptr, 0, &code), nullptr);
    EXPECT_EQ(code, ldl::badOption);
    ovtest::TestPool pool;
    pool.failRequest(0);
    EXPECT_EQ(sparseLdlCreate(pool.get(), 0, &code), nullptr);
    EXPECT_EQ(code, ldl::noMemory);
    SparseLdl* handle = sparseLdlCreate(pool.get(), 17, &code);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(code, ldl::ok);
    EXPECT_EQ(handle->userContext, 17u);
    sparseLdlFree(&handle);
    EXPECT_EQ(handle, nullptr);
}

}  // namespace
