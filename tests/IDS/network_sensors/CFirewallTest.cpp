#include "CFirewall.h"

#include <chrono>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "FailingAllocation.h"
#include "FirewallFakes.h"
#include "ManualTimers.h"
#include "NfLogGroup.h"
#include "TestActiveObject.h"

using namespace std::chrono_literals;
using namespace ids;
using test_support::CapturedLog;
using tracing::Level;

namespace {

constexpr auto kChannel = "CON_IDS_SENSOR_ETH";

constexpr std::uint16_t kStatistics = 0x9711;

DroppedPackets packetsOf(const std::vector<std::uint16_t>& groups)
{
    DroppedPackets packets;
    for (const auto group : groups) {
        packets.push_back(std::make_unique<SFirewallStatistics>());
        packets.back()->nflogGroup = group;
        packets.back()->groupNumber = group;
        packets.back()->groupTag = groupTag(group);
    }
    return packets;
}

/// The sensor on its active object. Its netlink task, once started, finds no rules and brings only empty batches.
class CFirewallTest : public ::testing::Test
{
protected:
    using Ids = std::vector<std::uint16_t>;
    using Updates = std::vector<RecordingInformation::Update>;

    void SetUp() override
    {
        ao.run([this] { firewall = std::make_unique<CFirewall>(ao.factory(), information, idsm, timers); });
    }
    void TearDown() override
    {
        ao.run([this] { firewall.reset(); });
    }

    void start()
    {
        ao.run([this] { firewall->start(); });
    }
    void drop(const std::vector<std::uint16_t>& groups)
    {
        ao.run([&] { firewall->onDroppedPackets(packetsOf(groups)); });
    }
    /// With the memory for one object missing, after so many that are there.
    void dropWithoutMemory(const std::vector<std::uint16_t>& groups, unsigned after)
    {
        ao.run([&] {
            auto packets = packetsOf(groups);
            const test_support::FailingAllocation failing{test_support::FailingAllocation::Kind::throwing, 1, after};
            firewall->onDroppedPackets(std::move(packets));
        });
    }
    void advance(std::chrono::milliseconds time)
    {
        ao.run([&] { timers.advance(time); });
    }

    CapturedLog log;
    test_support::TestActiveObject ao;
    test_support::ManualTimers timers;
    RecordingInformation information;
    RecordingIdsm idsm;
    std::unique_ptr<CFirewall> firewall;
};

TEST_F(CFirewallTest, EachGroupHasItsEventsAndItsDropType)
{
    drop({9, 12, 17, 29, 30, 32});
    EXPECT_EQ(idsm.ids(), (Ids{0x9712, 0x9701, 0x9704, 0x9709, 0x000B, 0x000C, 0x000E}));
    EXPECT_EQ(information.updates, (Updates{{1, 1}, {2, 1}, {3, 1}, {0, 1}}));
}

TEST_F(CFirewallTest, BatchIsReportedInItsOrder)
{
    drop({29, 9, 29});
    EXPECT_EQ(idsm.ids(), (Ids{0x000B, 0x9712, 0x9701, 0x000B}));
    EXPECT_EQ(information.updates, (Updates{{2, 1}, {2, 1}}));
}

TEST_F(CFirewallTest, EveryOtherGroupIsReportedAsInvalidAndCounted)
{
    std::vector<std::uint16_t> groups;
    for (std::uint32_t group = 0; group <= 0xFFFF; ++group) {
        groups.push_back(static_cast<std::uint16_t>(group));
    }
    drop(groups);
    EXPECT_EQ(idsm.ids().size(), 7U);
    EXPECT_EQ(information.updates.size(), 4U);
    EXPECT_EQ(log.count(kChannel, Level::error, "Invalid value for ENfLogGroup!"), 65530U);

    start();
    advance(10s);
    EXPECT_EQ(log.count(kChannel, Level::progress, "Timer expired. Drop packet count: 65536"), 1U);
}

TEST_F(CFirewallTest, StatisticsGoOutEveryTenSecondsWithTheLowBitsOfTheCount)
{
    start();
    advance(9999ms);
    EXPECT_TRUE(idsm.ids().empty());
    drop(std::vector<std::uint16_t>(70000, 5));
    advance(1ms);
    advance(10s);
    EXPECT_EQ(idsm.ids(), (Ids{kStatistics, kStatistics}));
    const auto countIn = [](const std::shared_ptr<SEvent>& event) {
        return event->contextData.at(8) * 256 + event->contextData.at(9);
    };
    EXPECT_EQ(countIn(idsm.events()[0]), 4464);
    EXPECT_EQ(countIn(idsm.events()[1]), 0);
    EXPECT_EQ(log.count(kChannel, Level::progress, "Drop packet count: 70000"), 1U);
    EXPECT_EQ(log.count(kChannel, Level::progress, "Drop packet count: 0"), 1U);
}

TEST_F(CFirewallTest, SecondStartDoesNotMoveThePeriod)
{
    start();
    advance(5s);
    start();
    advance(5s);
    EXPECT_EQ(idsm.ids(), Ids{kStatistics});
    EXPECT_EQ(log.count(kChannel, Level::progress, "Start Firewall NFLOG."), 1U);
}

TEST_F(CFirewallTest, EventWithoutMemoryIsSkippedAndTheRestGoesOn)
{
    dropWithoutMemory({9, 29}, 0);
    EXPECT_EQ(idsm.ids(), (Ids{0x9701, 0x000B}));
}

TEST_F(CFirewallTest, DropInformationWithoutMemoryIsNotSent)
{
    // The event takes four allocations; the fake's list of events has its room already.
    drop({17, 17, 17});
    dropWithoutMemory({29, 29}, 4);
    EXPECT_EQ(idsm.ids().size(), 5U);
    EXPECT_EQ(information.updates.size(), 1U);
}

TEST_F(CFirewallTest, WithoutATimerDropsAreReportedAllTheSame)
{
    ao.run([this] {
        timers.refuse();
        firewall = std::make_unique<CFirewall>(ao.factory(), information, idsm, timers);
    });
    start();
    drop({29});
    EXPECT_EQ(idsm.ids().size(), 1U);
}

TEST(CLossReportTest, FirstLossIsToldAtOnceAndTheRestOncePerInterval)
{
    CapturedLog log;
    CLossReport report{"storm"};
    const CLossReport::Clock::time_point start{};
    report.count(start);
    EXPECT_EQ(log.count(kChannel, Level::warning, "Dropped packets went unseen: storm (1 times)."), 1U);
    for (int second = 1; second < 10; ++second) {
        report.count(start + std::chrono::seconds{second});
    }
    EXPECT_TRUE(report.waiting());
    report.report(start + 9999ms);
    EXPECT_EQ(log.lines().size(), 1U);
    report.report(start + 10s);
    EXPECT_EQ(log.count(kChannel, Level::warning, "(9 times)"), 1U);
    EXPECT_FALSE(report.waiting());
    report.report(start + 30s);
    EXPECT_EQ(log.lines().size(), 2U);
}

} // namespace
