#include "CGnssManager.h"

#include <memory>
#include <thread>

#include <gtest/gtest.h>

namespace {

const std::uint64_t kTimeBeforeAnyPosition = ids::CGnssManager::getInstance()->getGnssTime();

void updatePosition(std::uint64_t timestampUTC, bool isValid)
{
    using asi::navigation::gnss::Position;
    const auto position = std::make_shared<Position>(Position{.timestamp = 77, .timestampUTC = timestampUTC});
    ids::CGnssManager::getInstance()->updatePosition(position, isValid);
}

TEST(CGnssManager, OnlyValidPositionsMoveTheTimeEvenBackWhileOthersReadIt)
{
    EXPECT_EQ(kTimeBeforeAnyPosition, 0U);
    ids::CGnssManager& manager = *ids::CGnssManager::getInstance();
    updatePosition(1'800'000'000'000, true);
    std::thread gnss{[] { updatePosition(1'700'000'000'000, true); }};
    const std::uint64_t time = manager.getGnssTime();
    EXPECT_TRUE(time == 1'800'000'000'000 || time == 1'700'000'000'000) << time;
    gnss.join();
    updatePosition(1'900'000'000'000, false);
    manager.updatePosition(nullptr, true);
    EXPECT_EQ(manager.getGnssTime(), 1'700'000'000'000);
}

} // namespace
