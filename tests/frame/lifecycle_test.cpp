// The exported functions, the objects that they lead to, and the timer.

#include <cstring>
#include <ctime>

#include "frame/operations/instance.hpp"
#include "frame/solver_timer.hpp"
#include "frame_fixture.hpp"

namespace {

using ovtest::FrameTest;

const char* text(std::uint64_t word) {
    return reinterpret_cast<const char*>(word);
}

TEST(VersionRecord, HoldsItsTexts) {
    std::uint64_t record[OVRELIN_VERSION_WORDS];
    std::memset(record, 0xff, sizeof record);
    ovvercn1(record);
    const struct {
        int word;
        const char* expected;
    } fixed[] = {{2, ""},        {4, "ovormp"}, {5, "ovrelin"}, {6, "ovormp"}, {8, ""},
                 {9, "version"}, {10, "::"},    {11, ""},       {13, ""},      {15, "wx6no"}};
    for (const auto& entry : fixed) EXPECT_STREQ(text(record[entry.word]), entry.expected);

    // build time and build date tell the same day
    const auto built = static_cast<std::time_t>(record[3]);
    EXPECT_LT(built, std::time(nullptr) + 86400);
    char date[16];
    std::strftime(date, sizeof date, "%Y%m%d", std::gmtime(&built));
    const std::string release = text(record[0]);
    ASSERT_GT(release.size(), 8u);
    EXPECT_EQ(release.substr(release.size() - 8), date);
}

TEST_F(FrameTest, InstancesBeginWithTheDefaults) {
    ovrelin::destroyInstance(nullptr);
    EXPECT_EQ(instance->presolverExtension, nullptr);
    EXPECT_EQ(instance->sparseSolver, nullptr);
    EXPECT_EQ(instance->defaultOptions.iterationLimit, 2147483647);
    EXPECT_EQ(instance->defaultOptions.presolver, -1);
    EXPECT_EQ(instance->defaultOptions.timeLimit, OVRELIN_MAX_DOUBLE);
}

TEST_F(FrameTest, RefusedMemoryLeavesNoPoolBehind) {
    const std::uint64_t pools = host.memory().livePools;
    for (std::uint64_t k = 1; k <= 2; ++k) {  // the pool, then the object in it
        host.failAllocation(k);
        EXPECT_EQ(ovrelinEntry(nullptr, nullptr), nullptr);
        host.failAllocation(k);
        EXPECT_EQ(factory->createInstance(), nullptr);
        EXPECT_EQ(host.memory().livePools, pools);
    }
    host.failAllocation(0);
}

int releases = 0;
std::uint64_t closingAtRelease = 0;

TEST_F(FrameTest, DestroyTellsTheContextAroundItsRelease) {
    HostContext* context = host.currentContext();
    ASSERT_NE(context, nullptr);
    auto* other = static_cast<SolverInstance*>(factory->createInstance());
    const std::uint64_t pools = host.memory().livePools;
    const auto hostReleased = context->released;
    releases = 0;
    context->closing = 0;
    context->released = [](HostContext* released, std::int64_t a, std::int64_t b) {
        releases += a == 1 && b == 0;
        closingAtRelease = released->closing;
        return std::int32_t{0};
    };
    other->destroy(other);
    context->released = hostReleased;
    context->closing = 0;
    EXPECT_EQ(releases, 1);
    EXPECT_EQ(closingAtRelease, 1u);
    EXPECT_EQ(host.memory().livePools, pools - 1);
}

TEST_F(FrameTest, TimerExpiresByTheMeasureInForce) {
    for (const std::int32_t realTime : {0, 1}) {
        ovrelin::Status status = ovrelin::Status::ok;
        ovrelin::SolverTimer* timer = ovrelin::createSolverTimer(instance, instance->pool, &status);
        ASSERT_NE(timer, nullptr);
        timer->realTime = realTime;
        ovrelin::start(timer);
        EXPECT_FALSE(ovrelin::isExpired(timer));  // no limit yet
        ovrelin::setLimit(timer, 1e-9);
        const std::clock_t begin = std::clock();
        while (std::clock() - begin < CLOCKS_PER_SEC / 50) {
        }
        EXPECT_TRUE(ovrelin::isExpired(timer));
        const double seconds = ovrelin::elapsed(timer);
        EXPECT_GT(seconds, 0.01);
        EXPECT_LT(seconds, 20.0);
        timer->realTime = 1 - realTime;  // the other measure has no limit
        EXPECT_FALSE(ovrelin::isExpired(timer));
        ovrelin::destroySolverTimer(instance->pool, &timer);
        EXPECT_EQ(timer, nullptr);
        ovrelin::destroySolverTimer(instance->pool, &timer);
    }
}

}  // namespace
