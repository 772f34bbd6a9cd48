#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

#include "Eventually.h"
#include "ipl/ErrorStorage.h"
#include "util/TimerGroup.h"

namespace {

using namespace std::chrono_literals;

struct TimerGroupTest : testing::Test, util::TimerCallbackBase
{
    void onTimerExpired(std::uint64_t id) override
    {
        const std::lock_guard lock{mutex};
        expired.push_back(id);
    }
    std::uint64_t add(std::chrono::milliseconds interval, bool started = true)
    {
        return group.addTimer(interval, false, *this, started);
    }

    std::mutex mutex;
    std::vector<std::uint64_t> expired;
    util::TimerGroup group{1, 6};
};

TEST_F(TimerGroupTest, TimersExpireInTheOrderOfTheirTimesUnlessTheyAreStopped)
{
    const auto begin = std::chrono::steady_clock::now();
    add(std::chrono::milliseconds::max()); // does not overflow
    add(150ms);
    add(50ms);
    add(100ms, false);
    add(50ms);
    add(100ms);
    group.startTimer(4);
    group.startTimer(3); // again, which moves it
    group.removeTimer(6);
    group.startTimer(6);
    EXPECT_TRUE(test_support::eventually([&] {
        const std::lock_guard lock{mutex};
        return expired == std::vector<std::uint64_t>{5, 3, 4, 2};
    }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);
}

TEST_F(TimerGroupTest, IdsComeBackInTurnAndRunOut)
{
    for (std::uint64_t id = 1; id <= 6; ++id) {
        EXPECT_EQ(add(1h), id);
    }
    EXPECT_EQ(add(1h), util::TimerGroup::kNoTimer);
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "all 6 timer ids are in use");
    ipl::ErrorStorage::ack();
    group.removeTimer(1);
    group.removeTimer(2);
    EXPECT_EQ(add(1h), 1U);
    group.removeTimer(1);
    EXPECT_EQ(add(1h), 2U); // 1 was given out last
}

} // namespace
