#include "CFirewall.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <thread>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "Eventually.h"
#include "FailingAllocation.h"
#include "FewDescriptors.h"
#include "ManualTimers.h"
#include "NetworkNamespace.h"
#include "TestActiveObject.h"
#include "ids/SEvent.h"

using namespace std::chrono_literals;
using namespace ids;
using namespace test_support;

namespace {

constexpr std::uint16_t kInvalidPortUdp = 0x000C;

using Ids = std::vector<std::uint16_t>;

/// What the sensor reports and publishes, the latter as pairs of drop type and packet count. Used on the active object,
/// or while it rests.
struct Reports final : IIdsm, IIdsInformationAsiService
{
    using Info = std::shared_ptr<asi::connectivity::ids::FirewallDropPacketInfo>;

    bool reportEvent(const std::shared_ptr<SEvent>& event) override
    {
        ids.push_back(event->eventId);
        const auto& context = event->contextData;
        packetCount = context.at(8) * 256 + context.at(9);
        return true;
    }
    void updateFirewallDropPacketInfo(const Info& info) override
    {
        updates.emplace_back(info->dropType, info->packetCount);
    }

    Ids ids;
    int packetCount = -1; ///< of the latest event, if that is the statistics
    std::vector<std::pair<std::uint32_t, std::uint32_t>> updates;
};

DroppedPackets packetsOf(const std::vector<std::uint16_t>& groups)
{
    DroppedPackets packets;
    for (const auto group : groups) {
        packets.push_back(std::make_unique<SFirewallStatistics>());
        packets.back()->nflogGroup = group;
    }
    return packets;
}

/// The sensor in a network of its own, where no packet is logged.
class CFirewallTest : public ::testing::Test
{
protected:
    CFirewallTest() { make(); }
    ~CFirewallTest() override
    {
        ao.run([this] { firewall.reset(); });
    }
    void make() { firewall = std::make_unique<CFirewall>(ao.factory(), reports, reports, timers); }

