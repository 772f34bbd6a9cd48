#include "CFirewall.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "CapturedLog.h"
#include "FirewallFakes.h"
#include "ManualTimers.h"
#include "NetworkNamespace.h"
#include "TestActiveObject.h"

using namespace std::chrono_literals;
using namespace ids;
using test_support::CapturedLog;
using test_support::sendUdp;
using tracing::Level;

namespace {

constexpr auto kChannel = "CON_IDS_SENSOR_ETH";

constexpr std::uint16_t kDropInvPortUdp = 0x000C;

/// The sensor against the kernel's packet filter, in a network of its own. UDP port 5000 + n is dropped and logged to
/// group n.
class FirewallAndKernelTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!network.entered()) {
            GTEST_SKIP() << network.why();
        }
        ASSERT_TRUE(network.run("nft add table ip6 t && "
                                "nft add chain ip6 t in '{ type filter hook input priority 0; }' && "
                                "for group in 9 12 29 30 32; do "
                                "nft add rule ip6 t in udp dport $((5000 + group)) log group $group drop; done"));
        ao.run([this] { firewall = std::make_unique<CFirewall>(ao.factory(), information, idsm, timers); });
    }
    void TearDown() override
    {
        ao.run([this] { firewall.reset(); });
    }

    void startListening()
    {
        ao.run([this] { firewall->start(); });
        const auto before = idsm.ids().size();
        for (int attempt = 0; idsm.ids().size() == before; ++attempt) {
            ASSERT_LT(attempt, 50) << "no drop arrives";
            sendUdp(5032, 1);
            std::this_thread::sleep_for(100ms);
        }
        std::this_thread::sleep_for(1200ms); // what is left of this leaves the kernel within a second
        ao.drain();
    }
    bool waitFor(const std::function<bool()>& condition)
    {
        for (int attempt = 0; attempt < 500 && !condition(); ++attempt) {
            std::this_thread::sleep_for(10ms);
        }
        return condition();
    }
    std::size_t countOf(std::uint16_t id) const
    {
        const auto ids = idsm.ids();
        return static_cast<std::size_t>(std::count(ids.begin(), ids.end(), id));
    }

    CapturedLog log;
    test_support::NetworkNamespace network;
    test_support::TestActiveObject ao;
    test_support::ManualTimers timers;
    RecordingInformation information;
    RecordingIdsm idsm;
    std::unique_ptr<CFirewall> firewall;
};

TEST_F(FirewallAndKernelTest, DropsOfTheBoundGroupsAreReportedOnceEach)
{
    startListening();
    const auto before = idsm.ids().size();
    for (const auto port : std::array<std::uint16_t, 4>{5029, 5030, 5009, 5012}) {
        sendUdp(port, 1);
    }
    ASSERT_TRUE(waitFor([&] { return idsm.ids().size() == before + 4; }));
    for (const auto id : std::array<std::uint16_t, 4>{0x000B, 0x000C, 0x9712, 0x9701}) {
        EXPECT_EQ(countOf(id), 1U) << id;
    }
    const auto events = idsm.events();
    const auto event =
        *std::find_if(events.begin(), events.end(), [](const auto& each) { return each->eventId == kDropInvPortUdp; });
    const std::array<std::uint8_t, 2> port{5030 >> 8, 5030 & 0xFF};
    EXPECT_NE(std::search(event->contextData.begin(), event->contextData.end(), port.begin(), port.end()),
              event->contextData.end());
}

TEST_F(FirewallAndKernelTest, NoPacketOfABurstIsLost)
{
    startListening();
    sendUdp(5030, 50000);
    EXPECT_TRUE(waitFor([&] { return countOf(kDropInvPortUdp) >= 50000; }));
    EXPECT_EQ(countOf(kDropInvPortUdp), 50000U);
    EXPECT_EQ(log.count(kChannel, Level::warning, "receive buffer overrun"), 0U);
}

TEST_F(FirewallAndKernelTest, OverrunIsReportedAndSurvived)
{
    startListening();
    const std::size_t flood = 40000; // of large packets: far more than the kernel's buffer and 64 batches hold
    ao.run([&] { sendUdp(5030, flood, 1400); });
    ASSERT_TRUE(log.waitFor("Dropped packets went unseen: receive buffer overrun (1 times)."));
    std::size_t last = 0;
    ASSERT_TRUE(waitFor([&] {
        std::this_thread::sleep_for(200ms);
        return std::exchange(last, countOf(kDropInvPortUdp)) == countOf(kDropInvPortUdp);
    }));
    EXPECT_GT(last, 0U);
    EXPECT_LT(last, flood);
    sendUdp(5029, 1);
    EXPECT_TRUE(waitFor([&] { return countOf(0x000B) == 1; }));
}

TEST_F(FirewallAndKernelTest, PacketTooLargeForTheBufferIsMissedInTheLogOnly)
{
    startListening();
    sendUdp(5030, 1, 20000);
    EXPECT_TRUE(log.waitFor("Dropped packets went unseen: datagram cut or malformed (1 times)."));
    sendUdp(5029, 1);
    EXPECT_TRUE(waitFor([&] { return countOf(0x000B) == 1; }));
    EXPECT_EQ(countOf(kDropInvPortUdp), 0U);
}

TEST_F(FirewallAndKernelTest, GroupsHeldByAnotherLeadToTheEndOfTheReading)
{
    startListening();
    std::unique_ptr<CFirewall> second;
    ao.run([&] {
        second = std::make_unique<CFirewall>(ao.factory(), information, idsm, timers);
        second->start();
    });
    EXPECT_TRUE(log.waitFor("Unbind IP address family."));
    EXPECT_EQ(log.count(kChannel, Level::error, "NACK received!"), 4U);
    ao.run([&] { second.reset(); });
    sendUdp(5030, 1);
    EXPECT_TRUE(waitFor([&] { return countOf(kDropInvPortUdp) == 1; })) << "the first one goes on";
}

TEST_F(FirewallAndKernelTest, DestructionIsPromptInEveryState)
{
    const auto destructionTime = [this] {
        const auto start = std::chrono::steady_clock::now();
        firewall.reset();
        return std::chrono::steady_clock::now() - start;
    };
    const auto make = [this] { firewall = std::make_unique<CFirewall>(ao.factory(), information, idsm, timers); };
    ao.run([&] {
        firewall->start();
        EXPECT_LT(destructionTime(), 200ms) << "just started";
        make();
    });
    startListening();
    ao.run([&] {
        sendUdp(5030, 20000);
        EXPECT_LT(destructionTime(), 200ms) << "the active object lags";
        make();
    });
    startListening();
    ao.run([&] { EXPECT_LT(destructionTime(), 200ms) << "waiting"; });
}

} // namespace
