#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <map>
#include <optional>

#include "CapturedLog.h"
#include "ChildProcess.h"
#include "Eventually.h"
#include "NetworkNamespace.h"
#include "TestBus.h"
#include "TestCore.h"
#include "event_decoder.h"

namespace {

using namespace test_support;

struct Rule
{
    const char* match;
    unsigned group;
};

constexpr Rule kRules[] = {
    {"udp dport 5030", 30}, {"tcp dport 5029", 29}, {"udp dport 5009", 9}, {"udp dport 5032", 32}};

std::optional<std::uint64_t> integer(const TestCore::Event& event, const std::string& name)
{
    const auto decoded = ids::event_decoder::decodeContext(event.id, event.context);
    for (const auto& field : decoded.fields) {
        if (name == field.layout().name) {
            return field.integer();
        }
    }
    return std::nullopt;
}

/// Daemon and packet filter in a network of their own, a core outside of it.
TEST(FirstLightTest, PacketsDroppedByTheKernelReachTheCoreAsDecodableEvents)
{
    const CapturedLog log;
    const TestBus bus;
    TestCore core;
    const NetworkNamespace network;
    if (!network.entered()) {
        GTEST_SKIP() << network.why();
    }
    ASSERT_TRUE(network.run("nft add table ip6 t && nft add chain ip6 t in '{ type filter hook input priority 0; }'"));
    for (const auto& rule : kRules) {
        ASSERT_TRUE(network.run("nft add rule ip6 t in " + std::string{rule.match} + " log group " +
                                std::to_string(rule.group) + " drop"));
    }
    ChildProcess daemon{{IDS_PROC}, {"TRACING=CON_IDS_SENSOR_ETH=0,CON_COMMON_RSTP=6,CON_IDS_SENSOR_HOST=6,*=1"}};
    ASSERT_TRUE(eventually([&] { return core.connected(); }));
    ASSERT_TRUE(daemon.waitForOutput("Register NFLOG groups."));
    ASSERT_TRUE(daemon.waitForOutput("CIdsInformationAsiService registered service."));

    const std::map<std::uint16_t, std::uint64_t> wanted{
        {0x000C, 5030}, {0x000B, 5029}, {0x9712, 5009}, {0x9701, 5009}, {0x000E, 5032}};
    const auto arrived = [&](std::uint16_t id, std::uint64_t port) {
        const auto events = core.events();
        return std::any_of(events.begin(), events.end(), [&](const TestCore::Event& event) {
            return event.id == id && integer(event, "destinationPort") == port;
        });
    };
    ASSERT_TRUE(eventually(
        [&] {
            sendUdp(5030, 1);
            sendUdp(5009, 1);
            sendUdp(5032, 1);
            network.run("timeout 0.2 bash -c 'echo > /dev/tcp/::1/5029' 2>/dev/null; sleep 2.5");
            return std::all_of(wanted.begin(), wanted.end(),
                               [&](const auto& one) { return arrived(one.first, one.second); });
        },
        std::chrono::seconds{60}));

    const auto lastDrop =
        outputOf({"busctl", "--system", "get-property", "asi.connectivity.ids.IdsService.instance1",
                  "/asi/connectivity/ids/IdsService/1", "asi.connectivity.ids.IdsService", "FirewallDropPacketInfo"});
    EXPECT_THAT(lastDrop, testing::MatchesRegex(R"(\(a\(uu\)b\) 1 [023] 1 true.)"));
    ASSERT_TRUE(eventually([&] { return core.count(0x9711) > 0; }, std::chrono::seconds{30})) << "the statistics";
    EXPECT_EQ(daemon.output().find(" 4 "), std::string::npos) << daemon.output();
    daemon.signal(SIGTERM);
    EXPECT_EQ(daemon.wait(), 0);
}

} // namespace
