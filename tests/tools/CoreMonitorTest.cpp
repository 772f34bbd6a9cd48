#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "ChildProcess.h"
#include "Eventually.h"
#include "TestActiveObject.h"
#include "TestBus.h"
#include "asi/connectivity/idscore/IdsSecurityEvents.h"
#include "event_factory.h"

namespace {

using namespace test_support;
using namespace asi::connectivity::idscore;

/// The daemon's side of the connection, on a bus of its own.
class CoreMonitorTest : public testing::Test, protected IdsSecurityEventsSAttr
{
protected:
    void TearDown() override { unregisterInstance(); }

    bool provide() { return !registerInstance(1, m_activeObject.factory()); }
    bool isConnected(int times) const
    {
        return eventually([&] { return m_connections == times; });
    }
    void send(const util::SharedPtr<SecEvent>& event)
    {
        m_activeObject.run([&] { m_client.call<&IdsSecurityEventsReply::onSecEvent>(event, true); });
    }
    void send(std::uint16_t id) { send(std::make_shared<SecEvent>(SecEvent{{}, {}, id, {}})); }

    explicit CoreMonitorTest(const std::string& busRules = "") : bus{busRules} {}

    TestBus bus;

private:
    void clientConnected(const Reply& client) override
    {
        m_client = client;
        ++m_connections;
    }
    void clientDisconnected(const Reply&) override {}
    void confirmReady() override {}
    void sendEventResult(const util::SharedPtr<EventSendResult>&) override {}

