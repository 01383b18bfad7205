// The tables that choose the ordering, on either side of each of their bounds.
#include "sparse/order/method_choice.hpp"

#include <gtest/gtest.h>

#include "sparse/order/ldl_order.hpp"
#include "sparse/sparse_ldl.hpp"
#include "support/order_fixture.hpp"
#include "support/test_pool.hpp"

namespace {

using ovrelin::chooseBalanceFactor;
using ovrelin::chooseOrdering;

struct Case {
    std::int32_t matrixClass;
    std::int32_t numNode;
    double degree;
    bool useDensityRule;
    std::int32_t method;
};

// A bound belongs to the row behind it.
constexpr Case automaticCases[] = {
    {0, 2499, 20.0, true, 1},        {0, 2500, 20.0, true, 2},      {0, 10000, 13.4, true, 2},
    {0, 10000, 13.3999, true, 1},    {0, 10000, 374.9999, true, 0}, {0, 10000, 375.0, true, 2},
    {1, 1000000, 3.592999, true, 2}, {1, 1000000, 3.593, true, 0},  {1, 1000000, 3.65, true, 2},
    {1, 1000000, 3.73, true, 1},     {1, 1000000, 3.96, true, 2},   {1, 1000000, 4.4, true, 1},
    {1, 1000000, 4.638, true, 2},    {1, 1000000, 5.84, true, 1},   {1, 1000000, 6.0, true, 2},
    {1, 1000000, 6.25, true, 0},     {1, 1000000, 8.5, true, 2},    {1, 1000000, 17.0, true, 0},
    {1, 1000000, 19.0, true, 2},     {1, 1000000, 25.0, true, 1},   {1, 1000000, 29.9999, true, 1},
    {1, 1000000, 30.0, true, 2},     {2, 3499, 3.0, true, 1},       {2, 3500, 3.0, true, 2},
    {2, 10000, 4.69, true, 2},       {2, 10000, 6.5, true, 0},      {2, 10000, 7.0, true, 2},
    {3, 10000, 4.9999, true, 1},     {4, 10000, 86.0, true, 0},     {5, 10000, 87.0, true, 2},
    {3, 4099, 86.0, false, 0},       {4, 4100, 86.0, false, 1},     {5, 10999, 3.0, false, 1},
    {3, 11000, 3.0, false, 2}};

TEST(MethodChoice, TableHasStrictBounds) {
    for (const Case& c : automaticCases) {
        // Counts whose quotient is the degree to the last digit given.
        const auto edgeEnds = static_cast<std::int64_t>(c.degree * c.numNode + 0.5);
        EXPECT_EQ(chooseOrdering({c.numNode, edgeEnds, c.matrixClass, -1, c.useDensityRule}),
                  c.method)
            << "class " << c.matrixClass << " n " << c.numNode << " degree " << c.degree;
    }
}

TEST(MethodChoice, WishOverridesTheTableButNotTheNaturalOrder) {
    using ovrelin::ldl::methodNatural;
    constexpr std::int32_t ran[] = {0, 1, 2, 2, 2};
    for (std::int32_t wish = -1; wish <= 4; ++wish) {
        if (wish >= 0) {
            EXPECT_EQ(chooseOrdering({1000, 5000, 1, wish, true}), ran[wish]);
        }
        EXPECT_EQ(chooseOrdering({100, 0, 1, wish, true}), methodNatural);
        EXPECT_EQ(chooseOrdering({0, 0, 1, wish, true}), methodNatural);
        // Mean degree 3 of 10 vertices is above trunc(10 / 4).
        EXPECT_EQ(chooseOrdering({10, 30, 1, wish, true}), methodNatural);
        EXPECT_NE(chooseOrdering({10, 20, 1, wish, true}), methodNatural);
    }
}

// A star without the density rule: fifty times the mean degree, 1, for classes 1 and 2, and ten
// roots of the order for the others, both up to the order itself.
TEST(MethodChoice, WithoutTheDensityRuleTheClassSaysWhatIsDense) {
    constexpr struct {
        std::int32_t matrixClass, numNode;
        double denseFactor;
        std::int32_t numDense;
    } cases[] = {{1, 100, 50, 1},  {2, 52, 50, 1},   {1, 51, 50, 1},  {1, 50, 50, 0},
                 {1, 100, 120, 0}, {1, 200, 120, 1}, {0, 100, 50, 0}, {0, 102, 50, 1},
                 {4, 99, 50, 0},   {3, 400, 50, 1},  {5, 20, 50, 0}};
    for (const auto& c : cases) {
        ovtest::TestGraph graph(ovtest::arrowPattern(c.numNode));
        ASSERT_EQ(graph.code, ovrelin::ldl::ok);
        const auto numEnds = static_cast<std::int64_t>(graph.adj.size());
        const std::int64_t capacity = ovrelin::orderCapacity(c.numNode, numEnds);
        graph.adj.resize(static_cast<std::size_t>(capacity));
        ovrelin::OrderControl control;
        control.matrixClass = c.matrixClass;
        control.useDensityRule = false;
        control.denseFactor = c.denseFactor;
        ovtest::Indices order(c.numNode), inverse(c.numNode);
        ovrelin::OrderResult result{order.data(), inverse.data(), -1};
        std::int32_t method = 0;
        ovtest::TestPool pool;
        EXPECT_EQ(ovrelin::ldlOrder(pool.get(),
                                    {c.numNode, graph.begin.data(), graph.adj.data(), capacity},
                                    control, method, result,
                                    ovtest::ScratchBlock(ovrelin::orderScratchBytes(c.numNode))),
                  ovrelin::ldl::ok);
        EXPECT_EQ(result.numDense, c.numDense) << "class " << c.matrixClass << " of " << c.numNode;
        if (c.numDense > 0) {
            EXPECT_EQ(order.back(), 0);
        }
    }
}

TEST(MethodChoice, BalanceFactorBounds) {
    const std::pair<double, double> cases[] = {{3.99, 1.45}, {4, 1.4},   {360, 1.4},  {361, 1.35},
                                               {440, 1.35},  {441, 1.3}, {1000, 1.3}, {1001, 1.25},
                                               {1600, 1.25}, {1601, 1.2}};
    for (const auto& [degree, factor] : cases) EXPECT_EQ(chooseBalanceFactor(degree), factor);
}

}  // namespace