    CapturedLog log;
    NetworkNamespace network;
    TestActiveObject ao;
    ManualTimers timers;
    Reports reports;
    std::unique_ptr<CFirewall> firewall;
};

TEST_F(CFirewallTest, EachGroupHasItsEventsAndItsDropTypeAndEveryOtherIsInvalid)
{
    std::vector<std::uint16_t> groups(65537, 29);
    std::iota(groups.begin(), groups.end() - 1, std::uint16_t{0});
    ao.run([&] { firewall->onDroppedPackets(packetsOf(groups)); });
    EXPECT_EQ(reports.ids, (Ids{0x9712, 0x9701, 0x9704, 0x9709, 0x000B, 0x000C, 0x000E, 0x000B}));
    EXPECT_EQ(reports.updates, (decltype(reports.updates){{1, 1}, {2, 1}, {3, 1}, {0, 1}, {2, 1}}));
}

TEST_F(CFirewallTest, StatisticsGoOutEveryTenSecondsWithTheLowBitsOfTheCount)
{
    ao.run([this] {
        firewall->start();
        timers.advance(5s);
        firewall->start(); // does not move the period
        timers.advance(4999ms);
        firewall->onDroppedPackets(packetsOf(std::vector<std::uint16_t>(70000, 5)));
        EXPECT_TRUE(reports.ids.empty());
        timers.advance(1ms);
        EXPECT_EQ(reports.packetCount, 4464);
        timers.advance(10s);
        EXPECT_EQ(reports.packetCount, 0);
        EXPECT_EQ(reports.ids, (Ids{0x9711, 0x9711}));
    });
}

#if !defined(__SANITIZE_ADDRESS__) // UBSan needs descriptors to check objects
TEST_F(CFirewallTest, StartThatFailsIsTriedAgainWithoutMovingThePeriod)
{
    ao.run([this] {
        {
            const FewDescriptors none{0};
            make();
            firewall->start();
        }
        tracing::setThresholds("*=5"); // the recorder needs memory as well
        timers.advance(5s);
        {
            const FailingAllocation noEntry{FailingAllocation::Kind::throwing}; // for the descriptor that wakes
            firewall->start();
        }
        tracing::setThresholds("*=0");
        timers.advance(5s);
        EXPECT_EQ(reports.ids, (Ids{0x9711}));
        EXPECT_EQ(log.count("CON_IDS_SENSOR_ETH", tracing::Level::progress, "Socket is open"), 0U);
        firewall->start();
    });
    EXPECT_TRUE(log.waitFor("Socket is open"));
}
#endif

TEST_F(CFirewallTest, WhateverLacksMemoryIsSkippedAndTheRestGoesOn)
{
    reports.ids.reserve(100);
    reports.updates.reserve(100);
    for (unsigned after = 0; after < 13; ++after) { // three events take four allocations each, the information one
        ao.run([&] {
            auto packets = packetsOf({9, 29});
            const FailingAllocation failing{FailingAllocation::Kind::throwing, 1, after};
            firewall->onDroppedPackets(std::move(packets));
        });
        EXPECT_EQ(reports.ids.size() + reports.updates.size(), 3 * (after + 1)) << after;
    }
}

TEST(CLossReportTest, FirstLossIsToldAtOnceAndTheRestOncePerInterval)
{
    const CapturedLog log;
    CLossReport report{"storm"};
    for (int second = 0; second <= 10; ++second) {
        report.count(CLossReport::Clock::time_point{std::chrono::seconds{second}});
    }
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_TRUE(log.waitFor("Dropped packets went unseen: storm (10 times)."));
}

/// The sensor against the kernel's packet filter. UDP port 5000 + n is dropped and logged to group n.
class FirewallAndKernelTest : public CFirewallTest
{
protected:
    void SetUp() override
    {
        if (!network.entered()) {
            GTEST_SKIP() << network.why();
        }
        ASSERT_TRUE(network.run(
            "nft add table ip6 t && nft add chain ip6 t in '{ type filter hook input priority 0; }' && "
            "for group in 29 30; do nft add rule ip6 t in udp dport $((5000 + group)) log group $group drop; done"));
        ao.run([this] { firewall->start(); });
        arrivesAfterSending(5030, kInvalidPortUdp);
        std::this_thread::sleep_for(1200ms); // what is left of this leaves the kernel within a second
        ao.run([this] { reports.ids.clear(); });
    }
    void arrivesAfterSending(std::uint16_t port, std::uint16_t id)
    {
        EXPECT_TRUE(eventually([&] {
            sendUdp(port, 1);
            std::this_thread::sleep_for(100ms);
            return countOf(id) > 0;
        }));
    }
    std::size_t countOf(std::uint16_t id) const
    {
        std::ptrdiff_t count = 0;
        ao.run([&] { count = std::count(reports.ids.begin(), reports.ids.end(), id); });
        return static_cast<std::size_t>(count);
    }
};

TEST_F(FirewallAndKernelTest, APacketTooLargeIsMissedAndNoneOfABurstIsLost)
{
    sendUdp(5030, 1, 20000);
    EXPECT_TRUE(log.waitFor("Dropped packets went unseen: datagram cut or malformed (1 times)."));
    sendUdp(5030, 50000);
    EXPECT_TRUE(eventually([&] { return countOf(kInvalidPortUdp) == 50000; }));
}

TEST_F(FirewallAndKernelTest, OverrunIsReportedAndSurvived)
{
    const std::size_t flood = 40000; // of large packets: far more than the kernel's buffer and 64 batches hold
    ao.run([&] { sendUdp(5030, flood, 1400); });
    ASSERT_TRUE(log.waitFor("Dropped packets went unseen: receive buffer overrun (1 times)."));
    arrivesAfterSending(5029, 0x000B);
    EXPECT_LT(countOf(kInvalidPortUdp), flood);
}

TEST_F(FirewallAndKernelTest, DestructionIsPromptUnderLoadAndJustAfterTheStart)
{
    ao.run([this] {
        sendUdp(5030, 20000); // more than a lagging active object takes
        for (const auto* const state : {"under load", "just started"}) {
            const auto start = std::chrono::steady_clock::now();
            firewall.reset();
            EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms) << state;
            make();
            firewall->start();
        }
    });
}

} // namespace
