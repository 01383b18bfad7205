// The sibling modules through the loader. Scaling: powers of two, a narrower spread, an exact way
// back, solutions that map; CPU time: samples that grow with work and their difference.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "support/quiet_host.hpp"

namespace {

/// A linear program as the scaling service sees it.
struct Lp {
    int32_t numRow = 0, numCol = 0;
    std::vector<int32_t> begin, length, index;
    std::vector<double> value, obj, lower, upper, rhs, range;
    std::string sense;

    friend bool operator==(const Lp& a, const Lp& b) {
        const auto same = [](const std::vector<double>& u, const std::vector<double>& v) {
            return u.size() == v.size() &&
                   (u.empty() || std::memcmp(u.data(), v.data(), u.size() * sizeof(double)) == 0);
        };
        return same(a.value, b.value) && same(a.obj, b.obj) && same(a.lower, b.lower) &&
               same(a.upper, b.upper) && same(a.rhs, b.rhs) && same(a.range, b.range);
    }
};

/// Magnitudes over `decades` decades either way, zeros, absent bounds and gaps between columns.
Lp randomLp(std::mt19937& random, double decades) {
    Lp lp;
    lp.numRow = static_cast<int32_t>(random() % 12);
    lp.numCol = static_cast<int32_t>(random() % 12);
    std::uniform_real_distribution<double> exponent(-decades, decades);
    const auto draw = [&]() -> double {
        if (random() % 8 == 0) return 0.0;
        return std::pow(10.0, exponent(random)) * (random() % 2 == 0 ? 1 : -1);
    };
    const auto drawBound = [&](double absent) {
        const double bound = draw();
        return random() % 3 == 0 ? absent : bound;
    };
    for (int32_t j = 0; j < lp.numCol; ++j) {
        lp.begin.push_back(static_cast<int32_t>(lp.index.size()));
        for (int32_t i = 0; i < lp.numRow; ++i) {
            if (random() % 3 != 0) continue;
            lp.index.push_back(i);
            lp.value.push_back(draw());
        }
        lp.length.push_back(static_cast<int32_t>(lp.index.size()) - lp.begin.back());
        if (random() % 5 == 0) {  // a gap: no entry of any column
            lp.index.push_back(1000000);
            lp.value.push_back(1e300);
        }
        lp.obj.push_back(draw());
        lp.lower.push_back(drawBound(random() % 2 == 0 ? -1e20 : -ov::infinity));
        lp.upper.push_back(drawBound(random() % 2 == 0 ? 1e20 : OVRELIN_MAX_DOUBLE));
    }
    lp.begin.push_back(static_cast<int32_t>(lp.index.size()));
    for (int32_t i = 0; i < lp.numRow; ++i) {
        lp.rhs.push_back(draw());
        lp.range.push_back(std::fabs(draw()));
        lp.sense.push_back("EGLR"[random() % 4]);
    }
    return lp;
}

class Scaling : public testing::Test {
protected:
    Scaling() : host(ovtest::quietHost()), factory(host.load("ovelppre")) {
        if (factory != nullptr) service = static_cast<ScalingInstance*>(factory->createInstance());
    }
    ~Scaling() override {
        if (service != nullptr) service->destroy(service);
        if (factory != nullptr) factory->releaseFactory(factory);
    }
    void SetUp() override { ASSERT_NE(service, nullptr); }

    int32_t scale(Lp& lp, int32_t direction, bool withRange = true) {
        rowScale.assign(static_cast<std::size_t>(lp.numRow) + 1, 1.0);
        colScale.assign(static_cast<std::size_t>(lp.numCol) + 1, 1.0);
        return service->computeScaling(
            service, direction, 1e-6, lp.numRow, lp.numCol, static_cast<int32_t>(lp.value.size()),
            lp.begin.data(), lp.length.data(), lp.index.data(), lp.value.data(), lp.obj.data(),
            lp.lower.data(), lp.upper.data(), rowScale.data(), colScale.data(), nullptr, nullptr,
            lp.rhs.data(), lp.sense.data(), withRange ? lp.range.data() : nullptr, nullptr, nullptr,
            nullptr, nullptr);
    }
    int32_t unscale(Lp& lp, double* x = nullptr, double* y = nullptr, double* activity = nullptr) {
        return service->applyScaling(1, lp.numRow, lp.numCol, lp.begin.data(), lp.length.data(),
                                     lp.index.data(), lp.value.data(), lp.rhs.data(),
                                     lp.range.data(), lp.obj.data(), lp.lower.data(),
                                     lp.upper.data(), nullptr, nullptr, rowScale.data(),
                                     colScale.data(), x, y, nullptr, activity);
    }

