#include "bootTime.h"

#include <ctime>

#include <gtest/gtest.h>

namespace {

std::uint64_t bootMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000 + static_cast<std::uint64_t>(now.tv_nsec) / 1'000'000;
}

TEST(BootTime, CountsMillisecondsOfTheBootClock)
{
    const std::uint64_t before = bootMilliseconds();
    const std::uint32_t between = ids::millisecondsSinceBoot();
    const std::uint64_t after = bootMilliseconds();

    EXPECT_LE(static_cast<std::uint32_t>(between - before), static_cast<std::uint32_t>(after - before));
}

} // namespace
