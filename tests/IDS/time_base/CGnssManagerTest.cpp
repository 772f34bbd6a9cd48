#include "CGnssManager.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using asi::navigation::gnss::Position;
using ids::CGnssManager;

std::shared_ptr<Position> positionAt(std::uint64_t timestampUTC)
{
    return std::make_shared<Position>(Position{.timestamp = 77, .timestampUTC = timestampUTC});
}

TEST(CGnssManager, TimeIsZeroBeforeTheFirstValidPosition)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the child is a new process, whose time base no test has touched
    EXPECT_EXIT(
        {
            CGnssManager::getInstance()->updatePosition(positionAt(1'700'000'000'000), false);
            std::_Exit(CGnssManager::getInstance()->getGnssTime() == 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(CGnssManager, OnlyValidPositionsMoveTheTime)
{
    CGnssManager& manager = *CGnssManager::getInstance();

    manager.updatePosition(positionAt(1'700'000'000'000), true);
    EXPECT_EQ(manager.getGnssTime(), 1'700'000'000'000);

    manager.updatePosition(positionAt(1'800'000'000'000), false);
    manager.updatePosition(nullptr, true);
    EXPECT_EQ(manager.getGnssTime(), 1'700'000'000'000);

    manager.updatePosition(positionAt(1'600'000'000'000), true);
    EXPECT_EQ(manager.getGnssTime(), 1'600'000'000'000) << "time may go back";
}

TEST(CGnssManager, ThreadsShareOneInstanceAndNeverReadATornTime)
{
    constexpr std::uint64_t kLow = 0x0000'0000'FFFF'FFFF;
    constexpr std::uint64_t kHigh = 0xFFFF'FFFF'0000'0000;
    CGnssManager::getInstance()->updatePosition(positionAt(kLow), true);
    std::vector<CGnssManager*> seen(4);
    std::atomic<bool> torn{false};
    std::vector<std::thread> readers;
    for (CGnssManager*& instance : seen) {
        readers.emplace_back([&instance, &torn] {
            instance = CGnssManager::getInstance().get();
            for (int i = 0; i < 20'000; ++i) {
                const std::uint64_t time = instance->getGnssTime();
                if (time != kLow && time != kHigh) {
                    torn = true;
                }
            }
        });
    }
    const auto low = positionAt(kLow);
    const auto high = positionAt(kHigh);
    for (int i = 0; i < 20'000; ++i) {
        CGnssManager::getInstance()->updatePosition(i % 2 == 0 ? high : low, true);
    }
    for (std::thread& reader : readers) {
        reader.join();
    }

    EXPECT_EQ(std::set<CGnssManager*>(seen.begin(), seen.end()), std::set{CGnssManager::getInstance().get()});
    EXPECT_FALSE(torn);
}

} // namespace
