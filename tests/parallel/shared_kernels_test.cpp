// Two threads that run the kernels of the factorisation with nothing in common. A BLAS built for
// one thread hands both the same packing buffer now and then, about once in a thousand calls; the
// kernels must ask it for nothing that takes one.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "sparse/dense.hpp"
#include "sparse/kernel/pivot_block.hpp"

namespace {

using namespace ovtest;

/// How many of the results of two threads differ from that of one alone.
template <class Work>
int countWrong(int repeats, Work work) {
    const Dense expected = work();
    std::atomic<int> wrong = 0;
    const auto member = [&] {
        for (int i = 0; i < repeats; ++i) {
            const Dense result = work();
            bool same = true;
            for (std::int32_t c = 0; c < result.cols; ++c)
                for (std::int32_t r = c; r < result.rows; ++r)
                    same = same && result.at(r, c) == expected.at(r, c);
            wrong += same ? 0 : 1;
        }
    };
    std::thread other(member);
    member();
    other.join();
    return wrong;
}

TEST(SharedKernels, TwoThreadsGetTheResultsOfOne) {
    std::mt19937 random(3);
    const Dense a = Dense(104, 100).fill(random), b = Dense(100, 100).fill(random);
    const Dense c = Dense(104, 100).fill(random);
    EXPECT_EQ(countWrong(8000,
                         [&] {
                             Dense out = c;
                             ovrelin::subtractProduct(104, 100, 100, a.constant(), b.constant(),
                                                      out.block());
                             return out;
                         }),
              0);
    const Dense front = Dense(700, 96).fill(random, true);
    EXPECT_EQ(countWrong(100,
                         [&] {
                             Dense out = front, scaled(700, 96);
                             Indices pivot(96);
                             std::int32_t numPerturbed = 0;
                             EXPECT_TRUE(ovrelin::factorPivotBlock(
                                 700, 96, out.block(), scaled.block(), {1e-10, 0.64, 96}, nullptr,
                                 pivot.data(), &numPerturbed));
                             return out;
                         }),
              0);
}

}  // namespace
