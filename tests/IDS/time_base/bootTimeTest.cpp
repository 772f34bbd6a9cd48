#include "bootTime.h"

#include <ctime>

#include <gtest/gtest.h>

TEST(BootTime, CountsMillisecondsOfTheBootClock)
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const auto before = static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
    EXPECT_LT(ids::millisecondsSinceBoot() - before, 10'000U) << "10 s for a busy machine";
}
