#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "CommonHelpers.h"
#include "ManualTimers.h"

namespace {

using ids::common_helpers::CommonHelpers;
using tracing::Level;

TEST(CommonHelpersTest, OnlyATimerThatIsThereAndAtRestIsStarted)
{
    const test_support::CapturedLog log;
    test_support::ManualTimers timers;
    int expiries = 0;
    CommonHelpers::startTimer(nullptr);
    EXPECT_EQ(log.count("CON_IDS_COMMON", Level::error, "Invalid timer pointer."), 1U);

    const auto timer = timers.createTimer(std::chrono::milliseconds{10}, [&](void*) { ++expiries; });
    CommonHelpers::startTimer(timer);
    CommonHelpers::startTimer(timer);
    EXPECT_EQ(log.count("CON_IDS_COMMON", Level::warning, "Timer is already running."), 1U);
    timers.advance(std::chrono::seconds{1});
    EXPECT_EQ(expiries, 1);
}

} // namespace
