// A factor that the caches hold gets the bits that the same matrix gets on the way of larger ones.
#include "support/ldl_solver.hpp"

namespace {

using namespace ovtest;
namespace ldl = ovrelin::ldl;

/// What the factorisation leaves, but for the triangles above the diagonals, which are scratch.
struct Factors {
    std::vector<double> lower;
    Indices pivot;
    std::int32_t numPerturbed;

    explicit Factors(const ovrelin::LdlSymbolic& symbolic)
        : pivot(symbolic.pivotIndex.begin(), symbolic.pivotIndex.end()),
          numPerturbed(symbolic.numPerturbed) {
        const ovrelin::BlockColumns& blocks = symbolic.blocks;
        for (std::int32_t b = 0; b < blocks.count; ++b) {
            const std::int64_t m = blocks.rowEnd[b] - blocks.rowBegin[b];
            const double* column = symbolic.factorValues.data() + blocks.valueBegin[b];
            for (std::int64_t c = 0; c < blocks.firstCol[b + 1] - blocks.firstCol[b]; ++c) {
                lower.insert(lower.end(), column + c, column + m);
                column += m;
            }
        }
    }
};

TEST(CompactFactor, HasTheBitsOfOneThatIsNot) {
    std::mt19937 random(31);
    std::int64_t direct = 0, runs = 0;
    for (int trial = 0; trial < 1200; ++trial) {
        SCOPED_TRACE(trial);
        const Kind kind = allKinds[trial % 6];
        TestPattern pattern;
        switch (trial / 6 % 5) {
            case 0:
                pattern = randomTree(random, 150);
                break;
            case 1:
                pattern = randomGraph(random, 60, 2);
                break;
            case 2:
                pattern = starOfCliquesPattern(8, 1 + trial % 9, 12);
                break;
            case 3:
                pattern = cliquePairPattern(20 + trial % 90, 1 + trial % 11, 15);
                break;
            default:
                pattern = randomPattern(random, 90);
        }
        const TestMatrix matrix = withValues(random, pattern, kind);
        LdlSolver compact{{ldl::optOrderingMethod, trial % 3}};
        LdlSolver general{{ldl::optOrderingMethod, trial % 3}};
        // Blocks of more columns than a panel keep no scaled copy of all their rows.
        compact.handle->parameters.panelWidth = general.handle->parameters.panelWidth =
            trial % 4 == 0 ? 8 : 96;
        ASSERT_EQ(compact.analyse(matrix), ldl::ok);
        ASSERT_EQ(general.analyse(matrix), ldl::ok);
        ASSERT_TRUE(compact.symbolic->direct.isCompact());
        direct += static_cast<std::int64_t>(compact.symbolic->direct.place.size());
        for (std::int32_t b = 0; b < compact.symbolic->blocks.count; ++b)
            runs += compact.symbolic->direct.begin[b] == compact.symbolic->direct.begin[b + 1];
        general.symbolic->direct = {};
        // What the first factorisation leaves behind must not reach the second.
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(compact.factor(matrix), ldl::ok);
            ASSERT_EQ(general.factor(matrix), ldl::ok);
            const Factors found(*compact.symbolic), expected(*general.symbolic);
            ASSERT_EQ(found.pivot, expected.pivot);
            ASSERT_EQ(found.numPerturbed, expected.numPerturbed);
            ASSERT_EQ(found.lower, expected.lower);
        }
    }
    EXPECT_GT(direct, 20000);
    EXPECT_GT(runs, 1000);
}

}  // namespace