    std::atomic<int> m_connections{0};
    TestActiveObject m_activeObject;
    Reply m_client;
};

TEST_F(CoreMonitorTest, StandardOutputCarriesOneJsonObjectForEachEventUpToTheCount)
{
    ASSERT_TRUE(provide());
    ChildProcess monitor{{"sh", "-c", "exec \"$0\" --json --count 3 2>/dev/null", CORE_MONITOR}};
    ASSERT_TRUE(isConnected(1));
    send(0x000B);
    send(nullptr);
    send(0xD703);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_THAT(monitor.output(), testing::MatchesRegex("\\{\"id\":\"0x000B\".*\\}\n\\{\"id\":null.*\\}\n"
                                                        "\\{\"id\":\"0xD703\"[^\n]*\\}\n"));
}

TEST_F(CoreMonitorTest, SignalsAskForASummaryAndForTheEnd)
{
    ASSERT_TRUE(provide());
    ChildProcess monitor{{CORE_MONITOR, "--only", "0x000B,C"}};
    ASSERT_TRUE(isConnected(1));
    send(0x000C);
    send(0x000B);
    send(0xD703);
    ASSERT_TRUE(eventually([&] {
        monitor.signal(SIGUSR1);
        return monitor.waitForOutput("events 2, raw 2, not shown 1\nID ", std::chrono::milliseconds{50});
    }));
    monitor.signal(SIGINT);
    EXPECT_EQ(monitor.wait(), 0);
}

TEST_F(CoreMonitorTest, SurvivesTheRestartOfTheDaemonAndOfTheBus)
{
    ASSERT_TRUE(provide());
    ChildProcess monitor{{CORE_MONITOR, "--count", "2"}};
    ASSERT_TRUE(isConnected(1));
    unregisterInstance();
    ASSERT_TRUE(monitor.waitForOutput("the daemon disconnected, waiting for it\n"));
    ASSERT_TRUE(provide());
    ASSERT_TRUE(isConnected(2));
    send(0x000C);
    ASSERT_TRUE(monitor.waitForOutput("  0x000C  "));
    bus.kill();
    ASSERT_TRUE(monitor.waitForOutput("the bus disconnected, waiting for it\n"));
    std::this_thread::sleep_for(std::chrono::milliseconds{700}); // several attempts in vain
    bus.start();
    ASSERT_TRUE(isConnected(3));
    send(0x000B);
    EXPECT_EQ(monitor.wait(), 0);
}

struct CoreMonitorWithoutAccessTest : CoreMonitorTest
{
    CoreMonitorWithoutAccessTest()
        : CoreMonitorTest{R"(<deny send_interface="asi.connectivity.idscore.IdsSecurityEvents"/>)"}
    {}
};

TEST_F(CoreMonitorWithoutAccessTest, ARefusalByTheBusNamesTheGroupThatIsMissing)
{
    ChildProcess monitor{{CORE_MONITOR}};
    ASSERT_TRUE(monitor.waitForOutput("no daemon on the bus"));
    ASSERT_TRUE(provide());
    EXPECT_TRUE(monitor.waitForOutput("  usermod -aG idscore USER "));
}

TEST_F(CoreMonitorTest, ExitStatusTellsUsageErrorsFromAMissingDaemon)
{
    for (const auto* const argument : {"word", "--for=nan", "--for=-1", "--wait=1x", "--count=0", "--only=0x1000B"}) {
        EXPECT_EQ(ChildProcess({CORE_MONITOR, argument}).wait(), 2) << argument;
    }
    EXPECT_EQ(ChildProcess({CORE_MONITOR, "--wait", "0.3"}).wait(), 1);
    ASSERT_TRUE(provide());
    EXPECT_EQ(ChildProcess({CORE_MONITOR, "--wait", "30", "--for", "1"}).wait(), 0) << "connected in time";
}

TEST_F(CoreMonitorTest, AReaderThatStallsOrGoesLetsItEnd)
{
    ASSERT_TRUE(provide());
    const auto path = bus.directory() + "/fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    for (const int time : {1, 2}) {
        const int reader = open(path.c_str(), O_RDWR | O_CLOEXEC);
        ChildProcess monitor{{"sh", "-c", "exec \"$0\" --json > \"$1\"", CORE_MONITOR, path}};
        ASSERT_TRUE(isConnected(time));
        for (int i = 0; i < 1000; ++i) {
            send(0x000B);
        }
        int waiting = 0;
        ASSERT_TRUE(eventually([&] { return ioctl(reader, FIONREAD, &waiting) == 0 && waiting > 30'000; }));
        std::this_thread::sleep_for(std::chrono::milliseconds{200}); // until the pipe is full to the last page
        if (time == 1) {
            monitor.signal(SIGTERM);
            EXPECT_EQ(monitor.wait(), 0);
        }
        close(reader);
        EXPECT_EQ(monitor.wait(), 0);
    }
}

TEST_F(CoreMonitorTest, CaptureFileOpensInTheNetworkAnalyserWithEveryFieldNamed)
{
    ASSERT_TRUE(provide());
    const auto file = bus.directory() + "/events.pcapng";
    ChildProcess monitor{{CORE_MONITOR, "--pcapng", file, "--count", "4"}};
    ASSERT_TRUE(isConnected(1));
    ids::SFirewallStatistics drop;
    drop.sourceAddress.assign(16, 0xFD);
    drop.sourcePort = 4711;
    const auto event = ids::event_factory::createEvent<ids::SEvent_Firewall_DropInvPortTCP>(drop);
    const auto bytes = [](auto from, auto to) { return std::make_shared<std::vector<std::uint8_t>>(from, to); };
    const std::vector<std::uint8_t> time{0, 0, 0, 5, 0, 0, 0, 1};
    SecEvent whole{bytes(event->contextData.begin(), event->contextData.end()),
                   bytes(event->eventFrame.begin(), event->eventFrame.end()), event->eventId,
                   bytes(time.begin(), time.end())};
    send(std::make_shared<SecEvent>(whole));
    whole.contextData->resize(30);
    send(std::make_shared<SecEvent>(whole));
    whole.eventId = 0xD703;
    send(std::make_shared<SecEvent>(whole));
    send(0x000B);
    EXPECT_EQ(monitor.wait(), 0);
    EXPECT_THAT(monitor.output(),
                testing::HasSubstr(
                    "ID      event                                    count  last seen             reported by\n"
                    "0x000B  Firewall_DropInvPortTCP                      1  1970-01-01T00:00:01Z  CFirewall\n"
                    "0x000B  Firewall_DropInvPortTCP                      2  -                     other domain\n"
                    "0xD703  unknown                                      1  1970-01-01T00:00:01Z  other domain\n"));

    std::vector<std::string> tshark{"tshark",     "-Xlua_script:" DISSECTOR, "-r", file, "-T", "fields", "-E",
                                    "separator=|"};
    for (const auto* const name :
         {"_ws.col.Source", "_ws.col.Destination", "_ws.col.Info", "ids.id", "ids.eventId", "ids.timestamp",
          "ids.sourceAddress", "ids.sourcePort", "ids.groupNumber", "ids.cut"})
    {
        tshark.insert(tshark.end(), {"-e", name});
    }
    const std::string name = "0x000B Firewall_DropInvPortTCP";
    const std::string time1 = "11|Jan  1, 1970 00:00:01.000000005 UTC|";
    const std::string address = "fdfd:fdfd:fdfd:fdfd:fdfd:fdfd:fdfd:fdfd|";
    EXPECT_THAT(outputOf(tshark),
                testing::HasSubstr(address + "::|" + name + " sourcePort=4711 destinationPort=0 groupNumber=0|0x000b|" +
                                   time1 + address + "4711|0|\n" + //
                                   address + '|' + name + " sourcePort=4711|0x000b|" + time1 + address +
                                   "4711||before destinationAddress\n" +                    //
                                   "||0xD703 of another domain|0xd703|" + time1 + "|||\n" + //
                                   "||" + name + "|0x000b||||||\n"));
}

} // namespace