    ov::Host host;
    ExtensionFactory* factory = nullptr;
    ScalingInstance* service = nullptr;
    std::vector<double> rowScale, colScale;
};

bool isPowerOfTwo(double value) {
    int exponent = 0;
    return value > 0 && std::frexp(value, &exponent) == 0.5;
}

/// Costs - A'y and A x.
void evaluate(const Lp& lp, const std::vector<double>& x, const std::vector<double>& y,
              std::vector<double>& cost, std::vector<double>& activity) {
    cost = lp.obj;
    activity.assign(y.size(), 0.0);
    for (std::size_t j = 0; j < x.size(); ++j)
        for (int32_t k = lp.begin[j]; k < lp.begin[j] + lp.length[j]; ++k) {
            const auto at = static_cast<std::size_t>(k), i = static_cast<std::size_t>(lp.index[at]);
            cost[j] -= lp.value[at] * y[i];
            activity[i] += lp.value[at] * x[j];
        }
}

// Moderate numbers: a point of the scaled model maps to one of the model, with the same activities,
// and with reduced costs that follow the column factors.
TEST_F(Scaling, EveryNumberFollowsItsFactorsAndPointsMapBack) {
    std::mt19937 random(8);
    for (int draw = 0; draw < 100; ++draw) {
        Lp lp = randomLp(random, 3.0);
        const Lp before = lp;
        ASSERT_EQ(scale(lp, 1, draw % 2 == 0), 0);
        for (std::size_t j = 0; j < lp.obj.size(); ++j) {
            const double c = colScale[j];
            EXPECT_EQ(lp.obj[j], before.obj[j] * c * rowScale.back());
            EXPECT_EQ(lp.lower[j],
                      before.lower[j] <= -1e20 ? before.lower[j] : before.lower[j] / c);
            EXPECT_EQ(lp.upper[j], before.upper[j] >= 1e20 ? before.upper[j] : before.upper[j] / c);
            for (int32_t k = lp.begin[j]; k < lp.begin[j] + lp.length[j]; ++k) {
                const auto at = static_cast<std::size_t>(k);
                EXPECT_EQ(lp.value[at],
                          before.value[at] * c * rowScale[static_cast<std::size_t>(lp.index[at])]);
            }
        }
        for (std::size_t i = 0; i < lp.rhs.size(); ++i) {
            EXPECT_EQ(lp.rhs[i], before.rhs[i] * rowScale[i]);
            EXPECT_EQ(lp.range[i], draw % 2 == 0 ? before.range[i] * rowScale[i] : before.range[i]);
        }
        if (draw % 2 != 0) continue;
        std::vector<double> x(lp.obj.size()), y(lp.rhs.size()), cost, activity, costBack, back;
        for (double& v : x) v = std::normal_distribution<double>()(random);
        for (double& v : y) v = std::normal_distribution<double>()(random);
        evaluate(lp, x, y, cost, activity);
        ASSERT_EQ(unscale(lp, x.data(), y.data(), activity.data()), 0);
        evaluate(lp, x, y, costBack, back);
        EXPECT_EQ(activity, back);
        for (std::size_t j = 0; j < x.size(); ++j)
            EXPECT_EQ(costBack[j] * colScale[j] * rowScale.back(), cost[j]);
    }
}

TEST_F(Scaling, WayBackIsExactForEveryRange) {
    std::mt19937 random(3);
    int numScaled = 0;
    for (const double decades : {2.0, 8.0, 30.0, 150.0, 290.0, 307.0}) {
        // factors that must be given up, and then expose others, are rare
        const int draws = decades > 300 ? 4000 : 300;
        for (int draw = 0; draw < draws; ++draw) {
            Lp lp = randomLp(random, decades);
            const Lp before = lp;
            const int32_t direction = draw % 3 == 0 ? -1 : 1;
            ASSERT_EQ(scale(lp, direction), 0);
            for (const double factor : rowScale) ASSERT_TRUE(isPowerOfTwo(factor));
            for (const double factor : colScale) ASSERT_TRUE(isPowerOfTwo(factor));
            for (std::size_t j = 0; j < lp.lower.size(); ++j) {
                EXPECT_EQ(lp.lower[j] > -1e20, before.lower[j] > -1e20);
                EXPECT_EQ(lp.upper[j] < 1e20, before.upper[j] < 1e20);
            }
            if (direction == -1) {
                for (const double factor : colScale) EXPECT_EQ(factor, 1.0);
                EXPECT_EQ(rowScale.back(), 1.0);
            }
            if (!(lp == before)) ++numScaled;
            ASSERT_EQ(unscale(lp), 0);
            ASSERT_TRUE(lp == before) << decades << " decades, draw " << draw;
        }
    }
    EXPECT_GT(numScaled, 900);
    EXPECT_EQ(host.memory().liveBlocks, 2u);  // factory and instance
}

// A matrix that is badly scaled by its rows and columns only comes out nearly perfect.
TEST_F(Scaling, NarrowsTheSpread) {
    std::mt19937 random(9);
    std::uniform_real_distribution<double> exponent(-20, 20);
    Lp lp;
    lp.numRow = lp.numCol = 30;
    std::vector<double> r, c;
    for (int k = 0; k < 30; ++k) {
        r.push_back(std::exp2(exponent(random)));
        c.push_back(std::exp2(exponent(random)));
    }
    for (std::size_t j = 0; j < 30; ++j) {
        lp.begin.push_back(static_cast<int32_t>(lp.index.size()));
        for (std::size_t i = 0; i < 30; ++i) {
            if (i != j && random() % 3 != 0) continue;
            lp.index.push_back(static_cast<int32_t>(i));
            lp.value.push_back(r[i] * c[j]);
        }
        lp.length.push_back(static_cast<int32_t>(lp.index.size()) - lp.begin.back());
        lp.obj.push_back(1e6 * c[j]);
    }
    lp.begin.push_back(static_cast<int32_t>(lp.index.size()));
    lp.lower.assign(30, 0);
    lp.upper.assign(30, 1e20);
    lp.rhs.assign(30, 1);
    lp.range.assign(30, 0);
    lp.sense.assign(30, 'E');
    ASSERT_EQ(scale(lp, 1), 0);
    const auto [low, high] = std::minmax_element(lp.value.begin(), lp.value.end());
    // from some 1e24; a binary digit is lost to the rounding of each factor
    EXPECT_LT(*high / *low, 64);
    EXPECT_LT(*high, 16);
    EXPECT_GT(*low, 1.0 / 16);
    const auto [lowObj, highObj] = std::minmax_element(lp.obj.begin(), lp.obj.end());
    EXPECT_LT(*highObj / *lowObj, 64);
    EXPECT_NEAR(std::log2(*highObj * *lowObj), 0, 2);
}

TEST_F(Scaling, EveryRefusedAllocationLeavesTheModelAlone) {
    std::mt19937 random(11);
    Lp lp;
    while (lp.numRow < 3 || lp.numCol < 3) lp = randomLp(random, 5.0);
    const Lp before = lp;
    const std::uint64_t attempts = host.memory().allocations;
    ASSERT_EQ(scale(lp, 1), 0);
    const std::uint64_t count = host.memory().allocations - attempts;
    lp = before;
    for (std::uint64_t k = 1; k <= count; ++k) {
        host.failAllocation(k);
        EXPECT_EQ(scale(lp, 1), -1086);
        EXPECT_TRUE(lp == before);
        EXPECT_EQ(host.memory().liveBlocks, 2u);
    }
}

TEST(CpuTime, GrowsWithWorkAndNotWithSleep) {
    ov::Host host(ovtest::quietHost());
    ExtensionFactory* factory = host.load("ovperf");
    ASSERT_NE(factory, nullptr);
    auto* perf = static_cast<PerfObject*>(factory->createInstance());
    PerfSample start{}, end{};
    PerfInterval interval{};
    const auto seconds = [&] {
        EXPECT_EQ(perf->sample(perf, &end, 0, 0), 0);
        EXPECT_EQ(perf->difference(perf, &end.cpu, &start.cpu, &interval), 0);
        return static_cast<double>(interval.seconds) +
               1e-6 * static_cast<double>(interval.microseconds);
    };
    EXPECT_EQ(perf->sample(perf, &start, 0, 0), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_LT(seconds(), 0.09);
    const std::clock_t before = std::clock();
    while (std::clock() - before < CLOCKS_PER_SEC / 20) {
    }
    EXPECT_GE(seconds(), 0.049);

    const struct {
        PerfCpuPart later, earlier;
        std::uint64_t seconds, microseconds;
    } cases[] = {{{5, 100}, {3, 50}, 2, 50},
                 {{5, 100}, {3, 200}, 1, 999900},
                 {{5, 0}, {4, 999999}, 0, 1},
                 {{5, 7}, {5, 7}, 0, 0},
                 {{4, 7}, {5, 7}, 0, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(perf->difference(perf, &c.later, &c.earlier, &interval), 0);
        EXPECT_EQ(interval.seconds, c.seconds);
        EXPECT_EQ(interval.microseconds, c.microseconds);
    }
    perf->destroyPerf(perf, &start);
    factory->releaseFactory(factory);
}

}  // namespace
