#include "CWlan.h"

#include <gtest/gtest.h>

#include "CWlanAsiClient.h"
#include "CapturedLog.h"
#include "Eventually.h"
#include "ManualTimers.h"
#include "NetworkNamespace.h"
#include "RecordingIdsm.h"
#include "TestActiveObject.h"
#include "TestBus.h"

namespace {

using namespace asi::connectivity::networking;
using namespace std::chrono_literals;
using namespace test_support;
using tracing::Level;

constexpr auto kChannel = "CON_IDS_SENSOR_HOST";

/// Tells all that a sensor may meet as soon as it is asked to.
struct WlanStation final : WlanServiceS
{
    ~WlanStation() override { unregisterInstance(); }
    void clientConnected(const Reply& client) override { reply = client; }
    void startNotifications() override
    {
        const auto mac =
            std::make_shared<std::vector<std::uint8_t>>(std::initializer_list<std::uint8_t>{1, 2, 3, 4, 5, 6});
        const auto ssid = std::make_shared<std::string>("Home");
        reply.call<&WlanServiceReply::updateWLANDevice>(nullptr);
        reply.call<&WlanServiceReply::updateWlanConnectionFailureHotspot>(
            std::make_shared<WlanConnectionFailureHotspot>(WlanConnectionFailureHotspot{mac, 3, 1, mac, ssid}));
        reply.call<&WlanServiceReply::updateWlanConnectionFailureHotspot>(nullptr);
        reply.call<&WlanServiceReply::updateWlanConnectionFailureClient>(
            std::make_shared<WlanConnectionFailureClient>(WlanConnectionFailureClient{ssid, mac, 1, mac}));
        reply.call<&WlanServiceReply::updateWlanConnectionFailureClient>(nullptr);
        reply.call<&WlanServiceReply::updateWlanConnectionSuccessClient>(nullptr);
    }
    void requestTrafficCounters() override { reply.call<&WlanServiceReply::responseTrafficCounters>(nullptr); }
    using Service::registerInstance;
    Reply reply;
};

class CWlanTest : public ::testing::Test
{
protected:
    CWlanTest()
    {
        daemon.run([this] {
            client = std::make_unique<ids::CWlanAsiClient>(daemon.factory());
            sensor = std::make_unique<ids::CWlan>(daemon.factory(), *client, idsm, timers);
            client->addListener(sensor.get());
        });
    }
    ~CWlanTest() override
    {
        daemon.run([this] {
            sensor.reset();
            client.reset();
        });
    }
    void pass(std::chrono::milliseconds time)
    {
        daemon.run([&] { timers.advance(time); });
    }

    const CapturedLog log;
    const NetworkNamespace network;
    const TestBus bus;
    RecordingIdsm idsm;
    ManualTimers timers;
    const TestActiveObject daemon;
    std::unique_ptr<ids::CWlanAsiClient> client;
    std::unique_ptr<ids::CWlan> sensor;
};

TEST_F(CWlanTest, FailedConnectionsAreReportedAndTheCountersAskedForAfterEachAnswer)
{
    const TestActiveObject networking;
    WlanStation station;
    ASSERT_FALSE(station.registerInstance(1, networking.factory()));
    daemon.run([&] { client->start(); });
    ASSERT_TRUE(log.waitFor("ids::CWlan::updateWlanConnectionSuccess"));
    EXPECT_EQ(log.count("CON_IDS_ASI", Level::progress, "): ASI CWlanAsiClient is alive."), 1U);
    EXPECT_EQ(log.count(kChannel, Level::progress, "): device is invalid"), 1U);
    EXPECT_EQ(log.count(kChannel, Level::progress, "): data is valid"), 2U);
    daemon.run([&] {
        ASSERT_EQ(idsm.eventIds(), (std::vector<std::uint16_t>{0xE901, 0xE901}));
        for (const std::size_t event : {0U, 1U}) {
            EXPECT_EQ(idsm.field(event, "connectionType").integer(), 0U);
            EXPECT_EQ(idsm.field(event, "failureCode").integer(), event == 0 ? 3U : 1U);
            EXPECT_EQ(idsm.field(event, "name").text(), event == 0 ? "" : "Home");
            const std::vector<std::uint8_t> mac{1, 2, 3, 4, 5, 6};
            const auto bytes = idsm.field(event, "hardwareAddress").bytes();
            EXPECT_EQ(std::vector(bytes.begin(), bytes.end()), event == 0 ? mac : std::vector<std::uint8_t>(6));
        }
    });

    for (const std::size_t poll : {1U, 2U}) {
        pass(64s);
        EXPECT_TRUE(eventually([&] { return log.count(kChannel, Level::progress, "): data is <Invalid>") == poll; }));
        EXPECT_EQ(log.count(kChannel, Level::progress, "): Traffic counters requested."), poll);
    }
    EXPECT_EQ(log.count("CON_IDS_COMMON", Level::warning, "Timer is already running"), 0U);
}

TEST_F(CWlanTest, WithoutTheServicePollingEndsAndAddressesAreStillFollowed)
{
    pass(64s);
    pass(64s);
    EXPECT_EQ(log.count("CON_IDS_ASI", Level::error, "): Proxy not alive!"), 1U);
    EXPECT_EQ(log.count(kChannel, Level::error, "): Can't request traffic counters!"), 1U);

    ASSERT_TRUE(network.entered()) << network.why();
    EXPECT_TRUE(log.waitFor("): Event: 6"));
    ASSERT_TRUE(network.run("ip addr add 2001:db8::4/128 dev lo nodad"));
    EXPECT_TRUE(log.waitFor("): Addr: 2001:db8::4"));
    EXPECT_GT(log.count(kChannel, Level::progress, "): Name: lo"), 1U);
    daemon.run([&] { EXPECT_TRUE(idsm.events().empty()); });
}

} // namespace
